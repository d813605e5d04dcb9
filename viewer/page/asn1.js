// The elements of a certificate as a tree beside its octets; what is touched in one lights up in the other.

import { ask, askForRoom } from './client.js';
import { announce, button, clipped, copyButton, el, fill, visible } from './dom.js';
import { ElementTree } from './elements.js';
import { HexView } from './hex.js';
import { VirtualList } from './virtual.js';

const ROW_HEIGHT = 28;
const DEEPEST_INDENT = 24;
// Where a row of 16 octets has room: beside the tree, or below it in rooms that are narrow (the style sheet has that too).
const WIDE = 1150;
const NARROW = 820;
const WIDE_BELOW = 640;
// Octets of an element that go to the clipboard.
const MOST_COPIED = 1 << 17;

/** Tree and octets of one certificate. */
class Asn1View {
  constructor(row, tree, octets) {
    this.certificate = row;
    this.tree = tree;
    this.octets = octets;
    this.selected = 0;
    this.treeBox = el('div', { class: 'tree', id: 'tree', role: 'tree', tabindex: 0, 'aria-label': 'ASN.1 elements' });
    this.details = el('div', { class: 'details', id: 'element-details' });
  }

  /** Puts it into the page, where alone it has a size. */
  show(box) {
    const sides = el('div', { class: 'asn1' }, this.treeBox);
    fill(box, sides, this.details,
      this.tree.more ? el('p', { class: 'faint' }, 'There are more elements than are listed here.') : null);
    this.list = new VirtualList(this.treeBox, ROW_HEIGHT, (place) => this.row(place));
    this.fit(sides);
    this.treeBox.addEventListener('keydown', (event) => this.onKey(event));
    this.treeBox.addEventListener('mouseleave', () => this.touch(null));
    this.list.setCount(this.tree.visible.length, true);
    this.select(0, 'start');
    new ResizeObserver(() => this.fit(sides)).observe(sides);
  }

  // Octets in rows of the length that there is room for.
  fit(sides) {
    const isWide = sides.clientWidth >= (sides.clientWidth <= NARROW ? WIDE_BELOW : WIDE);
    if (this.hexBox?.classList.contains('wide') === isWide) return;
    this.hexBox?.remove();
    this.hexBox = el('div', { class: isWide ? 'hex-view wide' : 'hex-view', id: 'hex', role: 'group', tabindex: 0,
      'aria-label': 'Octets; the arrow keys move from octet to octet' });
    sides.append(this.hexBox);
    this.hex = new HexView(this.hexBox, this.octets, isWide ? 16 : 8, (offset) => this.select(this.tree.innermostAt(offset), 'hex'),
      (offset) => this.touch(offset === null ? null : this.tree.innermostAt(offset)));
    if (this.selected !== 0) this.select(this.selected, 'outside');
  }

  row(place) {
    const index = this.tree.visible[place];
    const { depth, type, field, value, offset, header, content, open, members, rank, siblings } = this.tree.at(index);
    const twisty = el('span', { class: 'twisty', 'aria-hidden': 'true',
      onclick: (event) => { event.stopPropagation(); this.toggle(index); } }, members === 0 ? '' : open ? '▾' : '▸');
    twisty.style.setProperty('--depth', Math.min(depth, DEEPEST_INDENT));
    const words = members === 0 ? value : open ? '' : `${members.toLocaleString('en')} members`;
    return el('div', {
      class: 'element', role: 'treeitem', id: `element-${index}`, 'aria-level': depth + 1, 'aria-setsize': siblings,
      'aria-posinset': rank + 1, 'aria-expanded': members === 0 ? null : String(open), 'aria-selected': String(index === this.selected),
      onclick: () => this.select(index, 'tree'), onmouseenter: () => this.touch(index),
    }, twisty, el('span', { class: 'type' }, type), field && el('span', { class: 'field' }, field),
    el('bdi', { class: 'value' }, words), el('span', { class: 'extent' }, `${offset}: ${header}+${content}`));
  }

  // What is chosen stays in sight: where it is folded away, what is around it is chosen instead.
  toggle(index) {
    this.tree.toggle(index);
    this.list.setCount(this.tree.visible.length, true);
    if (this.tree.placeOf(this.selected) === undefined) this.select(index, 'tree');
  }

  // What the pointer is on, without choosing it.
  touch(index) {
    this.hex.light('touched', index === null ? null : this.tree.at(index));
    this.treeBox.querySelector('.touched')?.classList.remove('touched');
    if (index !== null) document.getElementById(`element-${index}`)?.classList.add('touched');
  }

  select(index, from) {
    this.tree.reveal(index);
    const previous = this.selected;
    this.selected = index;
    const place = this.tree.placeOf(index);
    this.list.setCount(this.tree.visible.length, true);
    if (from !== 'tree' && from !== 'start') this.list.center(place);
    else this.list.reveal(place);
    this.treeBox.setAttribute('aria-activedescendant', `element-${index}`);
    const element = this.tree.at(index);
    if (from !== 'start') this.hex.light('selected', element);
    if (from !== 'hex' && from !== 'start') this.hex.reveal(element.offset);
    this.tellDetails(element);
    if (from === 'hex' && previous !== index) announce(`${element.type} ${element.field} ${element.value}`);
  }

  tellDetails({ type, field, value, offset, header, content }) {
    // What the tree has is the start of a long value.
    const words = el('p', { class: 'words' }, clipped(value, visible));
    const all = value.endsWith('…') && button('Show all of it', async () => {
      fill(words, clipped(await ask('value', this.certificate, offset), visible));
      all.hidden = true;
    }, { class: 'quiet small' });
    fill(this.details, el('strong', {}, field ? `${type}, ${field}` : type), el('p', { class: 'faint' },
      `Identifier and length at offset ${offset}, ${header} octets; contents at ${offset + header}, ` +
      `${content.toLocaleString('en')} octets. `,
      content <= MOST_COPIED && copyButton(() => hexOf(this.octets.subarray(offset + header, offset + header + content)), 'contents in hexadecimal')),
    value !== '' && words, all);
  }

  onKey(event) {
    const { tree, selected } = this;
    const place = tree.placeOf(selected);
    const { open, members, parent } = tree.at(selected);
    const last = tree.visible.length - 1;
    const moves = {
      ArrowDown: () => tree.visible[Math.min(last, place + 1)],
      ArrowUp: () => tree.visible[Math.max(0, place - 1)],
      Home: () => 0,
      End: () => tree.visible[last],
      ArrowRight: () => {
        if (members !== 0 && !open) return this.toggle(selected), selected;
        return members !== 0 ? selected + 1 : selected;
      },
      ArrowLeft: () => {
        if (members !== 0 && open) return this.toggle(selected), selected;
        return parent ?? selected;
      },
    };
    if (!(event.key in moves)) return;
    event.preventDefault();
    this.select(moves[event.key](), 'tree');
  }
}

function hexOf(octets) {
  return Array.from(octets, (octet) => octet.toString(16).toUpperCase().padStart(2, '0')).join('');
}

/** Fills the room for a row, if isWanted() by the time that it is known; `target`, as ElementTree.find() has it, is shown at once. */
export async function showAsn1(box, row, target, isWanted) {
  const told = await askForRoom('tree', row);
  if (!isWanted()) return;
  const view = new Asn1View(row, new ElementTree(told), told.octets);
  view.show(box);
  const index = target === null ? -1 : view.tree.find(target);
  if (index !== -1) view.select(index, 'outside');
}
