// Certificates that only an attacker makes, and files of every form.

import { execFileSync } from 'node:child_process';
import { writeFileSync } from 'node:fs';
import { join } from 'node:path';

function tlv(tag, ...contents) {
  const content = Buffer.concat(contents.map((each) => Buffer.from(each)));
  if (content.length < 0x80) return Buffer.concat([Buffer.from([tag, content.length]), content]);
  const digits = content.length.toString(16);
  const size = Buffer.from(digits.padStart(digits.length + (digits.length % 2), '0'), 'hex');
  return Buffer.concat([Buffer.from([tag, 0x80 | size.length]), size, content]);
}

const OIDS = { title: [0x55, 4, 3], names: [0x55, 0x1d, 0x11], other: [0x2a, 3, 4], key: [0x2b, 0x65, 0x70] };
const name = (title) => tlv(0x30, tlv(0x31, tlv(0x30, tlv(6, OIDS.title), tlv(0x0c, title))));
export const extension = (oid, value) => tlv(0x30, tlv(6, oid), tlv(4, value));

export function certificate(title, serial, ...extensions) {
  const algorithm = tlv(0x30, tlv(6, OIDS.key));
  const tbs = tlv(0x30, tlv(0xa0, tlv(2, [2])), tlv(2, serial), algorithm, name('issuer <i>'),
    tlv(0x30, tlv(0x17, '250101000000Z'), tlv(0x17, '491231235959Z')), name(title),
    tlv(0x30, algorithm, tlv(3, [0], Buffer.alloc(32, 9))), ...(extensions.length ? [tlv(0xa3, tlv(0x30, ...extensions))] : []));
  return tlv(0x30, tbs, algorithm, tlv(3, [0], Buffer.alloc(64, 7)));
}

export const MARKUP = '<img src=x onerror="document.title=1"><script>boom()</script>';

/** Names full of markup, controls and piles of marks, a megabyte of names, one name, serial number and OID of a megabyte, depth at the limit. */
export function hostile() {
  const names = Array.from({ length: 60000 }, (_, place) => tlv(0x82, `host${place}.example`));
  let deep = tlv(5);
  for (let depth = 0; depth < 93; ++depth) deep = tlv(0x30, deep);
  return [
    certificate(MARKUP, [1], extension(OIDS.names, tlv(0x30, tlv(0x82, `a${MARKUP}\u202egro.live`), tlv(0x86, 'javascript:alert(1)')))),
    certificate('safe\u202egro.elpmaxe\u0000\u001b[31m\n\u200be\u0301\u0301\u0301\u0301\u0302', [1], extension(OIDS.names, tlv(0x30, ...names))),
    certificate('M'.repeat(1 << 20), Buffer.alloc(1 << 20, 0x41), extension(Buffer.alloc(1 << 20, 0x41), tlv(5))),
    certificate('deep', [1], extension(OIDS.other, deep)),
  ];
}

/** Writes a file of each form into a folder: {name: [path, certificates in it]}. */
export function forms(folder, chain, tool) {
  const at = (file) => join(folder, file);
  const write = (file, content) => (writeFileSync(at(file), content), at(file));
  const pem = execFileSync('cat', [chain], { encoding: 'utf8' });
  const blocks = pem.match(/-----BEGIN[^]*?-----END CERTIFICATE-----\n/g);
  execFileSync('openssl', ['crl2pkcs7', '-nocrl', '-certfile', chain, '-outform', 'DER', '-out', at('chain.p7b')]);
  execFileSync('openssl', ['x509', '-in', chain, '-outform', 'DER', '-out', at('leaf.der')]);
  execFileSync('openssl', ['genpkey', '-algorithm', 'ED25519', '-out', at('server.key')]);
  const base64 = blocks[0].replace(/-----.*-----\n/g, '');
  const session = `CONNECTED(00000003)\n---\nCertificate chain\n 0 s:CN = www.example.org\n${blocks[0]} 1 s:CN = CA\n${blocks[1]}---\nServer certificate\n`;
  return {
    pem: [chain, blocks.length], der: [at('leaf.der'), 1], p7b: [at('chain.p7b'), blocks.length],
    p7bPem: [write('pem.p7b', execFileSync('openssl', ['crl2pkcs7', '-nocrl', '-certfile', chain])), blocks.length],
    base64: [write('leaf.b64', base64), 1], xml: [write('chain.xml', execFileSync(tool, ['asn1', chain])), blocks.length],
    session: [write('session.txt', session), 2], key: [at('server.key'), 0], bundle: [write('bundle.pem', pem.repeat(3334)), 10002],
    hostile: [write('hostile.der', Buffer.concat(hostile())), 4], none: [write('notes.txt', 'nothing of the kind'), 0],
  };
}
