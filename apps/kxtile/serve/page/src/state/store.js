// SPDX-License-Identifier: MIT

/**
 * Holds the view and tells those who subscribed when it changes. Every change of what is shown goes
 * through here, whoever wants it: a button, a key, the address bar or the map itself.
 */
export class Store {
  /** @param {import('../types.js').View} view */
  constructor(view) {
    this.view = view;
    /** @type {((view: object, previous: object, step: boolean) => void)[]} */
    this.listeners = [];
  }

  /** @param {(view: object, previous: object, step: boolean) => void} listener */
  subscribe(listener) {
    this.listeners.push(listener);
  }

  /**
   * @param {Partial<import('../types.js').View>} change
   * @param {{step?: boolean}} [options]  a step is one that the back button takes back
   */
  update(change, { step = false } = {}) {
    const previous = this.view;
    this.view = { ...previous, ...change };
    for (const listener of this.listeners) listener(this.view, previous, step);
  }

  /**
   * Changes one side of the map; a side that is not shown stays so.
   * @param {import('../types.js').SideName} name
   * @param {Partial<import('../types.js').Side>} change
   */
  updateSide(name, change, options = { step: true }) {
    const side = this.view[name];
    if (side) this.update({ [name]: { ...side, ...change } }, options);
  }
}
