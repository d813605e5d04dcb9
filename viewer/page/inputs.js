// How certificates come in: files that are opened or dropped, text that is pasted, the link.

import { byId } from './dom.js';

let take = () => {};

// What a host, an address or a moment may look like; what does not is no answer to a question of the page.
const ANSWER = /^[^\s"<>{}]{0,320}$/;
const LONGEST_LABEL = /[^.@:]{64}/;

function inputsOf(files) {
  return Array.from(files, (file) => ({ name: file.name, blob: file }));
}

function takeFiles(files) {
  byId('paste-dialog').close();
  take(inputsOf(files));
}

function takeText(text) {
  byId('paste-dialog').close();
  if (text.trim() !== '') take([{ name: 'pasted text', blob: new Blob([text]) }]);
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
    const { files } = event.clipboardData;
    const text = event.clipboardData.getData('text');
    const isAnswer = event.target.type !== 'text' || (ANSWER.test(text.trim()) && !LONGEST_LABEL.test(text));
    if (event.target instanceof HTMLInputElement && files.length === 0 && isAnswer) return;
    event.preventDefault();
    if (files.length !== 0) takeFiles(files);
    else takeText(text);
  });
  byId('paste').addEventListener('click', () => byId('paste-dialog').showModal());
  byId('paste-form').addEventListener('submit', () => takeText(box.value));
  byId('paste-cancel').addEventListener('click', () => byId('paste-dialog').close());
  byId('paste-dialog').addEventListener('close', () => (box.value = ''));
}

/** Lets a person pick files, which `then` gets as a list of {name, blob}. */
export function pickFiles(then) {
  const input = document.createElement('input');
  input.type = 'file';
  input.multiple = true;
  input.addEventListener('change', () => then(inputsOf(input.files)));
  input.click();
}

/** `onInput` gets what comes in, as a list of {name, blob}. */
export function makeInputs(onInput) {
  take = onInput;
  makeDrops();
  makePaste();
  for (const opener of document.querySelectorAll('[data-open]')) {
    opener.addEventListener('click', () => pickFiles(take));
  }
}
