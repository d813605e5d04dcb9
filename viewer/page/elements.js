// The elements of a certificate in their order, and which of them are unfolded.

const NONE = -1;

export class ElementTree {
  /** Of what treeOf() of brief.js says. */
  constructor({ numbers, ends, text, more }) {
    Object.assign(this, { numbers, ends, text, more });
    this.size = numbers.length / 4;
    this.closed = new Set();
    this.parents = this.#parents();
    this.list();
  }

  at(index) {
    const [offset, header, content, depth] = this.numbers.subarray(4 * index);
    const [type, field, value] = [0, 1, 2].map((which) => this.#text(3 * index + which));
    const hasMembers = this.parents[index + 1] === index;
    const parent = this.parents[index] === NONE ? null : this.parents[index];
    return { offset, header, content, depth, type, field, value, hasMembers, parent, open: !this.closed.has(index) };
  }

  #text(place) {
    return this.text.slice(place === 0 ? 0 : this.ends[place - 1], this.ends[place]);
  }

  #depth(index) {
    return this.numbers[4 * index + 3];
  }

  #parents() {
    const parents = new Int32Array(this.size);
    const around = [];
    for (let index = 0; index < this.size; ++index) {
      const depth = this.#depth(index);
      around[depth] = index;
      parents[index] = depth === 0 ? NONE : around[depth - 1];
    }
    return parents;
  }

  // Elements below a closed one are not listed.
  list() {
    this.visible = [];
    this.places = new Int32Array(this.size).fill(NONE);
    let hiddenBelow = Infinity;
    for (let index = 0; index < this.size; ++index) {
      if (this.#depth(index) > hiddenBelow) continue;
      hiddenBelow = this.closed.has(index) ? this.#depth(index) : Infinity;
      this.places[index] = this.visible.length;
      this.visible.push(index);
    }
  }

  /** Among those that are listed; undefined for one that is folded away. */
  placeOf(index) {
    return this.places[index] === NONE ? undefined : this.places[index];
  }

  toggle(index) {
    if (!this.closed.delete(index)) this.closed.add(index);
    this.list();
  }

  /** Opens what an element is in. */
  reveal(index) {
    if (this.placeOf(index) !== undefined) return;
    for (let at = this.parents[index]; at !== NONE; at = this.parents[at]) this.closed.delete(at);
    this.list();
  }

  /** The innermost element that an octet belongs to. */
  innermostAt(offset) {
    let low = 0;
    let high = this.size;
    while (high - low > 1) {
      const middle = (low + high) >> 1;
      if (this.numbers[4 * middle] <= offset) low = middle;
      else high = middle;
    }
    while (low > 0 && !this.#holds(low, offset)) low = this.parents[low];
    return low;
  }

  #holds(index, offset) {
    const [start, header, content] = this.numbers.subarray(4 * index);
    return offset < start + header + content;
  }

  /** The first element with the name of a field, or -1. */
  withField(field) {
    for (let index = 0; index < this.size; ++index) {
      if (this.#text(3 * index + 1) === field) return index;
    }
    return -1;
  }

  /** The extension at a place of the list of them, or -1. */
  extensionAt(place) {
    const list = this.withField('Extensions');
    let left = place;
    return list === -1 ? -1 : this.parents.findIndex((parent) => parent === list && left-- === 0);
  }
}
