// The list of all certificates at the side: one of them is the card that is shown.

import { byId, el } from './dom.js';
import { state } from './state.js';
import { lifeOf } from './time.js';
import { VirtualList } from './virtual.js';

const ROW_HEIGHT = 76;

let list = null;
let choose = () => {};

function validityStripe(life) {
  const done = el('i', {});
  done.style.width = `${100 * life.part}%`;
  return el('span', { class: `stripe ${life.state}` }, done);
}

function rowElement(index) {
  const { title, issuer, notBefore, notAfter, ca, selfIssued } = state.rows[index];
  const life = lifeOf(notBefore, notAfter);
  const kind = selfIssued ? (ca ? 'root' : 'self-issued') : ca ? 'CA' : '';
  return el('div', {
    class: 'entry', id: `entry-${index}`, role: 'option', 'aria-selected': String(index === state.shown),
    'aria-setsize': state.rows.length, 'aria-posinset': index + 1, onclick: () => choose(index),
  },
  el('span', { class: 'entry-title' }, el('bdi', {}, title), kind && el('span', { class: 'badge' }, kind)),
  el('span', { class: 'entry-issuer' }, selfIssued ? 'by itself' : ['by ', el('bdi', {}, issuer)]),
  el('span', { class: 'entry-life' }, validityStripe(life), el('span', { class: life.state }, life.words)));
}

const STEPS = { ArrowDown: 1, ArrowUp: -1, PageDown: 8, PageUp: -8, Home: -Infinity, End: Infinity };

function onKey(event) {
  const step = STEPS[event.key];
  if (step === undefined || state.rows.length === 0) return;
  event.preventDefault();
  choose(Math.min(state.rows.length - 1, Math.max(0, (state.shown ?? 0) + step)));
}

/** Prepares the list; `onChoose(row)` is told what a person picks. */
export function makeList(onChoose) {
  choose = onChoose;
  list = new VirtualList(byId('list'), ROW_HEIGHT, rowElement);
  byId('list').addEventListener('keydown', onKey);
}

/** Draws what has come, or everything anew. */
export function drawList(anew = false) {
  const count = state.rows.length;
  byId('count').textContent =
    count === 1 ? '1 certificate' : `${count.toLocaleString('en')} certificates`;
  byId('work').classList.toggle('single', count < 2);
  byId('list').style.height = `${count * ROW_HEIGHT}px`; // the style sheet has the most
  list.setCount(count, anew);
}

/** Marks the row that is shown. */
export function markShown() {
  if (state.shown === null) return;
  list.reveal(state.shown);
  for (const [index, entry] of list.drawn) entry.setAttribute('aria-selected', String(index === state.shown));
  byId('list').setAttribute('aria-activedescendant', `entry-${state.shown}`);
}
