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

function notice({ source, index, error, found, line }) {
  const isKey = found === 'privateKey' || found === 'encryptedPrivateKey';
  const where = line ? `, line ${line}` : '';
  return el('li', { class: isKey ? 'notice grave' : 'notice' },
    el('strong', {}, NAMES[found] ?? `${source}, item ${index + 1}${where}`), ' ',
    NAMES[found] ? `in ${source}${where}. ` : `${error}. `,
    ADVICE[found] ?? '');
}

// The list that is shown, made when there is none.
function items() {
  const box = byId('notices');
  box.hidden = false;
  if (!box.querySelector('ul')) append(box, el('ul'), button('Dismiss', clearNotices, { class: 'quiet small' }));
  return box.querySelector('ul');
}

/** Shows what has come; a person may put it away. */
export function addNotices(failures) {
  if (failures.length !== 0) append(items(), failures.map(notice));
}

/** What is said of an input as a whole. */
export function addNote(text) {
  append(items(), el('li', { class: 'notice' }, text));
}

export function clearNotices() {
  byId('notices').replaceChildren();
  byId('notices').hidden = true;
}
