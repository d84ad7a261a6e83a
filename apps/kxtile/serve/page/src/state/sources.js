// SPDX-License-Identifier: MIT

const isSame = (one, other) => JSON.stringify(one) === JSON.stringify(other);

/** The sources as the gateway last listed them, in one list and one map that all of the page read. */
export class Sources {
  /** @param {import('../types.js').Source[]} list */
  constructor(list) {
    /** @type {import('../types.js').Source[]} */
    this.list = [];
    /** @type {Map<string, import('../types.js').Source>} */
    this.byId = new Map();
    this.take(list);
  }

  /**
   * Takes another list. A source that is as before stays the same object, so that nothing of it is
   * loaded anew.
   * @param {import('../types.js').Source[]} list
   * @returns {boolean} whether anything changed
   */
  take(list) {
    const next = list.map((source) => {
      const known = this.byId.get(source.id);
      return known && isSame(known, source) ? known : source;
    });
    if (next.length === this.list.length && next.every((source, i) => source === this.list[i])) return false;
    this.list.splice(0, this.list.length, ...next);
    this.byId.clear();
    for (const source of next) this.byId.set(source.id, source);
    return true;
  }
}
