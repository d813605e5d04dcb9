// Holds every answer of the module against the command line, and its elements against OpenSSL: over the certificates of
// the tests, of the examples and of the system.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { existsSync, mkdtempSync, readdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { visible } from '../../viewer/page/dom.js';
import { Engine, PROFILES, PURPOSES } from '../../viewer/page/engine.js';
import { certificate, extension } from './made.mjs';

const TOP = new URL('../..', import.meta.url).pathname;
const TOOL = join(TOP, 'build/release/velmora-x509');
const MODULE = readFileSync(join(TOP, 'build/wasm/viewer.wasm'));
const SYSTEM = '/etc/ssl/certs/ca-certificates.crt';
process.chdir(TOP);

const scratch = mkdtempSync(join(tmpdir(), 'viewer-'));
const write = (name, content) => (writeFileSync(join(scratch, name), content), join(scratch, name));
const folder = (name) => readdirSync(name).map((file) => join(name, file));
// Of records, what is in hexadecimal.
const made = (name) => write(`${name}.pem`, [...readFileSync(`tests/data/${name}.txt`, 'utf8').matchAll(/^(?:Cert|DER) = (.*)$/gm)]
  .map(([, hex]) => `-----BEGIN CERTIFICATE-----\n${Buffer.from(hex, 'hex').toString('base64')}\n-----END CERTIFICATE-----\n`).join(''));
const SETS = ['tests/data/certificates.pem', 'examples/chain/chain.pem', made('signed_certificates'), made('paths'), SYSTEM].filter(existsSync);
const FILES = [...SETS, ...folder('examples/chain'), ...folder('examples/crl'), 'tests/data/crls.pem', ...folder('tests/data/reader')];
let answers = 0;

function tool(...words) {
  const { stdout, error } = spawnSync(TOOL, words, { maxBuffer: 1 << 30, encoding: 'utf8' });
  if (error) throw error;
  return stdout;
}

function same(actual, expected, what) {
  ++answers;
  assert.deepEqual(actual, expected, what);
}

/** The rows and failures of files, read in pieces of so many octets, and the engine. */
async function reading(files, piece = 1 << 16) {
  const engine = await Engine.start(MODULE);
  const found = { engine, rows: [], failures: [] };
  for (const file of files) {
    const octets = readFileSync(file);
    engine.begin(file);
    const lines = [];
    for (let at = 0; at < octets.length; at += piece) lines.push(...engine.feed(octets.subarray(at, at + piece)));
    for (const line of [...lines, ...engine.finish()].map((each) => JSON.parse(each))) {
      if (line.row !== undefined) found.rows.push(line);
      else if (line.error !== undefined) found.failures.push(line);
    }
  }
  return found;
}

const sortedLines = (text) => text.split('\n').filter((line) => line !== '').map((line) => JSON.parse(line))
  .sort((a, b) => a.index - b.index);

// OpenSSL opens no strings: what the module found in them is given to it behind the certificate.
function compareElements(engine, row, what) {
  const octets = engine.octets(row);
  const around = [];
  const groups = new Map(); // by the string that they are in
  for (const [offset, header, content, depth] of JSON.parse(engine.elements(row)).elements) {
    const inside = around[depth - 1] ?? null;
    around[depth] = octets[offset] & 0x20 ? inside : offset;
    groups.set(inside, [...(groups.get(inside) ?? []), { offset, header, content, depth }]);
  }
  const inputs = [];
  let size = 0;
  const told = [...groups.values()].flatMap((group) => {
    const first = group[0];
    const start = size;
    inputs.push(first.offset === 0 ? octets : octets.subarray(first.offset, first.offset + first.header + first.content));
    size += inputs.at(-1).length;
    return group.map(({ offset, header, content, depth }) => [offset - first.offset + start, depth - first.depth, header, content]);
  });
  const { stdout } = spawnSync('openssl', ['asn1parse', '-inform', 'DER'], { input: Buffer.concat(inputs), encoding: 'latin1', maxBuffer: 1 << 28 });
  const parsed = [...stdout.matchAll(/^ *(\d+):d=(\d+) +hl=(\d+) l= *(\d+) /gm)].map((found) => found.slice(1).map(Number));
  if (parsed.length !== 0) same(told, parsed, `elements of ${what}`);
}

