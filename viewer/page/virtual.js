// A list that draws only the rows that are seen, all of the same height.

import { el } from './dom.js';

const BEYOND = 6;
// Browsers draw no box that is higher than some seventeen million pixels.
const TALLEST = 16_000_000;

export class VirtualList {
  /** `row(index)` makes the element of a row; `box` scrolls. */
  constructor(box, rowHeight, row) {
    this.box = box;
    this.rowHeight = rowHeight;
    this.row = row;
    this.count = 0;
    this.space = el('div', { class: 'virtual-space', role: 'presentation' });
    box.replaceChildren(this.space);
    this.drawn = new Map();
    box.addEventListener('scroll', () => this.draw(), { passive: true });
    new ResizeObserver(() => this.draw()).observe(box);
  }

  /** Says how many rows there are. Those that are drawn stay, unless they are to be made anew. */
  setCount(count, anew = false) {
    this.count = count;
    this.space.style.height = `${Math.min(TALLEST, count * this.rowHeight)}px`;
    if (anew) this.redraw();
    else this.draw();
  }

  redraw() {
    this.drawn.clear();
    this.space.replaceChildren();
    this.draw();
  }

  // How far the rows move for a pixel of scrolling: further where there are more than have room.
  get pace() {
    const all = this.count * this.rowHeight;
    const seen = this.box.clientHeight;
    return all <= TALLEST ? 1 : (all - seen) / (TALLEST - seen);
  }

  // The pixels above what is seen.
  get top() {
    return this.box.scrollTop * this.pace;
  }

  set top(pixels) {
    this.box.scrollTop = pixels / this.pace;
  }

  draw() {
    const first = Math.max(0, Math.floor(this.top / this.rowHeight) - BEYOND);
    const seen = Math.ceil(this.box.clientHeight / this.rowHeight) + 2 * BEYOND;
    const end = Math.min(this.count, first + seen);
    for (const [index, element] of this.drawn) {
      if (index >= first && index < end) continue;
      element.remove();
      this.drawn.delete(index);
    }
    for (let index = end; index-- > first;) {
      if (!this.drawn.has(index)) this.put(index);
    }
    const shift = this.box.scrollTop - this.top;
    for (const [index, element] of this.drawn) element.style.transform = `translateY(${index * this.rowHeight + shift}px)`;
  }

  // In front of the one behind it, since the order in the document is the one that is read out.
  put(index) {
    const element = this.row(index);
    element.style.height = `${this.rowHeight}px`;
    this.drawn.set(index, element);
    const behind = this.drawn.get(index + 1);
    this.space.insertBefore(element, behind ?? null);
  }

  /** Scrolls as little as shows the row. */
  reveal(index) {
    const top = index * this.rowHeight;
    const bottom = top + this.rowHeight;
    const { clientHeight } = this.box;
    if (top < this.top) this.top = top;
    else if (bottom > this.top + clientHeight) this.top = bottom - clientHeight;
    this.draw();
  }

  /** The same, in the middle where it was not seen. */
  center(index) {
    const top = index * this.rowHeight;
    const { clientHeight } = this.box;
    if (top < this.top || top + this.rowHeight > this.top + clientHeight) this.top = top - clientHeight / 2;
    this.draw();
  }
}
