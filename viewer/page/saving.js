// What leaves the page: files that a person saves, and the link that he asks for.

import { ask } from './client.js';
import { announce, copyText, flash, visible } from './dom.js';
import { octetsOf } from './engine.js';
import { state } from './state.js';

// Beyond this, mail and messengers cut links off.
const LONGEST_LINK = 32000;

function save(name, type, text) {
  const url = URL.createObjectURL(new Blob([text], { type }));
  const link = document.createElement('a');
  link.href = url;
  link.download = name;
  link.click();
  setTimeout(() => URL.revokeObjectURL(url), 10000);
  announce(`${name} saved`);
}

// A name for a file that no system minds.
function fileName(row, ending) {
  const title = state.rows[row].title.replace(/^\*\./, 'wildcard.').replace(/[^\p{L}\p{N}.-]+/gu, '-');
  return `${title.replace(/^[.-]+|[.-]+$/g, '').slice(0, 60) || 'certificate'}.${ending}`;
}

export async function savePem(row) {
  save(fileName(row, 'pem'), 'application/x-pem-file', await ask('pem', row));
}

export async function saveJson(row) {
  const [show] = await ask('show', row);
  save(fileName(row, 'json'), 'application/json', `${show}\n`);
}

export async function saveXml(row) {
  save(fileName(row, 'xml'), 'application/xml', await ask('summary', row));
}

export async function saveAll() {
  const parts = [];
  for (const { row } of state.rows) parts.push(await ask('pem', row));
  save('certificates.pem', 'application/x-pem-file', parts.join(''));
}

/**
 * Puts the certificate into the fragment of the address, which browsers send to no server, and copies that. The button
 * that was pressed says how it went.
 */
export async function makeLink(row, pressed) {
  const octets = await ask('octets', row);
  if (octets.length > LONGEST_LINK) return flash(pressed, 'Too large for a link');
  let characters = '';
  for (const octet of octets) characters += String.fromCharCode(octet);
  const base64 = btoa(characters).replaceAll('+', '-').replaceAll('/', '_').replace(/=+$/, '');
  if (base64.length > LONGEST_LINK) return flash(pressed, 'Too large for a link');
  history.replaceState(null, '', `#der=${base64}`);
  return flash(pressed, (await copyText(location.href)) ? 'Link copied' : 'Link is in the address');
}

/** The octets of the certificate in the fragment; undefined where there is no fragment, null when it holds none. */
export function linked() {
  if (location.hash === '') return undefined;
  const found = /^#der=([A-Za-z0-9_-]+)$/.exec(location.hash);
  if (found === null) return null;
  try {
    return octetsOf(found[1].replaceAll('-', '+').replaceAll('_', '/'));
  } catch {
    return null;
  }
}

/** Takes the fragment out of the address. */
export function forgetLink() {
  history.replaceState(null, '', location.href.split('#')[0]);
}

/** The title of the page's tab. */
export function nameTab(row) {
  document.title = row === null ? 'velmora-x509' : `${visible(state.rows[row].title).slice(0, 80)} – velmora-x509`;
}
