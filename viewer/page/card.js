// The card of one certificate: what it says, most asked for first.

import { ask, askForRoom } from './client.js';
import { clipped, copyButton, button, el, fewOf, safe } from './dom.js';
import { dateText, dayText, lifeOf } from './time.js';

const KINDS = {
  dns: 'DNS', ip: 'IP', email: 'e-mail', uri: 'URI', directory: 'directory', otherName: 'other', x400: 'X.400',
  ediParty: 'EDI', registeredId: 'OID',
};

/** What a card is made of, as cardOf() of brief.js has it. */
export function askCard(row) {
  return askForRoom('card', row);
}

function field(label, ...value) {
  return [el('dt', {}, label), el('dd', {}, value)];
}

function section(title, ...content) {
  return el('section', { class: 'panel' }, el('h3', {}, title), content);
}

function nameRows({ attributes, copied }, more) {
  if (attributes === null) return el('p', {}, 'A name that cannot be read.');
  if (attributes.items.length === 0) return el('p', { class: 'faint' }, 'An empty name.');
  const row = ([type, value]) => field(type, el('bdi', {}, value));
  return [fewOf(attributes, row, el('dl', { class: 'fields names' }), more),
    copied !== null && copyButton(copied, 'name as RFC 4514 text', 'Copy as RFC 4514')];
}

// With today's mark.
function validityBar({ notBefore, notAfter }) {
  const life = lifeOf(notBefore, notAfter);
  const done = el('i', {});
  const today = el('b', { title: 'today', hidden: life.state === 'unknown' });
  done.style.width = `${100 * life.part}%`;
  today.style.left = `${100 * life.part}%`;
  const words = life.days === null ? life.words : `${life.words} (${life.days.toLocaleString('en')} days)`;
  return el('div', { class: `validity ${life.state}` },
    el('div', { class: 'validity-words' }, words),
    el('div', { class: 'bar', role: 'img', 'aria-label': `Validity: ${words}` }, done, today),
    el('div', { class: 'bar-ends' }, el('time', { title: dateText(notBefore) }, dayText(notBefore)),
      el('time', { title: dateText(notAfter) }, dayText(notAfter))));
}

function alternativeName({ type, value }) {
  return el('li', {}, el('span', { class: 'kind' }, KINDS[type] ?? type), el('bdi', {}, value ?? 'too large to show'));
}

function names({ alternativeNames }, more) {
  if (alternativeNames.items.length === 0) return el('p', { class: 'faint' }, 'None.');
  return fewOf(alternativeNames, alternativeName, el('ul', { class: 'chips' }), more);
}

function keyPanel(card, goTo) {
  const { type, bits, curve } = card.publicKey;
  const words = [type ?? 'of a kind that cannot be read', bits ? `${bits} bits` : null, curve]
    .filter((word) => word !== null).join(', ');
  return section('Public key',
    el('p', { class: 'large' }, words),
    el('dl', { class: 'fields' },
      algorithm('Algorithm', card.keyAlgorithm),
      digest('SPKI pin (SHA-256)', { shown: card.spkiSha256, copied: card.spkiSha256 }),
      digest('Key identifier', card.subjectKeyIdentifier)),
    button('Show the octets of the key', () => goTo({ field: 'subjectPublicKey' }), { class: 'quiet' }));
}

function digest(label, hex) {
  return field(label, el('code', { class: 'hex' }, hex?.shown ?? '—'), hex?.copied && [' ', copyButton(hex.copied, label)]);
}

function algorithm(label, words) {
  return field(label, words === '' ? 'cannot be read' : safe(words));
}

function extensionRow(card, extension, goThere) {
  const name = extension.name ?? extension.oid ?? 'an OID that cannot be read';
  return el('li', { class: 'extension' },
    el('div', { class: 'extension-head' },
      el('strong', { title: extension.oid }, name),
      extension.critical ? el('span', { class: 'badge critical' }, 'critical')
        : el('span', { class: 'badge faint' }, 'not critical'),
      button('octets', goThere, { class: 'quiet small', 'aria-label': `Octets of ${name}` })),
    el('div', { class: 'words' }, clipped(keyIdentifier(card, extension) ?? extension.words)));
}

// Of these two the words are only how many bytes they have.
function keyIdentifier(card, { name }) {
  const isOne = name === 'subjectKeyIdentifier' || name === 'authorityKeyIdentifier';
  return isOne && card[name]?.copied ? `key ${card[name].shown}` : null;
}

function extensionsPanel(card, goTo, more) {
  const { extensions, critical } = card;
  const count = extensions.items.length + extensions.left;
  if (count === 0) return section('Extensions', el('p', { class: 'faint' }, 'None.'));
  return section('Extensions',
    el('p', { class: 'faint' }, `${count.toLocaleString('en')} in all, ${critical === 0 ? 'none' : critical.toLocaleString('en')} critical: ` +
      'whoever does not know a critical one has to refuse the certificate.'),
    fewOf(extensions, (each, place) => extensionRow(card, each, () => goTo({ extension: place })), el('ul', { class: 'extensions' }), more));
}

function departuresPanel({ departures, isBer }, goTo, more) {
  if (departures.items.length === 0) {
    return section('Departures', el('p', { class: 'fine' }, 'None: it is as RFC 5280 and DER want it.'));
  }
  const row = ({ id, message, clause, offset, mayDecide }) => el('li', {},
    message, mayDecide ? '' : ' No decision may rest on it.', ' ',
    el('span', { class: 'faint' }, clause), ' ',
    // Of what came in BER the others count in the DER made of it, which is not what is shown.
    offset !== undefined && (!isBer || id === 'notDer') && button(`offset ${offset}`, () => goTo({ offset }), { class: 'quiet small' }));
  return section('Departures',
    el('p', { class: 'faint' }, 'In what it is not as RFC 5280 and DER want it.'),
    fewOf(departures, row, el('ul', { class: 'plain' }), more));
}

/** The panels of the card of a row. `goTo(element)`, as ElementTree.find() has it, shows octets. */
export function panelsOf(row, card, goTo) {
  const more = (listOf) => async (from) => listOf(await ask('card', row, from));
  const departures = departuresPanel(card, goTo, more((rest) => rest.departures));
  const isClean = card.departures.items.length === 0;
  return [
    section('Valid', validityBar(card)),
    isClean ? null : departures,
    section('Alternative names', names(card, more((rest) => rest.alternativeNames))),
    extensionsPanel(card, goTo, more((rest) => rest.extensions)),
    section('Subject', nameRows(card.subject, more((rest) => rest.subject.attributes))),
    section('Issuer', nameRows(card.issuer, more((rest) => rest.issuer.attributes)),
      card.authorityKeyIdentifier && el('dl', { class: 'fields' }, digest('Key identifier', card.authorityKeyIdentifier))),
    keyPanel(card, goTo),
    section('Identity', el('dl', { class: 'fields' },
      digest('Serial number', card.serialNumber),
      digest('SHA-256', card.sha256),
      digest('SHA-1', card.sha1),
      algorithm('Signature algorithm', card.signatureAlgorithm),
      field('Version', card.version ?? 'cannot be read'),
      field('Size', `${card.octets.toLocaleString('en')} octets`))),
    isClean ? departures : null,
  ];
}
