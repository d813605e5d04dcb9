// The WebAssembly module as an object: texts and octets in, texts and octets out. For a worker of the page and for
// Node alike.

const ENCODER = new TextEncoder();
const DECODER = new TextDecoder();

// What the module asks of whoever runs it: the time, and to be told when it cannot go on.
function surroundings(memory) {
  return {
    env: { emscripten_notify_memory_growth() {} },
    wasi_snapshot_preview1: {
      clock_time_get(clock, precision, at) {
        new DataView(memory().buffer).setBigUint64(at, BigInt(Date.now()) * 1000000n, true);
        return 0;
      },
      proc_exit() {
        throw new WebAssembly.RuntimeError('The module has ended.');
      },
    },
  };
}

/** The octets of some base64. */
export function octetsOf(base64) {
  const characters = atob(base64);
  const octets = new Uint8Array(characters.length);
  for (let at = 0; at < octets.length; ++at) octets[at] = characters.charCodeAt(at);
  return octets;
}

/** Purposes and profiles by the names of the command line, as the module numbers them. */
export const PURPOSES = ['unsaid', 'server', 'client', 'code', 'email', 'time', 'ocsp', 'any'];
export const PROFILES = ['basic', 'rfc5280', 'web'];

/** One session of the module: what Session in viewer/module/session.h says. */
export class Engine {
  /** Of the octets of the module. */
  static async start(wasm) {
    let exports = null;
    const module = await WebAssembly.compile(wasm);
    const instance = await WebAssembly.instantiate(module, surroundings(() => exports.memory));
    exports = instance.exports;
    exports._initialize();
    return new Engine(exports);
  }

  constructor(exports) {
    this.exports = exports;
  }

  begin(name) {
    this.#give(ENCODER.encode(name));
    this.exports.begin();
  }

  /** @return {string[]} lines of JSON */
  feed(octets) {
    this.#give(octets);
    this.exports.feed();
    return this.#lines();
  }

  finish() {
    this.exports.finish();
    return this.#lines();
  }

  /** @return {string[]} three lines of JSON: show, lint, and words for these */
  show(row) {
    this.exports.show(row);
    return this.#lines();
  }

  /** @return {Uint8Array} a copy */
  octets(row) {
    this.exports.octets(row);
    return this.#taken().slice();
  }

  elements(row) {
    this.exports.elements(row);
    return this.#text();
  }

  value(row, offset) {
    this.exports.value(row, offset);
    return this.#text();
  }

  pem(row) {
    this.exports.pem(row);
    return this.#text();
  }

  summary(row) {
    this.exports.summary(row);
    return this.#text();
  }

  differences(before, after) {
    this.exports.differences(before, after);
    return this.#text();
  }

  trust(row, isTrusted) {
    this.exports.trust(row, isTrusted);
  }

  /** `at` is in seconds since 1970; without it the question is about now. */
  verify(row, { purpose = 'any', profile = 'basic', target = '', at = NaN }) {
    this.#give(ENCODER.encode(target));
    this.exports.verify(row, PURPOSES.indexOf(purpose), PROFILES.indexOf(profile), at);
    return this.#text();
  }

  // Memory moves when it grows, so that it is looked up anew each time.
  #give(octets) {
    const at = this.exports.input(octets.length);
    new Uint8Array(this.exports.memory.buffer, at, octets.length).set(octets);
  }

  #taken() {
    const { memory, output, outputSize } = this.exports;
    return new Uint8Array(memory.buffer, output(), outputSize());
  }

  #text() {
    return DECODER.decode(this.#taken());
  }

  #lines() {
    return this.#text().split('\n').filter((line) => line !== '');
  }
}
