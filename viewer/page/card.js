// The card of one certificate: what it says, most asked for first.

import { ask } from './client.js';
import { clipped, copyButton, button, el, fewOf } from './dom.js';
import { dateText, dayText, lifeOf } from './time.js';

const KINDS = {
  dns: 'DNS', ip: 'IP', email: 'e-mail', uri: 'URI', directory: 'directory', otherName: 'other', x400: 'X.400',
  ediParty: 'EDI', registeredId: 'OID',
};

/** What a card is made of: {show, departures, words, octets}. */
export async function cardOf(row) {
  const [show, lint, words] = (await ask('show', row)).map((line) => JSON.parse(line));
  return { show, departures: lint.departures, words: words.extensions, octets: words.octets };
}

/** Upper-case hexadecimal digits in pairs. */
function hexPairs(hex) {
  return hex === null ? '—' : hex.replace(/(..)(?=.)/g, '$1 ');
}

function field(label, ...value) {
  return [el('dt', {}, label), el('dd', {}, value)];
}

function section(title, ...content) {
  return el('section', { class: 'panel' }, el('h3', {}, title), content);
}

function nameRows(rdns, text) {
  if (rdns === null) return el('p', {}, 'A name that cannot be read.');
  if (rdns.length === 0) return el('p', { class: 'faint' }, 'An empty name.');
  const rows = rdns.slice(0, 40).map((rdn) => rdn.map(({ oid, name, value, hex }) =>
    field(name ?? oid, el('bdi', {}, clipSource(value ?? `#${hex}`)))));
  const rest = rdns.length > 40 ? el('p', { class: 'faint' }, `and ${rdns.length - 40} more`) : null;
  return [el('dl', { class: 'fields names' }, rows), rest, text === null ? null : copyButton(text, 'name as RFC 4514 text', 'Copy as RFC 4514')];
}

// Long texts of a certificate; made visible piece by piece they would cost too much at once.
function clipSource(text) {
  return text.length <= 600 ? text : `${text.slice(0, 600)}… (${text.length.toLocaleString('en')} characters)`;
}

/** The bar of a validity, with today's mark. */
export function validityBar(show) {
  const life = lifeOf(show.notBefore, show.notAfter);
  const done = el('i', {});
  const today = el('b', { title: 'today' });
  done.style.width = `${100 * life.part}%`;
  today.style.left = `${100 * life.part}%`;
  return el('div', { class: `validity ${life.state}` },
    el('div', { class: 'validity-words' }, life.words),
    el('div', { class: 'bar', role: 'img', 'aria-label': `Validity: ${life.words}` }, done, today),
    el('div', { class: 'bar-ends' }, el('time', { title: dateText(show.notBefore) }, dayText(show.notBefore)),
      el('time', { title: dateText(show.notAfter) }, dayText(show.notAfter))));
}

function alternativeName({ type, value, malformed }) {
  const shown = malformed !== undefined ? `malformed, ${malformed}`
    : value === null ? 'too large to show'
      : typeof value === 'object' ? `${value.oid} ${value.text ?? value.hex}` : value;
  return [el('span', { class: 'kind' }, KINDS[type] ?? type), el('bdi', {}, clipSource(shown))];
}

function names(show) {
  const { subjectAltNames } = show;
  if (subjectAltNames.length === 0) return el('p', { class: 'faint' }, 'None.');
  return fewOf(subjectAltNames, alternativeName);
}

function keyPanel(show, goTo) {
  const { type, bits, curve } = show.publicKey;
  const words = [type ?? 'of a kind that cannot be read', bits ? `${bits} bits` : null, curve]
    .filter((word) => word !== null).join(', ');
  return section('Public key',
    el('p', { class: 'large' }, words),
    el('dl', { class: 'fields' },
      digest('SPKI pin (SHA-256)', show.spkiSha256, show.spkiSha256),
      digest('Key identifier', hexPairs(show.subjectKeyIdentifier), show.subjectKeyIdentifier)),
    button('Show the octets of the key', () => goTo('subjectPublicKey'), { class: 'quiet' }));
}

