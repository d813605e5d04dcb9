// The page's side of the worker: questions as promises.

let worker = null;
let asked = new Map();
let next = 0;
let tellLines = () => {};
let tellEnd = () => {};
let isStarted = false;

/** Asks the worker for an operation of the Engine. */
export function ask(call, ...args) {
  return new Promise((resolve, reject) => {
    const id = next++;
    asked.set(id, { resolve, reject });
    worker.postMessage({ id, call, args });
  });
}

function received({ data }) {
  if (data.lines !== undefined) return tellLines(data);
  const { resolve, reject } = asked.get(data.id);
  asked.delete(data.id);
  if (data.error === undefined) return resolve(data.result);
  // Whatever the module fails at leaves it in no state to go on.
  reject(new Error(data.error));
  endWorker();
  if (isStarted) tellEnd(data.error);
  return undefined;
}

/** Ends it, with all that it holds. */
export function endWorker() {
  worker.terminate();
  asked = new Map();
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
  worker.onerror = ({ message }) => asked.forEach(({ reject }) => reject(new Error(message)));
  await ask('start', document.getElementById('module-code').textContent.trim());
  isStarted = true;
}
