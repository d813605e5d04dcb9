// Holds every answer of the module against the command line, and its elements against OpenSSL: over the certificates of
// the tests, of the examples and of the system.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { existsSync, mkdtempSync, readdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { cardOf } from '../../viewer/page/brief.js';
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
const many = write('many.der', certificate('many', [1], ...Array.from(Array(256).keys(), (bits) => extension([0x55, 0x1d, 15], [3, 2, 0, bits]))));
const FILES = [...SETS, many, ...folder('examples/chain'), ...folder('examples/crl'), 'tests/data/crls.pem', ...folder('tests/data/reader')];
let answers = 0;

const tool = (...words) => spawnSync(TOOL, words, { maxBuffer: 1 << 30, encoding: 'utf8' }).stdout;

function same(actual, expected, what) {
  ++answers;
  assert.deepEqual(actual, expected, what);
}

/** The rows and failures of files, read in pieces of so many octets, and the engine. */
async function reading(files, piece = 1 << 16) {
  const engine = await Engine.start(MODULE);
  const told = files.flatMap((file) => {
    const octets = readFileSync(file);
    const lines = [];
    engine.begin(file);
    for (let at = 0; at < octets.length; at += piece) lines.push(...engine.feed(octets.subarray(at, at + piece)));
    return [...lines, ...engine.finish()].map((line) => JSON.parse(line));
  });
  return { engine, rows: told.filter(({ row }) => row !== undefined), failures: told.filter(({ error }) => error !== undefined) };
}

const sortedLines = (text) => text.split('\n').filter((line) => line !== '').map((line) => JSON.parse(line))
  .sort((a, b) => a.index - b.index);

// OpenSSL opens no strings of octets.
function compareElements(engine, row, what) {
  const { stdout } = spawnSync('openssl', ['asn1parse', '-inform', 'DER'], { input: engine.octets(row), encoding: 'latin1', maxBuffer: 1 << 28 });
  const parsed = [...stdout.matchAll(/^ *(\d+):d=(\d+) +hl=(\d+) l= *(\d+) /gm)].map((found) => found.slice(1).map(Number));
  let opened = 0; // where the last string ends
  const told = JSON.parse(engine.elements(row)).elements.filter(([offset, header, content, , type]) => {
    if (offset < opened) return false;
    if (/^(OCTET|BIT) STRING$/.test(type)) opened = offset + header + content;
    return true;
  });
  if (parsed.length !== 0) same(told.map(([offset, header, content, depth]) => [offset, depth, header, content]), parsed, `elements of ${what}`);
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
    // A card has its lists in pieces.
    [0, 200].flatMap((from) => cardOf(engine.show(row), from).extensions.items).forEach(({ words }, at) =>
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
  ['any', '', '2074-12-31T23:59:59Z', 'basic'], ['any', 'a@example.org', '2075-01-01T00:00:00Z', 'basic'], ['email', 'a@example.org', AT, 'web'],
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
    const option = target === '' ? (purpose === 'server' ? ['--no-host'] : []) : [target.includes('@') ? '--email' : '--host', target];
    const told = tool('verify', '--json', '--purpose', purpose, ...option, '--at', at, '--profile', profile, '--roots', roots, set);
    same(asked.map(({ row }) => JSON.parse(engine.verify(row, { purpose, profile, target, at: Date.parse(at) / 1000 }))),
      sortedLines(told).filter(({ index }) => asked.some((each) => each.index === index)), `verify ${set} for ${purpose} ${target} at ${at}, ${profile}`);
  }
  assert.match(engine.verify(0, { purpose: 'server', target: 'not a host' }), /"refused":"This is neither/);
}

// The page writes out what the command line does, and more that is not seen.
function compareEscapes() {
  const isCharacter = (code) => (code < 0xd800 || code > 0xdfff) && code !== 0x7c;
  const text = Array.from(Array(0x11000).keys(), (code) => (isCharacter(code) ? String.fromCodePoint(code) : '')).join('|');
  const file = write('text.der', certificate('text', [1], extension([0x2a, 3, 4], Buffer.from(text))));
  const told = tool('ext', '--text', '1.2.3.4', file).slice(0, -1).split('|');
  const written = (list) => list.filter((_, code) => told[code].length > 2);
  same(written(visible(text).split('|')), written(told), 'text that is made safe to show');
}

compareEscapes();
for (const file of FILES) await compareFile(file);
await compareDifferences();
for (const set of SETS) await compareVerdicts(set);
rmSync(scratch, { recursive: true });
console.log(`${answers} answers on ${FILES.length} files are the same.`);
