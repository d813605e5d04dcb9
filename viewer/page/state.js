// What the page knows: the certificates by their rows in the module, and which of them is shown.

export const state = {
  rows: [], // {row, source, index, title, issuer, notBefore, notAfter, ca, selfIssued, ber}
  // Name to {first, count, places, hasKey, drop}: its first row, how many, the rows by their index, a key, what it came with.
  sources: new Map(),
  shown: null, // the row of the card
  before: null, // the row that was shown before
  trusted: new Set(), // rows
};

export function forget() {
  state.rows = [];
  state.sources = new Map();
  state.shown = null;
  state.before = null;
  state.trusted = new Set();
}

export function addRow(row) {
  state.rows.push(row);
  const source = state.sources.get(row.source);
  source.places[row.index] = row.row;
  if (source.count++ === 0) source.first = row.row;
}

export function rowAt(source, index) {
  return state.sources.get(source)?.places[index];
}

/**
 * A name for an input that no other has, without halves of characters, which do not come back from the module. Of a `drop`,
 * {isShown}, the first certificate is what a person wants to see.
 */
export function nameSource(wanted, drop) {
  const whole = wanted.replace(/\p{Cs}/gu, '\ufffd');
  let name = whole;
  for (let count = 2; state.sources.has(name); ++count) name = `${whole} (${count})`;
  state.sources.set(name, { first: null, count: 0, places: [], hasKey: false, drop });
  return name;
}
