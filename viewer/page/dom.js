// Elements with text nodes alone: nothing from a certificate is ever markup.

// What steers text, what is not seen, and marks piled upon others: controls, bidirectional controls, separators, joiners and
// fillers, halves of characters, and of the marks of one letter those beyond the fourth.
const UNSEEN = /[\p{Cc}\p{Cf}\p{Cs}\p{Zl}\p{Zp}\p{Default_Ignorable_Code_Point}]|(?<=\p{M}{4})\p{M}/gu;

function escaped(character) {
  const code = character.codePointAt(0);
  const digits = code.toString(16).toUpperCase();
  return code < 0x80 ? `\\x${digits.padStart(2, '0')}` : `\\u{${digits.padStart(4, '0')}}`;
}

/** Text as the command line shows it, with backslashes doubled: what steers text or is not seen is written out. */
export function visible(text) {
  return seen(String(text).replaceAll('\\', '\\\\'));
}

// The command line leaves to the terminal what merely is not seen.
function seen(text) {
  return text.replace(UNSEEN, escaped);
}

/** A node of text in which what steers text is written out already. */
export function safe(text) {
  return document.createTextNode(seen(text));
}

/**
 * An element. Properties that start with "on" are listeners, others attributes (false and null: none); children are
 * nodes, texts, which are made visible, and lists of these.
 */
export function el(name, properties = {}, ...children) {
  const element = document.createElement(name);
  for (const [key, value] of Object.entries(properties)) {
    if (value === false || value === null || value === undefined) continue;
    if (key.startsWith('on')) element.addEventListener(key.slice(2), value);
    else element.setAttribute(key, value === true ? '' : value);
  }
  append(element, children);
  return element;
}

/** Appends children as el() has them. */
export function append(element, ...children) {
  for (const child of children.flat(Infinity)) {
    if (child === null || child === undefined || child === false) continue;
    element.append(child instanceof Node ? child : safe(visible(child)));
  }
}

/** Replaces all children. */
export function fill(element, ...children) {
  element.replaceChildren();
  append(element, children);
}

export function byId(id) {
  return document.getElementById(id);
}

/** Tells something to people who do not see the page change. */
export function announce(text) {
  byId('announcer').textContent = visible(text);
}

export function button(label, onclick, properties = {}) {
  return el('button', { type: 'button', onclick, ...properties }, label);
}

/** Says something on a button for a while, and to people who do not see it. */
export function flash(pressed, words) {
  const label = pressed.dataset.label ?? pressed.textContent;
  pressed.dataset.label = label;
  pressed.textContent = words;
  announce(words);
  setTimeout(() => (pressed.textContent = label), 1500);
}

/** Whether a text could be put on the clipboard, which browsers refuse to pages that nobody looks at. */
export async function copyText(text) {
  try {
    await navigator.clipboard.writeText(text);
    return true;
  } catch {
    return false;
  }
}

/** A button that copies a text, or what a function gives, and says so. */
export function copyButton(text, what, label = 'Copy') {
  const copy = button(label, async () => {
    flash(copy, (await copyText(typeof text === 'function' ? await text() : text)) ? 'Copied' : 'Not allowed');
  }, { class: 'quiet small', 'aria-label': `Copy ${what}` });
  return copy;
}

const FIRST_CHARACTERS = 600;
const MORE_CHARACTERS = 20000;

/** A text of any length: its start as `make` makes it safe to show, which takes long for all of it, and a button for more. */
export function clipped(text, make = seen) {
  let shown = 0;
  const start = document.createTextNode('');
  const show = (count) => {
    const end = shown + count;
    const isWithinCharacter = /[\uDC00-\uDFFF]/.test(text[end] ?? '');
    const part = text.slice(shown, isWithinCharacter ? end + 1 : end);
    start.data += make(part);
    shown += part.length;
    more.hidden = shown === text.length;
    more.textContent = `… ${(text.length - shown).toLocaleString('en')} more characters`;
  };
  const more = button('', () => show(MORE_CHARACTERS), { class: 'quiet small' });
  show(FIRST_CHARACTERS);
  return more.hidden ? start : el('span', { class: 'clipped' }, start, ' ', more);
}

/**
 * Puts a list, {items, left}, into a box, and gives the box and a button that goes on as long as some are left: `more(from)`
 * has those from a place on. `node(item, place)` makes a member.
 */
export function fewOf(list, node, box, more) {
  let shown = 0;
  let isAsked = false;
  const draw = ({ items, left }) => {
    append(box, items.map((item, place) => node(item, shown + place)));
    shown += items.length;
    next.textContent = `Show more (${left.toLocaleString('en')} left)`;
    next.hidden = left === 0;
  };
  const next = button('', async () => {
    if (isAsked) return;
    isAsked = true;
    draw(await more(shown));
    isAsked = false;
  }, { class: 'quiet small' });
  draw(list);
  return [box, next];
}
