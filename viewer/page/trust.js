// Whether a certificate may be trusted: the question, the verdict and the way to a root.

import { ask, askForRoom } from './client.js';
import { announce, append, button, clipped, el, fewOf, fill, visible } from './dom.js';
import { rowAt, state } from './state.js';
import { dateText, dayText } from './time.js';

const PURPOSES = [
  ['server', 'a TLS server'], ['client', 'a TLS client'], ['email', 'e-mail'], ['code', 'signing code'],
  ['time', 'time stamps'], ['ocsp', 'OCSP answers'], ['any', 'anything']];
const PROFILES = [['basic', 'RFC 5280, path validation'], ['rfc5280', 'and what it asks of issuers'],
  ['web', 'and the rules for public TLS servers']];
const MOST_ROOTS = 200;

// The question stays from one certificate to the next.
const question = { purpose: 'server', profile: 'basic', target: '', at: '' };
let chosen = null;
let openRoots = () => {};
let showRow = () => {};

export function prepareTrust(onShowRow, onOpenRoots) {
  showRow = onShowRow;
  openRoots = onOpenRoots;
}

function choice(id, label, options, value) {
  return el('label', { for: id }, label,
    el('select', { id }, options.map(([name, words]) =>
      el('option', { value: name, selected: name === value }, words))));
}

// The answer may stand where one has to look for it.
async function judgeInSight(row, box) {
  await judge(row, box);
  box.firstElementChild?.scrollIntoView({ block: 'nearest' });
}

function form(row, answerBox) {
  const keep = () => {
    for (const name of Object.keys(question)) question[name] = fields.querySelector(`#trust-${name}`).value.trim();
  };
  const fields = el('form', { class: 'question', onsubmit: (event) => { event.preventDefault(); keep(); judgeInSight(row, answerBox); } },
    el('label', { for: 'trust-target' }, 'Host, address or e-mail',
      el('input', { id: 'trust-target', value: question.target, placeholder: 'www.example.org', maxlength: 320, autocomplete: 'off',
        spellcheck: 'false', autocapitalize: 'none' })),
    choice('trust-purpose', 'For', PURPOSES, question.purpose),
    choice('trust-profile', 'Rules', PROFILES, question.profile),
    el('label', { for: 'trust-at' }, 'At (UTC; empty: now)',
      el('input', { id: 'trust-at', type: 'datetime-local', step: 1, value: question.at })),
    el('button', { type: 'submit', class: 'main' }, 'Judge'));
  fields.addEventListener('input', keep); // the room may be drawn anew before it is asked
  fields.addEventListener('change', () => { keep(); judge(row, answerBox); });
  return fields;
}

function rootChoice({ row, title, notAfter, source, ber }, rejudge) {
  const id = `root-${row}`;
  return el('li', {},
    el('input', { type: 'checkbox', id, checked: state.trusted.has(row), disabled: ber, onchange: (event) => {
      trust([row], event.target.checked);
      rejudge();
    } }),
    el('label', { for: id }, el('bdi', {}, title), ' ',
      el('span', { class: 'faint' }, `until ${dayText(notAfter)}, of ${source}${ber ? '; BER, on which no decision may rest' : ''}`)));
}

/** Trusts rows as roots, or no longer. Nothing rests on BER. */
export function trust(rows, isTrusted = true) {
  const able = rows.filter((row) => !state.rows[row].ber);
  for (const row of able) {
    if (isTrusted) state.trusted.add(row);
    else state.trusted.delete(row);
  }
  ask('trustAll', able, isTrusted);
}

function roots(row, answerBox) {
  const candidates = state.rows.filter((each) => each.selfIssued || state.trusted.has(each.row));
  const rejudge = () => judgeInSight(row, answerBox);
  const from = (place) => ({ items: candidates.slice(place, place + MOST_ROOTS), left: Math.max(0, candidates.length - place - MOST_ROOTS) });
  const [list, more] = fewOf(from(0), (each) => rootChoice(each, rejudge), el('ul', { class: 'roots' }), from);
  return el('fieldset', {},
    el('legend', {}, 'Roots that you trust'),
    candidates.length === 0 ? el('p', { class: 'faint' }, 'None of the certificates here was issued by itself.') : [list, more],
    el('p', { class: 'actions' },
      button('Open a file of roots', openRoots, { class: 'quiet' }),
      candidates.length > 1 && button(`Trust all ${candidates.length.toLocaleString('en')}`, () => {
        trust(candidates.map((each) => each.row));
        list.querySelectorAll('input:enabled').forEach((box) => (box.checked = true));
        rejudge();
      }, { class: 'quiet' })),
    el('p', { class: 'faint' }, 'This page brings no roots of its own and does not ask your system for any.'));
}