function digest(label, shown, copied) {
  return field(label, el('code', { class: 'hex' }, shown), copied === null ? null : [' ', copyButton(copied, label)]);
}

function extensionRow(extension, words, goTo) {
  const name = extension.name ?? extension.oid;
  return el('li', { class: 'extension' },
    el('div', { class: 'extension-head' },
      el('strong', { title: extension.oid }, name ?? 'an OID that cannot be read'),
      extension.critical ? el('span', { class: 'badge critical' }, 'critical')
        : el('span', { class: 'badge faint' }, 'not critical'),
      name && button('octets', () => goTo(name), { class: 'quiet small', 'aria-label': `Octets of ${name}` })),
    el('div', { class: 'words' }, clipped(words)));
}

// Of these two the words are only how many bytes they have.
function keyIdentifier(show, { name }) {
  const isOne = name === 'subjectKeyIdentifier' || name === 'authorityKeyIdentifier';
  return isOne && show[name] !== null ? `key ${hexPairs(show[name])}` : null;
}

function extensionsPanel({ show, words }, goTo) {
  const { extensions } = show;
  if (extensions.length === 0) return section('Extensions', el('p', { class: 'faint' }, 'None.'));
  const order = extensions.map((extension, place) => place).slice(0, 200);
  const critical = extensions.filter((each) => each.critical).length;
  return section('Extensions',
    el('p', { class: 'faint' }, `${extensions.length} in all, ${critical === 0 ? 'none' : critical} critical: whoever ` +
      'does not know a critical one has to refuse the certificate.'),
    el('ul', { class: 'extensions' }, order.map((place) =>
      extensionRow(extensions[place], keyIdentifier(show, extensions[place]) ?? words[place], goTo))));
}

function departuresPanel(departures, warnings, goToOffset) {
  if (departures.length + warnings.length === 0) {
    return section('Departures', el('p', { class: 'fine' }, 'None: it is as RFC 5280 and DER want it.'));
  }
  // Of what came in BER the others count in the DER made of it, which is not what is shown.
  const isBer = departures.some(({ id }) => id === 'notDer');
  const rows = departures.slice(0, 200).map(({ id, message, clause, offset, mayDecide }) => el('li', {},
    message, mayDecide ? '' : ' No decision may rest on it.', ' ',
    el('span', { class: 'faint' }, clause), ' ',
    (!isBer || id === 'notDer') && button(`offset ${offset}`, () => goToOffset(offset), { class: 'quiet small' })));
  return section('Departures',
    el('p', { class: 'faint' }, 'In what it is not as RFC 5280 and DER want it.'),
    el('ul', { class: 'plain' }, warnings.map((text) => el('li', {}, text)), rows));
}

/** The panels of a card. `goTo(field)` and `goToOffset(offset)` show octets. */
export function panelsOf(card, goTo, goToOffset) {
  const { show, departures } = card;
  const isClean = departures.length + show.warnings.length === 0;
  return [
    section('Valid', validityBar(show)),
    isClean ? null : departuresPanel(departures, show.warnings, goToOffset),
    section('Alternative names', names(show)),
    section('Subject', nameRows(show.subjectRdns, show.subjectRfc4514)),
    section('Issuer', nameRows(show.issuerRdns, show.issuerRfc4514),
      show.authorityKeyIdentifier && el('dl', { class: 'fields' },
        digest('Key identifier', hexPairs(show.authorityKeyIdentifier), show.authorityKeyIdentifier))),
    extensionsPanel(card, goTo),
    keyPanel(show, goTo),
    section('Identity', el('dl', { class: 'fields' },
      digest('Serial number', hexPairs(show.serialNumber), show.serialNumber),
      digest('SHA-256', hexPairs(show.sha256), show.sha256),
      digest('SHA-1', hexPairs(show.sha1), show.sha1),
      field('Version', show.version ?? 'cannot be read'),
      field('Size', `${card.octets.toLocaleString('en')} octets`))),
    isClean ? departuresPanel(departures, show.warnings, goToOffset) : null,
  ];
}
