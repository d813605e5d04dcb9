// The page's side of the worker: questions as promises.

let worker = null;
let asked = new Map();
let next = 0;
let tellLines = () => {};
let tellEnd = () => {};
let isStarted = false;
let waiting = null;
let isBusy = false;

/** Asks the worker for an operation of the Engine. */
export function ask(call, ...args) {
  return new Promise((resolve, reject) => {
    const id = next++;
    asked.set(id, { resolve, reject });
    worker.postMessage({ id, call, args });
  });
}

/**
 * The same for what a room shows, of which only the last is wanted: while one answer is made, one question waits, and the
 * next takes its place. What was not asked in the end has no answer.
 */
export function askForRoom(...question) {
  return new Promise((resolve) => {
    waiting = { question, resolve };
    if (!isBusy) askNext();
  });
}

async function askNext() {
  const { question, resolve } = waiting;
  waiting = null;
  isBusy = true;
  resolve(await ask(...question));
  isBusy = false;
  if (waiting !== null) askNext();
}

function received({ data }) {
  if (data.lines !== undefined) {
    tellLines(data);
    return worker.postMessage({ call: 'taken' });
  }
  if (data.error !== undefined) return fail(data.error);
  const { resolve } = asked.get(data.id);
  asked.delete(data.id);
  return resolve(data.result);
}

// Whatever the module fails at leaves it in no state to go on. What was asked stays without an answer.
function fail(reason) {
  const [start] = asked.values();
  endWorker();
  if (isStarted) tellEnd(reason);
  else start.reject(new Error(reason));
}

/** Ends it, with all that it holds. */
export function endWorker() {
  worker.terminate();
  asked = new Map();
  waiting = null;
  isBusy = false;
}

/**
 * Starts a worker with a fresh module, or fails where the browser cannot. `onLines` is told what is read; `onEnd` that the
 * module has failed later.
 */
export async function startWorker(onLines, onEnd) {
  isStarted = false;
  tellLines = onLines;
  tellEnd = onEnd;
  const code = document.getElementById('worker-code').textContent;
  const url = URL.createObjectURL(new Blob([code], { type: 'text/javascript' }));
  worker = new Worker(url);
  URL.revokeObjectURL(url);
  worker.onmessage = received;
  worker.onerror = ({ message }) => fail(message || 'the worker has ended');
  await ask('start', document.getElementById('module-code').textContent.trim());
  isStarted = true;
}
