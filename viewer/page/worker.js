// The worker: it alone touches the module, so that the page never waits for it.

import { cardOf, differencesOf, treeOf, verdictOf } from './brief.js';
import { Engine, octetsOf } from './engine.js';
import { KeySearch } from './keys.js';

// The first pieces are small, for the first card to come soon; no piece keeps a question waiting for long.
const FIRST_PIECE = 1 << 14;
const PIECE = 1 << 18;

let engine = null;
let started = null;
let reading = Promise.resolve();

async function start(base64) {
  const stream = new Blob([octetsOf(base64)]).stream().pipeThrough(new DecompressionStream('deflate-raw'));
  engine = await Engine.start(await new Response(stream).arrayBuffer());
  return null;
}

// Tells the page, once it has taken what was told before: it is never more than that behind, and questions that have come
// meanwhile are answered.
let isTaken = Promise.resolve();
let taken = () => {};
async function tell(message) {
  await isTaken;
  isTaken = new Promise((resolve) => (taken = resolve));
  postMessage(message);
}

// Null for a file that has gone or changed since it was chosen, and for a folder.
async function pieceOf(blob, begin, end) {
  try {
    return new Uint8Array(await blob.slice(begin, end).arrayBuffer());
  } catch {
    return null;
  }
}

async function read(name, blob) {
  engine.begin(name);
  const total = blob.size;
  const keys = new KeySearch();
  let isBroken = false;
  let done = 0;
  for (let piece = FIRST_PIECE; done < total; piece = Math.min(PIECE, 2 * piece)) {
    const end = Math.min(total, done + piece);
    const octets = await pieceOf(blob, done, end);
    isBroken = octets === null;
    if (isBroken) break;
    keys.feed(octets);
    const lines = engine.feed(octets);
    done = end;
    await tell({ lines, name, done, total });
  }
  await tell({ lines: engine.finish(), name, done: total, total, isBroken, hasKey: keys.found });
}

// What is asked beside the operations of the Engine: mostly their answers, as much of them as the page draws.
const BRIEFS = {
  card: (row, from) => cardOf(engine.show(row), from),
  judge: (row, question) => verdictOf(engine.verify(row, question)),
  compare: (before, after, from) => differencesOf(engine.differences(before, after), from),
  trustAll: (rows, isTrusted) => rows.forEach((row) => engine.trust(row, isTrusted)),
  tree: (row) => treeOf(engine.elements(row), engine.octets(row)),
};

async function answer(call, args) {
  if (call === 'start') return (started = start(...args));
  await started;
  if (call === 'read') return (reading = reading.then(() => read(...args)));
  return call in BRIEFS ? BRIEFS[call](...args) : engine[call](...args);
}

// Arrays of numbers are handed over, not copied.
function buffersOf(result) {
  if (result === null || typeof result !== 'object') return [];
  return [result, ...Object.values(result)].filter(ArrayBuffer.isView).map(({ buffer }) => buffer);
}

onmessage = async ({ data: { id, call, args } }) => {
  if (call === 'taken') return taken();
  try {
    const result = await answer(call, args);
    postMessage({ id, result }, buffersOf(result));
  } catch (error) {
    postMessage({ id, error: String(error.message ?? error) });
  }
  return undefined;
};