function purposeWords() {
  return PURPOSES.find(([name]) => name === question.purpose)[1];
}

const noRoot = 'No root is trusted yet. Tick one that you know to be genuine, or open a file of roots.';

// What stands in large letters, how it looks, and the sentence below.
function judgement(answer) {
  const isAny = question.purpose === 'any';
  const whom = answer.target ?? purposeWords();
  if (answer.reason === 'noAnchors') return ['Whom do you trust?', 'open', noRoot];
  if (!answer.verified) return [isAny ? 'Not verified' : `Not good for ${whom}`, 'bad', answer.text];
  const root = titleOf(answer.paths[0].certificates.at(-1));
  const words = `at ${dateText(answer.at)}, on the word of ${root}.`;
  if (isAny && answer.target === null) return ['Verified', 'good', `For no purpose in particular, ${words}`];
  if (question.purpose === 'server' && answer.target === null) {
    return ['For which host?', 'open', `It holds for ${whom}, ${words} Give the host: nothing is said of names yet.`];
  }
  return [`Good for ${whom}`, 'good', `${isAny ? 'For no purpose in particular' : `For ${purposeWords()}`}, ${words}`];
}

function verdict(answer) {
  const [title, look, words] = judgement(answer);
  return el('div', { class: `verdict ${look}`, role: 'status' },
    el('strong', {}, title), el('p', {}, words),
    el('p', { class: 'faint' }, 'Not judged: revocation, OCSP and certificate transparency.'));
}

function titleOf({ source, index, subject }) {
  const row = source === undefined ? undefined : rowAt(source, index);
  return row === undefined ? subject : state.rows[row].title;
}

function finding({ severity, text, clause, id }) {
  const words = id === 'noAnchors' ? noRoot : text;
  return el('li', { class: severity }, severity === 'failure' ? '✗ ' : '! ', clipped(words, visible),
    clause && el('span', { class: 'faint' }, ` (${clause})`));
}

function wayStep(certificate, isRoot, below) {
  const { source, index, notBefore, notAfter, findings } = certificate;
  const row = source === undefined ? undefined : rowAt(source, index);
  const title = titleOf(certificate);
  const name = row === undefined || row === state.shown
    ? el('strong', {}, el('bdi', {}, title))
    : button(title, () => showRow(row), { class: 'link' });
  return el('ul', { class: 'way' }, el('li', {},
    el('div', { class: 'step' }, name, isRoot && el('span', { class: 'badge' }, 'trusted root'),
      el('span', { class: 'faint' }, ` ${dayText(notBefore)} to ${dayText(notAfter)}`)),
    el('ul', { class: 'findings' }, findings.items.map(finding),
      findings.left !== 0 && el('li', { class: 'faint' }, `and ${findings.left.toLocaleString('en')} more`)), below));
}

// The root on top, each certificate below the one that signed it.
function way({ anchored, certificates }) {
  let below = null;
  certificates.forEach((certificate, place) => {
    below = wayStep(certificate, anchored && place === certificates.length - 1, below);
  });
  return below;
}

async function judge(row, box) {
  const turn = (chosen = Symbol('question'));
  const at = question.at === '' ? NaN : Date.parse(`${question.at}Z`) / 1000;
  const answer = await askForRoom('judge', row, { ...question, at });
  if (turn !== chosen) return;
  if (answer.refused !== undefined || answer.error !== undefined) {
    const text = answer.refused ?? `${answer.error}.`;
    fill(box, el('div', { class: 'verdict bad', role: 'status' }, el('strong', {}, 'No answer'), el('p', {}, text)));
    return;
  }
  fill(box, verdict(answer));
  append(box, answer.paths.map(way));
  announce(box.querySelector('strong').textContent);
}

/** Fills the room for a row. */
export function showTrust(box, row) {
  const answerBox = el('div', { class: 'answer' });
  fill(box, el('div', { class: 'trust' },
    el('div', { class: 'asked' }, form(row, answerBox), roots(row, answerBox)), answerBox));
  judge(row, answerBox);
}
