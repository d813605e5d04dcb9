// The page's side of the worker: questions as promises.

let worker = null;
let asked = new Map();
let next = 0;
let tellLines = () => {};
let tellEnd = () => {};

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
  return tellEnd(data.error);
}

/** Ends it, with all that it holds. */
export function endWorker() {
  worker.terminate();
  asked = new Map();
}

/** Starts a worker with a fresh module. `onLines` is told what is read; `onEnd` that the module has failed. */
export function startWorker(onLines, onEnd) {
  tellLines = onLines;
  tellEnd = onEnd;
  const code = document.getElementById('worker-code').textContent;
  const url = URL.createObjectURL(new Blob([code], { type: 'text/javascript' }));
  worker = new Worker(url);
  URL.revokeObjectURL(url);
  worker.onmessage = received;
  worker.onerror = (event) => onEnd(event.message);
  return ask('start', document.getElementById('module-code').textContent.trim());
}
