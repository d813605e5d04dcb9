// Drives the page in Chromium as a person would: node tests/viewer/page.mjs [FOLDER FOR THE PICTURES OF docs/viewer.md]

import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { existsSync, mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { Browser } from './browser.mjs';
import { MARKUP, forms } from './made.mjs';

const TOP = new URL('../..', import.meta.url).pathname;
const PAGE = join(TOP, 'build/viewer/velmora-x509.html');
const TOOL = join(TOP, 'build/release/velmora-x509');
const CHAIN = join(TOP, 'examples/chain/chain.pem');
const AXE = join(TOP, 'build/viewer/checks/node_modules/axe-core/axe.min.js');
// What the page takes is told, and held against what it may take where the machine has nothing else to do.
const isQuiet = process.env.VIEWER_TIMES === 'strict';

const scratch = mkdtempSync(join(tmpdir(), 'viewer-'));
const made = forms(scratch, CHAIN, TOOL);
const browser = await Browser.start();
const text = (selector) => browser.run(`document.querySelector(${JSON.stringify(selector)})?.innerText ?? ''`);
const click = (selector) => browser.run(`document.querySelector(${JSON.stringify(selector)}).click()`);
const count = (selector) => browser.run(`document.querySelectorAll('${selector}').length`);
const ROOMS = [['overview', '.panels'], ['trust', '.way'], ['asn1', '.tree'], ['compare', '.differences']];
const rows = (many, what) => browser.until(`(parseInt(document.getElementById('count').textContent) || 0) === ${many} && document.querySelector('.panels, .notice')`, what);

async function dropped(...files) {
  await browser.open(PAGE);
  await browser.drop(files);
  await browser.until("document.querySelector('.panels, .notice')");
}

// Presses the first of some elements that says this.
const pick = (selector, words) =>
  browser.until(`[...document.querySelectorAll('${selector}')].some((each) => each.innerText.includes('${words}') && (each.click(), true))`, words);

async function room(name, selector) {
  await click(`#tab-${name}`);
  await browser.until(`document.querySelector('#room[data-room=${name}] ${selector}') !== null`);
}

const picture = (name) => process.argv[2] && browser.screenshot(join(process.argv[2], `${name}.webp`));

async function judge(host, trusted = true) {
  await room('trust', '.verdict');
  await browser.run(`{ document.getElementById('trust-target').value = ${JSON.stringify(host)};
    const box = document.querySelector('.roots input'); if (box.checked !== ${trusted}) box.click();
    document.querySelector('.question').requestSubmit(); }`);
  await browser.until(`document.querySelector('.verdict strong')?.innerText.includes('${!trusted ? 'Whom' : host || 'which host'}')`);
  return text('.answer');
}

/** In milliseconds: when the page is ready; from the drop to a card, the longest pause, to all; and how many were there at the card. */
async function timed(file, last) {
  await browser.open(PAGE);
  await browser.run(`{ let last = 0; globalThis.longest = 0;
    const tick = () => { const now = performance.now(); longest = Math.max(longest, now - last); last = now; };
    addEventListener('drop', () => { globalThis.begun = last = performance.now(); longest = 0; setInterval(tick, 1); }, true);
    new MutationObserver(() => {
      if (!document.querySelector('.panels') || globalThis.first !== undefined) return;
      globalThis.first = performance.now() - begun;
      globalThis.atFirst = document.getElementById('progress').hidden ? 1e9 : parseInt(document.getElementById('count').textContent.replace(/,/g, ''));
    }).observe(document.body, { childList: true, subtree: true }); }`);
  await browser.drop([file]);
  await browser.until(`globalThis.first !== undefined && document.getElementById('count').textContent === '${last}'`, last, 60);
  return browser.run("[performance.getEntriesByName('ready')[0].startTime, first, longest, performance.now() - begun, atFirst].map(Math.round)");
}

const tests = {
  async 'every form of input'() {
    const forms = Object.entries(made).filter(([form]) => form !== 'bundle');
    for (const [form, [file, certificates]] of forms) {
      await browser.open(PAGE);
      await browser.choose('[data-open]', [file]);
      await rows(certificates, form);
    }
    await dropped(...forms.map(([, [file]]) => file));
    await rows(forms.reduce((sum, [, [, certificates]]) => sum + certificates, 0), 'all at once');
    assert.equal(await text('#card-title'), 'www.example.org');
    await browser.open(PAGE);
    await click('#paste');
    await browser.run(`{ const clipboardData = new DataTransfer(); clipboardData.setData('text', ${JSON.stringify(readFileSync(made.session[0], 'utf8'))});
      document.getElementById('paste-box').dispatchEvent(new ClipboardEvent('paste', { clipboardData, bubbles: true, cancelable: true })); }`);
    await rows(2, 'pasted text');
    assert.ok(await browser.run("!document.getElementById('paste-dialog').open && document.getElementById('paste-box').value === ''"));
  },

  async 'cards say what the command line says'() {
    for (const line of execFileSync(TOOL, ['show', '--json', CHAIN], { encoding: 'utf8' }).trim().split('\n')) {
      const told = JSON.parse(line);
      await dropped(CHAIN);
      await click(`#entry-${told.index}`);
      await browser.until(`document.querySelector('.entry[aria-selected=true]')?.id === 'entry-${told.index}' &&
        document.querySelector('.panels')?.innerText.replace(/ /g, '').includes('${told.sha256}')`);
      const card = (await text('.panels')).replace(/\s+/g, ' ');
      const said = [told.spkiSha256, told.sha1.replace(/(..)(?=.)/g, '$1 '), told.notBefore.slice(0, 10), told.notAfter.slice(0, 10), told.publicKey.type, `${told.publicKey.bits} bits`, told.serialNumber.replace(/(..)(?=.)/g, '$1 '),
        ...told.subjectAltNames.map(({ value }) => value), ...[...told.subjectRdns, ...told.issuerRdns].flat().map(({ value }) => value), `(${told.signatureAlgorithm})`,
        ...told.extensions.map(({ name, critical }) => `${name} ${critical ? 'critical' : 'not critical'}`)];
      for (const each of said) assert.ok(card.includes(each), `${each} in ${card}`);
      if (told.index === 0) await picture('card');
    }
  },

  async 'elements and octets light up together'() {
    await dropped(CHAIN);
    await pick('.panel button', 'octets of the key');
    await browser.until("document.querySelector('.element[aria-selected=true]')?.innerText.includes('subjectPublicKey')");
    const lit = () => browser.run("[...document.querySelectorAll('.octets .selected')].map((each) => each.innerText).join('')");
    assert.match(await lit(), /^034200041946330A/);
    await picture('octets');
    const at = await browser.run("Number(document.querySelector('.octets .selected').dataset.at)");
    await browser.run("document.querySelector('.octets [data-at=\"" + (at - 4) + "\"]').click()");
    await browser.until("/OBJECT IDENTIFIER\\s*P-256/.test(document.querySelector('.element[aria-selected=true]').innerText)");
    await browser.run("document.querySelector('.octets [data-at=\"" + at + "\"]').dispatchEvent(new MouseEvent('mouseover', { bubbles: true }))");
    assert.match(await text('.element.touched'), /subjectPublicKey/);
    await room('overview', '.panels');
    await click('[aria-label="Octets of keyUsage"]');
    await browser.until("/keyUsage[^]*critical[^]*extnValue[^]*BIT STRING/.test(document.querySelector('.tree')?.innerText)");
    await pick('.element', '7 unused, 80');
    assert.equal(await lit(), '03020780');
  },

  async 'a chain for a host, and what changed'() {
    await dropped(CHAIN);
    assert.match(await judge('www.example.org', false), /Whom do you trust/);
    assert.match(await judge(''), /^For which host\?/);
    assert.match(await judge('www.example.org'), /^Good for www.example.org[^]*Example Root CA 1[^]*trusted root/);
    await picture('trust');
    assert.match(await judge('www.example.com'), /^Not good for www.example.com[^]*www\.example\.org[^]*✗/);
    await room('compare', '.differences ins');
    assert.match(await text('.differences'), /Serial number\s*00B7E15162\s*1D5C0FFA3B90/);
    await picture('compare');
  },

  async 'hostile names'() {
    await dropped(made.hostile[0]);
    await browser.until("parseInt(document.getElementById('count').textContent) === 4");
    assert.equal(await text('#card-title'), MARKUP);
    assert.match(await text('.chips'), /\\u\{202E\}gro\.live/);
    for (let row = 0; row < 4; ++row) {
      await click(`#entry-${row}`);
      for (const [name, selector] of ROOMS) {
        await room(name, selector);
        assert.ok(await browser.run("document.documentElement.scrollWidth <= innerWidth && document.getElementById('work').textContent.length < 1e5"), `${name} of ${row}`);
      }
    }
    await click('#entry-1');
    await browser.until("document.getElementById('card-title').innerText.includes('safe\\\\u{202E}gro.elpmaxe\\\\x00\\\\x1B[31m\\\\x0A\\\\u{200B}e\u0301\u0301\u0301\u0301\\\\u{0302}')");
    assert.equal(await count('#work img, #work script, #work a'), 0);
    await room('overview', '.panels');
    await pick('.panel button', 'Show more (59,800 left)');
    await browser.until("document.querySelector('.chips').lastChild.innerText.includes('host699.example')");
    await room('asn1', '.element');
    await browser.until("/subjectAltName[^]*SEQUENCE\\s*60,000 members/.test(document.querySelector('.tree').innerText)");
    await click('#entry-2');
    await pick('.element', 'MMM');
    await pick('#element-details button', 'all of it');
    await browser.until("document.getElementById('element-details').innerText.includes('1,047,976 more characters')");
  },

  async 'haste, folders, broken links, and keys in any form'() {
    const key = readFileSync(made.key[0], 'utf8');
    const secret = key.split('\n')[1];
    for (const each of [key, key.slice(0, 60), key.replace(/^/gm, '> '), key.replaceAll('\n', '\\n'), `{"kty":"OKP","d":"${secret}"}`, `<RSAKeyValue><D>${secret}</D></RSAKeyValue>`]) {
      await browser.open(PAGE);
      await browser.drop([], each);
      await browser.until("document.querySelector('.notice.grave')?.innerText.match(/Private key in pasted text.*never the key/s) && !document.documentElement.outerHTML.includes('" + secret.slice(0, 20) + "')", each);
    }
    await browser.open(PAGE, `#der=${secret.replaceAll('+', '-').replaceAll('/', '_').replace('=', '')}`);
    await browser.until("document.querySelector('.notice.grave') && location.hash === ''", 'a key in a link, forgotten');
    await browser.open(PAGE, '#der=A');
    await browser.until("document.getElementById('notices').innerText.includes('holds no certificate')", 'a link cut off');
    await browser.run(`{ const dataTransfer = new DataTransfer(); dataTransfer.items.add(new File([${JSON.stringify(readFileSync(CHAIN, 'utf8'))}], 'chain'));
      document.getElementById('clear').click(); dispatchEvent(new DragEvent('drop', { dataTransfer, cancelable: true })); }`);
    await browser.drop([scratch]);
    await browser.until("document.getElementById('count').textContent === '3 certificates' && document.getElementById('notices').innerText.includes('it is a folder')");
  },

  async 'ready, a card, and ten thousand'() {
    const [ready, soon] = await timed(CHAIN, '3 certificates');
    const [, first, longest, all, atFirst] = await timed(made.bundle[0], '10,002 certificates');
    console.log(`    ready after ${ready} ms, a card ${soon} ms after the drop; 10,002: ${first} ms, longest pause ${longest} ms, all ${all} ms`);
    assert.ok(atFirst < 10002, 'the first card waits for the others, or nothing tells how far they are');
    if (isQuiet) assert.ok(ready < 500 && soon < 50 && first < 200 && longest < 50);
    assert.ok((await count('.entry')) < 40, 'only what is seen is drawn');
    await browser.run("document.getElementById('list').focus()");
    await browser.key('End');
    await browser.until("document.querySelector('.entry[aria-selected=true]')?.id === 'entry-10001'");
  },

  async 'keyboard alone'() {
    const focus = () => browser.run("document.activeElement.id || document.activeElement.innerText");
    const at = async (wanted, ...keys) => {
      for (let step = 0; step < 40 && (await focus()) !== wanted; ++step) await browser.key('Tab');
      assert.equal(await focus(), wanted);
      for (const key of keys) await browser.key(key);
    };
    await browser.open(PAGE);
    await at('paste', 'Enter');
    await browser.send('Input.insertText', { text: readFileSync(CHAIN, 'utf8') });
    await at('Show', 'Enter');
    await browser.until("document.querySelector('.panels')");
    await at('list', 'ArrowDown');
    await browser.until("document.getElementById('card-title').innerText === 'Example Server CA 3'");
    for (const each of ['save-pem', 'make-link']) await at(each);
    await at('tab-overview', 'ArrowRight', 'ArrowRight');
    await browser.until("document.querySelector('.tree') && document.activeElement.id === 'tab-asn1'");
    await browser.run("{ document.getElementById('element-4').click(); document.querySelector('#element-1 .twisty').click(); }");
    await at('tree', 'ArrowRight', 'ArrowLeft', 'ArrowDown');
    assert.match(await text('.element[aria-selected=true]'), /signatureAlgorithm/);
    for (const [key, field] of [['End', /INTEGER/], ['Home', /Certificate/], ['ArrowDown', /version|serialNumber/]]) {
      await at('hex', key);
      assert.match(await text('.element[aria-selected=true]'), field, key);
    }
  },

  async 'a link carries a certificate, and files are saved'() {
    await dropped(CHAIN);
    await browser.send('Browser.setDownloadBehavior', { behavior: 'allow', downloadPath: scratch });
    const show = (form) => execFileSync(TOOL, ['show', form, 'chain.pem'], { cwd: join(CHAIN, '..'), encoding: 'utf8' });
    for (const [form, told] of Object.entries({ pem: readFileSync(CHAIN, 'utf8'), json: show('--json'), xml: show('--xml') })) {
      const saved = join(scratch, `www.example.org.${form}`);
      await click(`#save-${form}`);
      for (let turn = 0; turn < 200 && !existsSync(saved); ++turn) await new Promise((resolve) => setTimeout(resolve, 20));
      assert.ok(told.includes(readFileSync(saved, 'utf8')), form);
    }
    await click('#make-link');
    await browser.until("location.hash.startsWith('#der=')");
    await browser.open(PAGE, await browser.run('location.hash'));
    await browser.until("document.getElementById('card-title')?.innerText === 'www.example.org'");
  },

  async 'three widths, two schemes, and people who do not see'() {
    const axe = existsSync(AXE) ? readFileSync(AXE, 'utf8') : null;
    if (axe === null) console.log('    axe is not to be had: not asked');
    const look = async (what) => {
      assert.equal(await browser.run('document.documentElement.scrollWidth > innerWidth'), false, `${what} is too wide`);
      if (axe === null) return;
      await browser.run(`if (!globalThis.axe) { ${axe}\n} 0`);
      const found = await browser.run(`axe.run({ resultTypes: ['violations'] }).then(({ violations }) =>
        violations.map(({ id, nodes }) => id + ': ' + nodes.map(({ html, failureSummary }) => html.slice(0, 200) + failureSummary).join(' | ')))`);
      assert.deepEqual(found, [], what);
    };
    for (const [width, height] of [[360, 740], [1024, 800], [2560, 1300]]) {
      for (const scheme of ['light', 'dark']) {
        await browser.look(width, height, scheme);
        await browser.open(PAGE);
        await look(`start at ${width}, ${scheme}`);
        await click('#paste');
        await look(`paste at ${width}, ${scheme}`);
        await dropped(CHAIN, made.key[0]);
        if (width === 360 && scheme === 'dark') await picture('narrow');
        await judge('www.example.org');
        await browser.until("document.querySelector('.verdict').getBoundingClientRect().bottom < innerHeight + 1", 'the verdict in sight');
        for (const [name, selector] of ROOMS) {
          await room(name, selector);
          await look(`${name} at ${width}, ${scheme}`);
          if (name === 'asn1') assert.ok(await browser.run("document.querySelector('.tree').clientWidth > 280"), 'names of elements are cut off');
        }
      }
    }
    await browser.send('Emulation.setEmulatedMedia', { media: 'print' });
    assert.deepEqual(await browser.run("['aside', '.tabs', '#save-pem', '#card-title', '.differences'].filter((each) => document.querySelector(each).checkVisibility())"), ['#card-title', '.differences'], 'what is printed');
  },
};

let failed = 0;
await browser.look(1280, 900);
for (const [name, test] of Object.entries(tests)) {
  if (process.env.ONLY && !name.includes(process.env.ONLY)) continue;
  try {
    await test();
    assert.deepEqual(browser.errors.splice(0), [], 'errors on the console');
    const elsewhere = browser.requests.splice(0).filter((url) => !/^(about:|blob:|data:)/.test(url) && !url.startsWith(`file://${PAGE}`));
    assert.deepEqual(elsewhere, [], 'requests');
    console.log(`ok   ${name}`);
  } catch (error) {
    ++failed;
    console.log(`FAIL ${name}: ${error.stack}`);
    await browser.screenshot(join(TOP, 'build/viewer', 'failed.png'));
  }
}
await browser.stop();
rmSync(scratch, { recursive: true });
process.exit(failed === 0 ? 0 : 1);
