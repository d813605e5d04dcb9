// The page: what comes in goes to the worker, what it finds into the list, and one certificate is the card.

import { showAsn1 } from './asn1.js';
import { askCard, panelsOf } from './card.js';
import { ask, endWorker, startWorker } from './client.js';
import { showCompare } from './compare.js';
import { announce, byId, el, fill, visible } from './dom.js';
import { makeInputs, pickFiles } from './inputs.js';
import { drawList, makeList, markShown } from './list.js';
import { addNote, addNotices, clearNotices, isKey } from './notices.js';
import { forgetLink, linked, makeLink, nameTab, saveAll, saveJson, savePem, saveXml } from './saving.js';
import { addRow, forget, nameSource, state } from './state.js';
import { lifeOf } from './time.js';
import { prepareTrust, showTrust, trust } from './trust.js';

let room = 'overview';
let target = null;
let turn = 0;

function headOf({ title, issuer, selfIssued, ca, notBefore, notAfter, source, index }) {
  const life = lifeOf(notBefore, notAfter);
  return [
    el('h2', { id: 'card-title' }, el('bdi', {}, title)),
    el('p', { class: 'by' }, selfIssued ? 'issued by itself' : ['issued by ', el('bdi', {}, issuer)]),
    el('p', { class: 'badges' },
      el('span', { class: `badge life ${life.state}` }, life.words),
      ca && el('span', { class: 'badge' }, 'may issue others (CA)'),
      el('span', { class: 'faint' }, ` ${source}, item ${index + 1}`))];
}

// Whether what is asked for now is still wanted when it is there.
function wanting() {
  const mine = turn;
  return () => mine === turn;
}

async function showOverview(box, row) {
  const isWanted = wanting();
  const card = await askCard(row);
  if (isWanted()) fill(box, el('div', { class: 'panels' }, panelsOf(row, card, goTo)));
}

const ROOMS = {
  overview: showOverview,
  trust: showTrust,
  asn1: (box, row) => showAsn1(box, row, target, wanting()),
  compare: showCompare,
};

// Rooms about several, which are drawn anew when others come.
const isAboutSeveral = () => room === 'trust' || room === 'compare';

async function goTo(place) {
  target = place;
  await openRoom('asn1');
  byId('room').scrollIntoView({ block: 'nearest' });
}

function openRoom(name) {
  room = name;
  for (const tab of document.querySelectorAll('[role=tab]')) {
    const isOpen = tab.id === `tab-${name}`;
    tab.setAttribute('aria-selected', String(isOpen));
    tab.tabIndex = isOpen ? 0 : -1;
  }
  const panel = byId('room');
  panel.setAttribute('aria-labelledby', `tab-${name}`);
  panel.dataset.room = name;
  ++turn;
  const shown = ROOMS[name](panel, state.shown);
  target = null;
  return shown;
}

/** Makes a row the card. */
async function show(row) {
  if (row !== state.shown) state.before = state.shown;
  state.shown = row;
  fill(byId('card-head'), headOf(state.rows[row]));
  nameTab(row);
  byId('card').hidden = false;
  markShown();
  await openRoom(room);
}

function onLines(told) {
  const source = state.sources.get(told.name);
  const failures = [];
  for (const line of told.lines) {
    const found = JSON.parse(line);
    if (found.row !== undefined) addRow(found);
    else if (found.error !== undefined) failures.push(found);
    else if (!told.isBroken) tellEnd(found);
  }
  tellFailures(failures, source, told);
  tellProgress(told);
  if (state.rows.length === 0) return;
  byId('start').hidden = true;
  byId('work').hidden = false;
  drawList();
  if (source.count === 0 || (source.drop.isShown && state.shown !== null)) return;
  source.drop.isShown = true;
  if (state.shown === null || !isAboutSeveral()) show(source.first);
}

