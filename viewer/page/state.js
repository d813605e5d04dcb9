// What the page knows: the certificates by their rows in the module, and which of them is shown.

export const state = {
  rows: [], // {row, source, index, title, issuer, notBefore, notAfter, ca, selfIssued}
  places: new Map(), // "source\0index" to row
  sources: new Set(),
  shown: null, // the row of the card
  before: null, // the row that was shown before
  trusted: new Set(), // rows
};

export function forget() {
  state.rows = [];
  state.places = new Map();
  state.sources = new Set();
  state.shown = null;
  state.before = null;
  state.trusted = new Set();
}

export function addRow(row) {
  state.rows.push(row);
  state.places.set(`${row.source}\0${row.index}`, row.row);
}

export function rowAt(source, index) {
  return state.places.get(`${source}\0${index}`);
}

/** A name for an input that no other has. */
export function nameSource(wanted) {
  let name = wanted;
  for (let count = 2; state.sources.has(name); ++count) name = `${wanted} (${count})`;
  state.sources.add(name);
  return name;
}