async function compareFile(file) {
  const { engine, rows, failures } = await reading([file], 1000);
  const told = failures.map(({ source, index, error }) => JSON.stringify({ source, index, error }));
  ['show', 'lint'].forEach((command, line) => {
    const found = [...rows.map(({ row }) => engine.show(row)[line]), ...told].join('\n');
    same(sortedLines(found), sortedLines(tool(command, '--json', file)), `${command} --json ${file}`);
  });
  const summaries = tool('show', '--xml', file);
  const shown = tool('show', file).split(/^Certificate \d+ of .*\n/m).slice(1);
  rows.forEach(({ row, index }, place) => {
    const what = `${file} ${index}`;
    assert.ok(summaries.includes(engine.summary(row)), `show --xml ${what}`);
    same(Buffer.from(engine.pem(row).replace(/-----.*-----/g, ''), 'base64'), Buffer.from(engine.octets(row)), `PEM of ${what}`);
    compareElements(engine, row, what);
    const listed = shown[place].split(/^  Extensions {11}/m)[1]?.split(/\n {23}|\n/) ?? [];
    JSON.parse(engine.show(row)[2]).extensions.forEach((words, at) =>
      listed[at].endsWith(': above') || same(listed[at].endsWith(`: ${words}`), true, `${words} of ${what}: ${listed[at]}`));
  });
}

async function compareDifferences() {
  const { engine, rows } = await reading(FILES);
  const files = rows.map(({ row }) => write(`${row}.pem`, engine.pem(row)));
  for (let row = 1; row < files.length; ++row) {
    const { differences } = JSON.parse(engine.differences(row - 1, row));
    const text = differences.map(({ field, before, after }) => (before + after === '' ? `${field}\n` : `${field}\n  - ${before}\n  + ${after}\n`));
    same(text.join(''), tool('diff', files[row - 1], files[row]), `diff of ${rows[row - 1].source} and ${rows[row].source} ${rows[row].index}`);
  }
}

const AT = '2026-06-01T00:00:00Z';
const QUESTIONS = [
  ['server', 'www.example.org', AT, 'basic'], ['server', 'www.example.com', AT, 'web'], ['server', '192.0.2.17', '2024-12-31T23:59:59Z', 'rfc5280'],
  ['any', '', '2074-12-31T23:59:59Z', 'basic'], ['any', '', '2075-01-01T00:00:00Z', 'basic'], ['email', 'a@example.org', AT, 'web'],
  ...PURPOSES.slice(1).map((purpose, place) => [purpose, '', AT, PROFILES[place % 3]]),
];

// Of a set all that is issued by itself is trusted.
async function compareVerdicts(set) {
  const { engine: other, rows: all } = await reading([set]);
  const roots = write('roots.pem', all.filter(({ selfIssued }) => selfIssued).map(({ row }) => other.pem(row)).join(''));
  assert.equal(JSON.parse(other.verify(0, {})).reason, 'noAnchors', 'nothing is trusted at first');
  const { engine, rows } = await reading([roots, set]);
  rows.forEach(({ row, source }) => source === roots && engine.trust(row, true));
  const asked = rows.filter(({ source }) => source === set);
  for (const [purpose, target, at, profile] of QUESTIONS) {
    const option = target === '' ? (purpose === 'server' ? ['--no-host'] : []) : [purpose === 'email' ? '--email' : '--host', target];
    const told = tool('verify', '--json', '--purpose', purpose, ...option, '--at', at, '--profile', profile, '--roots', roots, set);
    same(asked.map(({ row }) => JSON.parse(engine.verify(row, { purpose, profile, target, at: Date.parse(at) / 1000 }))),
      sortedLines(told).filter(({ index }) => asked.some((each) => each.index === index)), `verify ${set} for ${purpose} ${target} at ${at}, ${profile}`);
  }
  assert.match(engine.verify(0, { purpose: 'server', target: 'not a host' }), /"refused":"This is neither/);
}

function compareEscapes() {
  const text = Array.from({ length: 0x11000 }, (_, code) => (code < 0xd800 || code > 0xdfff ? String.fromCodePoint(code) : '')).join('');
  const file = write('text.der', certificate('text', extension([0x2a, 3, 4], Buffer.from(text))));
  same(visible(text), tool('ext', '--text', '1.2.3.4', file).slice(0, -1), 'text that is made safe to show');
}

compareEscapes();
for (const file of FILES) await compareFile(file);
await compareDifferences();
for (const set of SETS) await compareVerdicts(set);
rmSync(scratch, { recursive: true });
console.log(`${answers} answers on ${FILES.length} files are the same.`);
