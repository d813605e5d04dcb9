// What of the inputs is no certificate, and what to do about it.

import { append, byId, button, el } from './dom.js';

const KEY_ADVICE =
  'This is a private key. It is not shown, and nothing is done with it. Give a page or a person the certificate that ' +
  'goes with it, never the key. If it has been in a mail, a chat or a log, have the certificate revoked and make a new key.';
const ADVICE = {
  privateKey: KEY_ADVICE,
  encryptedPrivateKey: KEY_ADVICE,
  publicKey: 'A public key alone names nobody. The certificate that it stands in can be shown here.',
  request: 'A request is what one sends to a CA; the certificate is what comes back.',
  crl: 'A list of revoked certificates. The command line judges with it: velmora-x509 verify --crl.',
  pkcs12:
    'A PKCS #12 store often holds a private key, and is not opened here. “openssl pkcs12 -nokeys” takes the ' +
    'certificates out of it.',
  ocspResponse: 'An answer about revocation. It holds no certificate that could be shown alone.',
};
const NAMES = { privateKey: 'Private key', encryptedPrivateKey: 'Private key, encrypted' };

const MOST = 200;
let unseen = 0;

function notice(failure) {
  const { source, index, error, found, line } = failure;
  const where = line ? `, line ${line}` : '';
  return el('li', { class: isKey(failure) ? 'notice grave' : 'notice' },
    el('strong', {}, NAMES[found] ?? `${source}, item ${index + 1}${where}`), ' ',
    NAMES[found] ? `in ${source}${where}. ` : `${error}. `,
    ADVICE[found] ?? '');
}

// Adds to the list, which is made when there is none. Beyond the most, the last are counted.
function put(items, isFirst = false) {
  const box = byId('notices');
  box.hidden = false;
  if (!box.querySelector('ul')) append(box, el('div', {}, el('ul'), el('p')), button('Dismiss', clearNotices, { class: 'quiet small' }));
  const list = box.querySelector('ul');
  if (isFirst) list.prepend(...items);
  else list.append(...items);
  for (; list.children.length > MOST; ++unseen) list.lastChild.remove();
  if (unseen !== 0) box.querySelector('p').textContent = `and ${unseen.toLocaleString('en')} more notes like these`;
}

/** Whether a failure is about a private key. */
export function isKey({ found }) {
  return found === 'privateKey' || found === 'encryptedPrivateKey';
}

/** Shows what has come, keys first; a person may put it away. */
export function addNotices(failures) {
  const keys = failures.filter(isKey);
  const others = failures.filter((each) => !isKey(each));
  if (others.length !== 0) put(others.map(notice));
  if (keys.length !== 0) put(keys.map(notice), true);
}

/** What is said of an input as a whole. */
export function addNote(text) {
  put([el('li', { class: 'notice' }, text)]);
}

export function clearNotices() {
  unseen = 0;
  byId('notices').replaceChildren();
  byId('notices').hidden = true;
}
