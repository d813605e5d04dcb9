// Holds every answer of the module against the command line, and its elements against OpenSSL: over the certificates of
// the tests, of the examples and of the system.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { existsSync, mkdtempSync, readdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { Engine } from '../../viewer/page/engine.js';

const TOP = new URL('../..', import.meta.url).pathname;
const TOOL = join(TOP, 'build/release/velmora-x509');
const MODULE = readFileSync(join(TOP, 'build/wasm/viewer.wasm'));
const SYSTEM = '/etc/ssl/certs/ca-certificates.crt';
process.chdir(TOP);

const folder = (name) => readdirSync(name).map((file) => join(name, file));
const FILES = ['tests/data/certificates.pem', ...folder('examples/chain'), ...folder('tests/data/reader'), SYSTEM].filter(existsSync);
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

// What openssl asn1parse has of each element, without those inside octets.
function parsedByOpenssl(octets) {
  const { stdout } = spawnSync('openssl', ['asn1parse', '-inform', 'DER'], { input: octets, encoding: 'latin1', maxBuffer: 1 << 28 });
  return [...stdout.matchAll(/^ *(\d+):d=(\d+) +hl=(\d+) l= *(\d+) /gm)].map(([, offset, depth, header, content]) =>
    [offset, header, content, depth].map(Number));
}

function elementsOf(engine, row) {
  const opened = [];
  return JSON.parse(engine.elements(row)).elements.filter(([offset, header, content, depth, type]) => {
    if (opened.some((end) => offset < end)) return false;
    if (type === 'OCTET STRING' || type === 'BIT STRING') opened.push(offset + header + content);
    return true;
  }).map((element) => element.slice(0, 4));
}

async function compareFile(file) {
  const { engine, rows, failures } = await reading([file], 1000);
  const told = failures.map(({ source, index, error }) => JSON.stringify({ source, index, error }));
  ['show', 'lint'].forEach((command, line) => {
    const found = [...rows.map(({ row }) => engine.show(row)[line]), ...told].join('\n');
    same(sortedLines(found), sortedLines(tool(command, '--json', file)), `${command} --json ${file}`);
  });
  const summaries = tool('show', '--xml', file);
  for (const { row, index } of rows) {
    assert.ok(summaries.includes(engine.summary(row)), `show --xml ${file} ${index}`);
    const { stdout } = spawnSync('openssl', ['x509', '-outform', 'DER'], { input: engine.pem(row) });
    if (stdout.length !== 0) same(Buffer.from(engine.octets(row)), stdout, `PEM of ${file} ${index}`);
    const parsed = parsedByOpenssl(engine.octets(row));
    if (parsed.length !== 0) same(elementsOf(engine, row), parsed, `elements of ${file} ${index}`);
  }
}

async function compareDifferences() {
  const { engine, rows } = await reading(FILES);
  const scratch = mkdtempSync(join(tmpdir(), 'viewer-'));
  const files = rows.slice(0, 40).map(({ row }) => {
    const file = join(scratch, `${row}.pem`);
    writeFileSync(file, engine.pem(row));
    return file;
  });
  for (let row = 1; row < files.length; ++row) {
    const { differences } = JSON.parse(engine.differences(row - 1, row));
    const text = differences.map(({ field, before, after }) => (before + after === '' ? `${field}\n` : `${field}\n  - ${before}\n  + ${after}\n`));
    same(text.join(''), tool('diff', files[row - 1], files[row]), `diff ${row - 1} ${row}`);
  }
  rmSync(scratch, { recursive: true });
}

const QUESTIONS = [
  ['server', 'www.example.org', '2026-01-01T00:00:00Z', 'basic', true],
  ['server', 'www.example.com', '2026-01-01T00:00:00Z', 'basic', false],
  ['server', '192.0.2.17', '2026-01-01T00:00:00Z', 'rfc5280', true],
  ['server', 'example.org', '2026-01-01T00:00:00Z', 'web', false],
  ['server', 'www.example.org', '2024-12-31T23:59:59Z', 'basic', false],
  ['client', '', '2026-01-01T00:00:00Z', 'basic', false],
  ['email', 'a@example.org', '2026-01-01T00:00:00Z', 'basic', false],
  ['any', '', '2075-01-01T00:00:00Z', 'basic', false],
  ['any', '', '2074-12-31T23:59:59Z', 'basic', true],
];

async function compareVerdicts() {
  const [root, chain, leaf] = ['root', 'intermediate', 'leaf'].map((name) => `examples/chain/${name}.pem`);
  const { engine } = await reading([root, chain, leaf]);
  assert.equal(JSON.parse(engine.verify(2, {})).reason, 'noAnchors', 'nothing is trusted at first');
  engine.trust(0, true);
  for (const [purpose, target, at, profile, isGood] of QUESTIONS) {
    const option = purpose === 'email' ? ['--email', target] : target !== '' ? ['--host', target] : [];
    const answer = JSON.parse(engine.verify(2, { purpose, profile, target, at: Date.parse(at) / 1000 }));
    const told = tool('verify', '--json', '--purpose', purpose, ...option, '--at', at, '--profile', profile, '--roots', root, '--chain', chain, leaf);
    same(answer, JSON.parse(told), `verify for ${purpose} ${target} at ${at}, ${profile}`);
    assert.equal(answer.verified, isGood, `${purpose} ${target} at ${at}`);
  }
  assert.match(engine.verify(2, { purpose: 'server', target: 'not a host' }), /"refused":"This is neither/);
}

for (const file of FILES) await compareFile(file);
await compareDifferences();
await compareVerdicts();
console.log(`${answers} answers on ${FILES.length} files are the same.`);
