// How certificates come in: files that are opened or dropped, text that is pasted, the link.

import { byId } from './dom.js';

let take = () => {};

function takeFiles(files) {
  for (const file of files) take(file.name, file);
}

function takeText(text) {
  if (text.trim() !== '') take('pasted text', new Blob([text]));
}

function makeDrops() {
  const shade = byId('shade');
  let depth = 0;
  const show = (isShown) => (shade.hidden = !isShown);
  addEventListener('dragenter', (event) => {
    event.preventDefault();
    show(++depth > 0);
  });
  addEventListener('dragleave', () => show(--depth > 0));
  addEventListener('dragover', (event) => event.preventDefault());
  addEventListener('drop', (event) => {
    event.preventDefault();
    depth = 0;
    show(false);
    if (event.dataTransfer.files.length !== 0) takeFiles(event.dataTransfer.files);
    else takeText(event.dataTransfer.getData('text'));
  });
}

// Pasted text is read at once and never stands in the page: it may hold a key.
function makePaste() {
  const box = byId('paste-box');
  addEventListener('paste', (event) => {
    const isField = event.target instanceof HTMLInputElement && event.target !== box;
    if (isField) return;
    const { files } = event.clipboardData;
    event.preventDefault();
    if (files.length !== 0) takeFiles(files);
    else takeText(event.clipboardData.getData('text'));
    byId('paste-dialog').close();
  });
  byId('paste').addEventListener('click', () => byId('paste-dialog').showModal());
  byId('paste-form').addEventListener('submit', () => {
    takeText(box.value);
    box.value = '';
  });
  byId('paste-cancel').addEventListener('click', () => {
    box.value = '';
    byId('paste-dialog').close();
  });
}

/** Lets a person pick files, which `then` gets. */
export function pickFiles(then) {
  const input = document.createElement('input');
  input.type = 'file';
  input.multiple = true;
  input.addEventListener('change', () => then(input.files));
  input.click();
}

/** `onInput(name, blob)` gets what comes in. */
export function makeInputs(onInput) {
  take = onInput;
  makeDrops();
  makePaste();
  for (const opener of document.querySelectorAll('[data-open]')) {
    opener.addEventListener('click', () => pickFiles(takeFiles));
  }
}
