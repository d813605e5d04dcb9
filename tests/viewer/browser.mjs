// A headless Chromium, driven through the pipe of its devtools protocol.

import { spawn } from 'node:child_process';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

const KEYS = { Enter: 13, Tab: 9, Escape: 27, ' ': 32, ArrowLeft: 37, ArrowUp: 38, ArrowRight: 39, ArrowDown: 40, Home: 36, End: 35 };

// Workers are watched like the page.
const WATCHED = ['Runtime.enable', 'Network.enable', 'Log.enable', 'Runtime.runIfWaitingForDebugger'];

export class Browser {
  static async start() {
    const profile = mkdtempSync(join(tmpdir(), 'viewer-'));
    const process = spawn('chromium', ['--headless=new', '--no-sandbox', '--disable-gpu', '--remote-debugging-pipe',
      `--user-data-dir=${profile}`, '--no-first-run', '--disable-background-networking', '--disable-dev-shm-usage', 'about:blank'],
    { stdio: ['ignore', 'ignore', 'ignore', 'pipe', 'pipe'] });
    const browser = new Browser(process, profile);
    const { targetInfos } = await browser.send('Target.getTargets');
    const { targetId } = targetInfos.find(({ type }) => type === 'page');
    const { sessionId } = await browser.send('Target.attachToTarget', { targetId, flatten: true });
    browser.session = sessionId;
    for (const domain of ['Page', 'Runtime', 'Network', 'Log', 'DOM']) await browser.send(`${domain}.enable`);
    await browser.send('Target.setAutoAttach', { autoAttach: true, waitForDebuggerOnStart: true, flatten: true });
    await browser.send('Page.setInterceptFileChooserDialog', { enabled: true });
    return browser;
  }

  constructor(process, profile) {
    Object.assign(this, { process, profile, asked: new Map(), next: 1, session: undefined, requests: [], errors: [], rest: Buffer.alloc(0) });
    process.stdio[4].on('data', (data) => this.receive(data));
  }

  receive(data) {
    this.rest = Buffer.concat([this.rest, data]);
    for (let end; (end = this.rest.indexOf(0)) !== -1; this.rest = this.rest.subarray(end + 1)) {
      this.message(JSON.parse(this.rest.subarray(0, end)));
    }
  }

  message({ id, result, error, method, params }) {
    if (id !== undefined) {
      const { resolve, reject } = this.asked.get(id);
      this.asked.delete(id);
      if (error) reject(new Error(error.message));
      else resolve(result);
    }
    if (method === 'Target.attachedToTarget') WATCHED.forEach((call) => this.send(call, {}, params.sessionId).catch(() => {}));
    if (method === 'Page.fileChooserOpened') this.send('DOM.setFileInputFiles', { files: this.chosen, backendNodeId: params.backendNodeId });
    if (method === 'Network.requestWillBeSent') this.requests.push(params.request.url);
    if (method === 'Runtime.exceptionThrown') this.errors.push(params.exceptionDetails.exception?.description ?? params.exceptionDetails.text);
    if (method === 'Runtime.consoleAPICalled' && params.type === 'error') this.errors.push(JSON.stringify(params.args));
    if (method === 'Log.entryAdded' && params.entry.level === 'error') this.errors.push(params.entry.text);
  }

  send(method, params = {}, sessionId = this.session) {
    const id = this.next++;
    this.process.stdio[3].write(`${JSON.stringify({ id, method, params, sessionId })}\0`);
    return new Promise((resolve, reject) => this.asked.set(id, { resolve, reject }));
  }

  /** The value of an expression, awaited. */
  async run(expression) {
    const { result, exceptionDetails } = await this.send('Runtime.evaluate', { expression, awaitPromise: true, returnByValue: true });
    if (exceptionDetails) throw new Error(`${exceptionDetails.exception?.description ?? exceptionDetails.text} in ${expression}`);
    return result.value;
  }

  /** Waits until an expression is true. */
  async until(expression, what = expression, seconds = 20) {
    for (const end = Date.now() + 1000 * seconds; Date.now() < end;) {
      if (await this.run(expression)) return;
      await new Promise((resolve) => setTimeout(resolve, 10));
    }
    throw new Error(`waited in vain for ${what}`);
  }

  async open(file, fragment = '') {
    await this.send('Page.navigate', { url: 'about:blank' });
    await this.send('Page.navigate', { url: `file://${file}${fragment}` });
    await this.until("document.body?.dataset.ready === 'yes'");
  }

  async look(width, height, scheme = 'light') {
    await this.send('Emulation.setDeviceMetricsOverride', { width, height, deviceScaleFactor: 1, mobile: false });
    await this.send('Emulation.setEmulatedMedia', { features: [{ name: 'prefers-color-scheme', value: scheme }, { name: 'prefers-reduced-motion', value: 'reduce' }] });
  }

  async key(key, modifiers = 0) {
    const common = { key, code: key, modifiers, windowsVirtualKeyCode: KEYS[key] ?? key.toUpperCase().charCodeAt(0) };
    const text = key === 'Enter' ? '\r' : key.length === 1 ? key : undefined;
    await this.send('Input.dispatchKeyEvent', { type: text ? 'keyDown' : 'rawKeyDown', text, ...common });
    await this.send('Input.dispatchKeyEvent', { type: 'keyUp', ...common });
  }

  /** Opens files with a button. */
  choose(selector, files) {
    this.chosen = files;
    return this.send('Runtime.evaluate', { expression: `document.querySelector('${selector}').click()`, userGesture: true });
  }

  /** Drops files, or text under the name of the type "text/plain", as a person does. */
  async drop(files, text) {
    const items = text === undefined ? [] : [{ mimeType: 'text/plain', data: text }];
    const data = { items, files, dragOperationsMask: 1 };
    for (const type of ['dragEnter', 'dragOver', 'drop']) await this.send('Input.dispatchDragEvent', { type, x: 20, y: 200, data });
  }

  async screenshot(path) {
    const { data } = await this.send('Page.captureScreenshot', path.endsWith('.webp') ? { format: 'webp', quality: 85 } : { format: 'png' });
    writeFileSync(path, Buffer.from(data, 'base64'));
  }

  async stop() {
    const ended = new Promise((resolve) => this.process.on('exit', resolve));
    this.send('Browser.close').catch(() => {});
    await ended;
    rmSync(this.profile, { recursive: true, force: true, maxRetries: 5 });
  }
}
