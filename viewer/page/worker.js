// The worker: it alone touches the module, so that the page never waits for it.

import { Engine, octetsOf } from './engine.js';

// The first pieces are small, for the first card to come soon; no piece keeps a question waiting for long.
const FIRST_PIECE = 1 << 14;
const PIECE = 1 << 18;

let engine = null;
let reading = Promise.resolve();

async function unpacked(base64) {
  const stream = new Blob([octetsOf(base64)]).stream().pipeThrough(new DecompressionStream('deflate-raw'));
  return new Response(stream).arrayBuffer();
}

// Lets questions in that have come meanwhile.
function pause() {
  return new Promise((resolve) => {
    const { port1, port2 } = new MessageChannel();
    port1.onmessage = () => {
      port1.close();
      resolve();
    };
    port2.postMessage(null);
  });
}

async function read(name, blob) {
  engine.begin(name);
  let done = 0;
  for (let piece = FIRST_PIECE; done < blob.size; piece = Math.min(PIECE, 2 * piece)) {
    const end = Math.min(blob.size, done + piece);
    const lines = engine.feed(new Uint8Array(await blob.slice(done, end).arrayBuffer()));
    done = end;
    postMessage({ lines, name, done, total: blob.size });
    await pause();
  }
  postMessage({ lines: engine.finish(), name, done, total: blob.size });
}

async function answer(call, args) {
  if (call === 'start') {
    engine = await Engine.start(await unpacked(args[0]));
    return null;
  }
  if (call === 'read') {
    reading = reading.then(() => read(...args));
    return reading;
  }
  return engine[call](...args);
}

onmessage = async ({ data: { id, call, args } }) => {
  try {
    postMessage({ id, result: await answer(call, args) });
  } catch (error) {
    postMessage({ id, error: String(error.message ?? error) });
  }
};
