// What the page draws of an answer, made in the worker: of long texts and lists the start, and how much there is, so that
// no certificate holds the page up, however large it is.

const MOST_TEXT = 600;
const MOST_WORDS = 5000;
const MOST_COPIED = 10000;
const MOST_ROWS = 200;
const MORE_ROWS = 500;
const MOST_ATTRIBUTES = 40;
const MOST_FINDINGS = 30;
// Browsers do not draw boxes beyond some thirty million pixels.
const MOST_OCTETS = 1 << 23;

/** The start of a text, and how long it is where that is not all. */
function start(text, most = MOST_TEXT) {
  if (typeof text !== 'string' || text.length <= most) return text;
  const whole = text.slice(0, most).replace(/[\uD800-\uDBFF]$/, ''); // no half of a character
  return `${whole}… (${text.length.toLocaleString('en')} characters)`;
}

// Of a list those from a place on, as many as are drawn at once, and how many are left behind them: {items, left}.
function few(list, from, brief, most = MOST_ROWS) {
  const end = from + (from === 0 ? most : MORE_ROWS);
  return { items: list.slice(from, end).map(brief), left: Math.max(0, list.length - end) };
}

// To read, and to copy where that is not too long for a person.
function shownHex(hex) {
  if (hex === null) return null;
  const pairs = hex.slice(0, MOST_TEXT).replace(/(..)(?=.)/g, '$1 ');
  const isAll = hex.length <= MOST_TEXT;
  return { shown: isAll ? pairs : `${pairs}… (${(hex.length / 2).toLocaleString('en')} octets)`, copied: isAll ? hex : null };
}

function nameOf(rdns, text, from) {
  const attributes = rdns === null ? null : few(rdns.flat(), from,
    ({ oid, name, value, hex }) => [start(name ?? oid, 100), start(value ?? `#${hex}`)], MOST_ATTRIBUTES);
  return { attributes, copied: text !== null && text.length <= MOST_COPIED ? text : null };
}

function alternativeName({ type, value, malformed }) {
  const isObject = typeof value === 'object' && value !== null;
  const brief = isObject ? `${start(value.oid, 100)} ${start(value.text ?? value.hex)}` : start(value);
  return { type, value: malformed === undefined ? brief : `malformed, ${start(malformed)}` };
}

// What the reader and the rules say.
function departuresOf(warnings, departures, from) {
  const all = [...warnings.map((message) => ({ message, mayDecide: true })), ...departures];
  return few(all, from, ({ id, message, clause, offset, mayDecide }) => ({ id, message: start(message), clause, offset, mayDecide }));
}

/** What a card has of the three lines of Engine.show(), and of its lists what they have from a place on. */
export function cardOf(lines, from = 0) {
  const [show, lint, told] = lines.map((line) => JSON.parse(line));
  const { extensions, publicKey: { type, bits, curve } } = show;
  return {
    ...Object.fromEntries(['notBefore', 'notAfter', 'version', 'spkiSha256'].map((name) => [name, show[name]])),
    publicKey: { type, bits, curve: start(curve, 100) },
    ...Object.fromEntries(['subjectKeyIdentifier', 'authorityKeyIdentifier', 'serialNumber', 'sha256', 'sha1'].map((name) => [name, shownHex(show[name])])),
    subject: nameOf(show.subjectRdns, show.subjectRfc4514, from),
    issuer: nameOf(show.issuerRdns, show.issuerRfc4514, from),
    alternativeNames: few(show.subjectAltNames, from, alternativeName),
    extensions: few(extensions, from, ({ oid, name, critical }, place) =>
      ({ oid: start(oid, 100), name, critical, words: start(told.extensions[from + place], MOST_WORDS) })),
    critical: extensions.filter((each) => each.critical).length,
    departures: departuresOf(show.warnings, lint.departures, from),
    isBer: lint.departures.some(({ id }) => id === 'notDer'),
    signatureAlgorithm: start(told.signatureAlgorithm, 100),
    keyAlgorithm: start(told.keyAlgorithm, 100),
    octets: told.octets,
  };
}

function pathOf({ anchored, certificates }) {
  const finding = ({ id, severity, text, clause }) => ({ id, severity, text: start(text), clause });
  return { anchored, certificates: certificates.map((each) =>
    ({ ...each, subject: start(each.subject), findings: few(each.findings, 0, finding, MOST_FINDINGS) })) };
}

/** What a verdict has of Engine.verify(). */
export function verdictOf(json) {
  const answer = JSON.parse(json);
  if (answer.paths === undefined) return answer;
  return { ...answer, text: start(answer.text), paths: answer.paths.slice(0, MOST_FINDINGS).map(pathOf) };
}

/** What the table has of Engine.differences(), from a place on. */
export function differencesOf(json, from = 0) {
  return few(JSON.parse(json).differences, from, ({ field, before, after }) =>
    ({ field: start(field, 100), before: start(before, MOST_COPIED), after: start(after, MOST_COPIED) }));
}

/**
 * What the tree has of Engine.elements(), in few large pieces, since a page takes long to get many small ones: of each
 * element four numbers, and where its three texts end in all the text.
 */
export function treeOf(json, octets) {
  const { elements, more } = JSON.parse(json);
  const numbers = new Uint32Array(4 * elements.length);
  const ends = new Uint32Array(3 * elements.length);
  const texts = [];
  let end = 0;
  elements.forEach((element, index) => {
    numbers.set(element.slice(0, 4), 4 * index);
    element.slice(4).forEach((text, place) => {
      texts.push(text);
      end += text.length;
      ends[3 * index + place] = end;
    });
  });
  return { numbers, ends, text: texts.join(''), more, octets: octets.slice(0, MOST_OCTETS) };
}
