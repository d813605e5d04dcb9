// Octets in rows, of which only those are drawn that are seen.

import { el } from './dom.js';
import { VirtualList } from './virtual.js';

const ROW_HEIGHT = 24;

const KEYS = { ArrowLeft: () => -1, ArrowRight: () => 1, ArrowUp: (width) => -width, ArrowDown: (width) => width,
  Home: () => -Infinity, End: () => Infinity,
  PageUp: (width) => -16 * width, PageDown: (width) => 16 * width };

export class HexView {
  /**
   * A row has `width` octets. `onChoose(offset)` is told which octet a person picks, `onTouch(offset or null)` what the
   * pointer is on.
   */
  constructor(box, octets, width, onChoose, onTouch) {
    this.box = box;
    this.octets = octets;
    this.width = width;
    this.cursor = 0;
    this.ranges = { selected: null, touched: null };
    this.onChoose = onChoose;
    this.list = new VirtualList(box, ROW_HEIGHT, (row) => this.row(row));
    this.list.setCount(Math.ceil(this.octets.length / this.width));
    box.addEventListener('mouseover', ({ target }) => onTouch(target.dataset.at === undefined ? null : Number(target.dataset.at)));
    box.addEventListener('mouseleave', () => onTouch(null));
    box.addEventListener('click', ({ target }) => {
      if (target.dataset.at !== undefined) this.choose(Number(target.dataset.at));
    });
    box.addEventListener('keydown', (event) => this.onKey(event));
  }

  row(row) {
    const start = row * this.width;
    const octets = this.octets.subarray(start, start + this.width);
    const cells = Array.from(octets, (octet, place) =>
      this.lit(el('span', { 'data-at': start + place }, octet.toString(16).padStart(2, '0').toUpperCase())));
    const characters = Array.from(octets, (octet, place) =>
      this.lit(el('span', { 'data-at': start + place }, octet > 0x20 && octet < 0x7f && octet !== 0x5c ? String.fromCharCode(octet) : '·')));
    return el('div', { class: 'hex-row' }, el('span', { class: 'hex-offset' }, start.toString()),
      el('span', { class: 'octets' }, cells), el('span', { class: 'characters', 'aria-hidden': 'true' }, characters));
  }

  // The class of an octet by the ranges that it is in.
  lit(cell) {
    const at = Number(cell.dataset.at);
    for (const [name, range] of Object.entries(this.ranges)) {
      const isIn = range !== null && at >= range.offset && at < range.offset + range.header + range.content;
      cell.classList.toggle(name, isIn);
      cell.classList.toggle(`${name}-header`, isIn && at < range.offset + range.header);
    }
    cell.classList.toggle('cursor', at === this.cursor && this.ranges.selected !== null);
    return cell;
  }

  /** Lights up an element, {offset, header, content}, as "selected" or "touched"; null for none. */
  light(name, element) {
    this.ranges[name] = element;
    this.box.querySelectorAll('[data-at]').forEach((cell) => this.lit(cell));
  }

  reveal(offset) {
    this.cursor = offset;
    this.list.center(Math.floor(offset / this.width));
    this.light('selected', this.ranges.selected);
  }

  choose(offset) {
    this.cursor = Math.min(this.octets.length - 1, Math.max(0, offset));
    this.onChoose(this.cursor);
    this.list.reveal(Math.floor(this.cursor / this.width));
  }

  onKey(event) {
    const step = KEYS[event.key];
    if (step === undefined) return;
    event.preventDefault();
    this.choose(this.cursor + step(this.width));
  }
}
