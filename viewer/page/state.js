// What the page knows: the certificates by their rows in the module, and which of them is shown.

export const state = {
  rows: [], // {row, source, index, title, issuer, notBefore, notAfter, ca, selfIssued}
  places: new Map(), // "source\0index" to row
  sources: new Map(), // name to {first, count, hasKey}: its first row, and what is in it
  shown: null, // the row of the card
  before: null, // the row that was shown before
  trusted: new Set(), // rows
};

export function forget() {
  state.rows = [];
  state.places = new Map();
  state.sources = new Map();
  state.shown = null;
  state.before = null;
  state.trusted = new Set();
}

export function addRow(row) {
  state.rows.push(row);
  state.places.set(`${row.source}\0${row.index}`, row.row);
  const source = state.sources.get(row.source);
  if (source.count++ === 0) source.first = row.row;
}

export function rowAt(source, index) {
  return state.places.get(`${source}\0${index}`);
}

/** A name for an input that no other has, without halves of characters, which do not come back from the module. */
export function nameSource(wanted) {
  const whole = wanted.replace(/\p{Cs}/gu, '\ufffd');
  let name = whole;
  for (let count = 2; state.sources.has(name); ++count) name = `${whole} (${count})`;
  state.sources.set(name, { first: null, count: 0, hasKey: false });
  return name;
}
