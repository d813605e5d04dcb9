// The elements of a certificate in their order, and which of them are unfolded.

export class ElementTree {
  /** Of what the module says: {elements, more}. */
  constructor({ elements, more }) {
    this.elements = elements;
    this.more = more;
    this.closed = new Set();
    this.parents = parentsOf(elements);
    this.list();
  }

  at(index) {
    const [offset, header, content, depth, type, field, value] = this.elements[index];
    const hasMembers = this.parents[index + 1] === index;
    const parent = this.parents[index] === -1 ? null : this.parents[index];
    return { offset, header, content, depth, type, field, value, hasMembers, parent, open: !this.closed.has(index) };
  }

  // Elements below a closed one are not listed.
  list() {
    this.visible = [];
    this.places = new Map();
    let hiddenBelow = Infinity;
    this.elements.forEach(([, , , depth], index) => {
      if (depth > hiddenBelow) return;
      hiddenBelow = this.closed.has(index) ? depth : Infinity;
      this.places.set(index, this.visible.length);
      this.visible.push(index);
    });
  }

  placeOf(index) {
    return this.places.get(index);
  }

  toggle(index) {
    if (!this.closed.delete(index)) this.closed.add(index);
    this.list();
  }

  /** Opens what an element is in. */
  reveal(index) {
    if (this.places.has(index)) return;
    for (let at = this.parents[index]; at !== -1; at = this.parents[at]) this.closed.delete(at);
    this.list();
  }

  /** The innermost element that an octet belongs to. */
  innermostAt(offset) {
    let low = 0;
    let high = this.elements.length;
    while (high - low > 1) {
      const middle = (low + high) >> 1;
      if (this.elements[middle][0] <= offset) low = middle;
      else high = middle;
    }
    while (low > 0 && !this.holds(low, offset)) low = this.parents[low];
    return low;
  }

  holds(index, offset) {
    const [start, header, content] = this.elements[index];
    return offset < start + header + content;
  }

  withField(field) {
    return this.elements.findIndex((element) => element[5] === field);
  }
}

function parentsOf(elements) {
  const around = [];
  return elements.map(([, , , depth], index) => {
    around[depth] = index;
    return depth === 0 ? -1 : around[depth - 1];
  });
}
