// Two certificates side by side: the fields in which they differ.

import { ask, askForRoom } from './client.js';
import { announce, clipped, el, fewOf, fill, safe } from './dom.js';
import { state } from './state.js';
import { dayText } from './time.js';

const MOST_CHOICES = 500;
const MOST_ITEMS = 400;
const MOST_TEXT = 10000;

// What a person compares with most likely comes first: one of the same name, then the one looked at before.
function choices({ row, title, ca }) {
  const others = state.rows.filter((each) => each.row !== row);
  const likely = [others.find((each) => each.title === title && each.ca === ca), others.find((each) => each.row === state.before)];
  return [...new Set([...likely.filter(Boolean), ...others.slice(0, MOST_CHOICES)])];
}

// Items of one side that the other lacks are marked, where both are lists.
function marked(text, other, kind) {
  const items = text.split(', ');
  if (items.length > MOST_ITEMS || text.length > MOST_TEXT) return clipped(text);
  const known = new Set(other.split(', '));
  return items.flatMap((item, place) => [
    place === 0 ? null : ', ', known.has(item) ? safe(item) : el(kind, {}, safe(item))]);
}

function differenceRow({ field, before, after }) {
  return el('tr', {}, el('th', { scope: 'row' }, safe(field)),
    el('td', {}, el('bdi', {}, marked(before, after, 'del'))), el('td', {}, el('bdi', {}, marked(after, before, 'ins'))));
}

async function compare(shown, other, box) {
  // The one that is valid from earlier is what the other came after.
  const [left, right] = [other, shown].map((each) => state.rows[each])
    .sort((a, b) => String(a.notBefore).localeCompare(String(b.notBefore)));
  const differences = await askForRoom('compare', left.row, right.row);
  const count = differences.items.length + differences.left;
  if (count === 0) return fill(box, el('p', { class: 'verdict good', role: 'status' }, 'They are the same certificate.'));
  const outcome = count === 1 ? 'One field differs' : `${count.toLocaleString('en')} fields differ`;
  announce(outcome);
  const [body, more] = fewOf(differences, differenceRow, el('tbody'), (from) => ask('compare', left.row, right.row, from));
  return fill(box,
    el('p', {}, `${outcome}; whatever is not listed is the same in both.`),
    el('table', { class: 'differences' },
      el('thead', {}, el('tr', {}, el('th', { scope: 'col' }, 'Field'),
        [left, right].map(({ title, notBefore, source, index }) => el('th', { scope: 'col' }, el('bdi', {}, title),
          el('span', { class: 'faint' }, ` from ${dayText(notBefore)}, ${source}, item ${index + 1}`))))),
      body), more);
}

/** Fills the room for a row. */
export function showCompare(box, shown) {
  const others = choices(state.rows[shown]);
  if (others.length === 0) {
    return fill(box, el('p', { class: 'faint' }, 'Open or drop a second certificate to compare this one with.'));
  }
  const answer = el('div', { class: 'answer' });
  const select = el('select', { id: 'compare-with', onchange: () => compare(shown, Number(select.value), answer) },
    others.map((each) => el('option', { value: each.row, selected: each === others[0] },
      `${each.title.slice(0, 80)} (from ${dayText(each.notBefore)}, ${each.source}, item ${each.index + 1})`)));
  fill(box, el('p', { class: 'question' }, el('label', { for: 'compare-with' }, 'Compare with', select)), answer);
  return compare(shown, others[0].row, answer);
}