function tellFailures(failures, source, { name, isBroken, hasKey }) {
  source.hasKey ||= failures.some(isKey);
  if (hasKey && !source.hasKey) failures.push({ source: name, index: 0, found: 'privateKey' });
  source.hasKey ||= hasKey;
  addNotices(isBroken ? failures.filter(isKey) : failures);
  if (isBroken) addNote(`${name} could not be read to its end: it is a folder, or it has gone or changed meanwhile.`);
}

function tellProgress({ name, done, total }) {
  byId('progress').hidden = done === total;
  byId('progress-bar').value = total === 0 ? 1 : done / total;
  byId('progress-words').textContent = `Reading ${visible(name.slice(0, 60))}`;
}

function tellEnd({ source, items, passedOver }) {
  if (items === 0) addNote(`${source} is empty.`);
  if (passedOver !== 0) addNote(`${source}: ${passedOver.toLocaleString('en')} more items that are no certificates.`);
}

// Reads one input after the other, and gives what state.sources has of each.
async function* readAll(inputs, drop) {
  for (const { name, blob } of inputs) {
    const source = nameSource(name, drop);
    await ask('read', source, blob);
    const found = state.sources.get(source);
    announce(`${found.count} ${found.count === 1 ? 'certificate' : 'certificates'} in ${source}`);
    yield found;
  }
}

// The first that comes in is what a person wants to see, but in a room about several, which is drawn anew.
async function read(inputs) {
  const all = [];
  for await (const found of readAll(inputs, { isShown: false })) all.push(found);
  if (isAboutSeveral() && all.some(({ count }) => count !== 0)) await openRoom(room);
  return all;
}

async function openRoots(inputs) {
  for await (const { places } of readAll(inputs, { isShown: true })) trust(Object.values(places));
  openRoom('trust');
}

// A link is of another's making: what is wrong with it is said, and a key does not stay in the address.
async function readLink() {
  const octets = linked();
  if (octets === undefined) return;
  if (octets === null) return addNote('The link holds no certificate: it is cut off, or no link of this page.');
  const [{ count, hasKey }] = await read([{ name: 'the link', blob: new Blob([octets]) }]);
  if (hasKey && count === 0) forgetLink();
}

async function startModule() {
  try {
    await startWorker(onLines, onFailure);
    document.body.dataset.ready = 'yes';
  } catch (error) {
    addNote(`This browser cannot run the page; those of 2023 and later can. (${error.message})`);
  }
}

async function startAnew() {
  forget();
  clearNotices();
  for (const id of ['card-head', 'room']) byId(id).replaceChildren();
  byId('card').hidden = true;
  byId('work').hidden = true;
  byId('start').hidden = false;
  byId('progress').hidden = true;
  drawList(true);
  nameTab(null);
  await startModule();
}

async function onFailure(reason) {
  await startAnew();
  addNote(`Reading stopped, most likely for lack of memory (${reason}). What was here is gone; try fewer at once.`);
}

function makeTabs() {
  const tabs = [...document.querySelectorAll('[role=tab]')];
  tabs.forEach((tab, place) => {
    tab.addEventListener('click', () => openRoom(tab.id.slice('tab-'.length)));
    tab.addEventListener('keydown', ({ key }) => {
      const step = { ArrowRight: 1, ArrowLeft: -1 }[key];
      if (step === undefined) return;
      const next = tabs[(place + step + tabs.length) % tabs.length];
      next.focus();
      next.click();
    });
  });
}

function makeActions() {
  const actions = { 'save-pem': savePem, 'save-json': saveJson, 'save-xml': saveXml, 'make-link': makeLink };
  for (const [id, act] of Object.entries(actions)) byId(id).addEventListener('click', ({ target: pressed }) => act(state.shown, pressed));
  byId('save-all').addEventListener('click', saveAll);
  byId('clear').addEventListener('click', () => {
    forgetLink();
    endWorker();
    startAnew();
  });
}

async function start() {
  makeList(show);
  makeTabs();
  makeActions();
  makeInputs(read);
  prepareTrust(show, () => pickFiles(openRoots));
  await startModule();
  performance.mark('ready');
  addEventListener('hashchange', readLink);
  await readLink();
}

start();
