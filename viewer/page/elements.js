// The elements of a certificate in their order, and which of them are unfolded.

const NONE = -1;
// Elements with more members are folded at first.
const MOST_UNFOLDED = 100;

export class ElementTree {
  /** Of what treeOf() of brief.js says. */
  constructor({ numbers, ends, text, more }) {
    Object.assign(this, { numbers, ends, text, more });
    this.size = numbers.length / 4;
    this.parents = new Int32Array(this.size);
    this.ranks = new Int32Array(this.size); // which of its parent's members each is, from 0 on
    this.members = new Int32Array(this.size);
    this.#relate();
    this.closed = new Set();
    this.members.forEach((count, index) => count > MOST_UNFOLDED && this.closed.add(index));
    this.list();
  }

  /** {parent, rank among so many siblings, members, open}, and what the module says of it. */
  at(index) {
    const [offset, header, content, depth] = this.numbers.subarray(4 * index);
    const [type, field, value] = [0, 1, 2].map((which) => this.#text(3 * index + which));
    const parent = this.parents[index] === NONE ? null : this.parents[index];
    return { offset, header, content, depth, type, field, value, parent, rank: this.ranks[index],
      siblings: parent === null ? 1 : this.members[parent], members: this.members[index], open: !this.closed.has(index) };
  }

  #text(place) {
    return this.text.slice(place === 0 ? 0 : this.ends[place - 1], this.ends[place]);
  }

  #depth(index) {
    return this.numbers[4 * index + 3];
  }

  #relate() {
    const around = [];
    for (let index = 0; index < this.size; ++index) {
      const depth = this.#depth(index);
      around[depth] = index;
      this.parents[index] = depth === 0 ? NONE : around[depth - 1];
      if (depth !== 0) this.ranks[index] = this.members[around[depth - 1]]++;
    }
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

  // The first element with the name of a field, or -1.
  #withField(field) {
    for (let index = 0; index < this.size; ++index) {
      if (this.#text(3 * index + 1) === field) return index;
    }
    return -1;
  }

  /** The element at an offset, of a field, or that is an extension by its place among these; -1 where there is none. */
  find({ offset, field, extension }) {
    if (offset !== undefined) return this.innermostAt(offset);
    const found = this.#withField(field ?? 'Extensions');
    if (field !== undefined || found === -1) return found;
    return this.parents.findIndex((parent, index) => parent === found && this.ranks[index] === extension);
  }
}
