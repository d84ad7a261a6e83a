// SPDX-License-Identifier: MIT

/** Comparing two sides: which begins beside which, and which of them the list fills. */
export class Comparison {
  /**
   * @param {import('../state/store.js').Store} store
   * @param {import('../types.js').Source[]} sources
   */
  constructor(store, sources) {
    this.store = store;
    this.sources = sources;
    /** @type {import('../types.js').SideName} */
    this.chosen = store.view.right ? 'right' : 'left';
    this.listeners = [];
    store.subscribe((view, previous) => {
      if (Boolean(view.right) !== Boolean(previous.right)) this.choose(view.right ? 'right' : 'left');
    });
  }

  onChoice(listener) {
    this.listeners.push(listener);
  }

  /** @returns {import('../types.js').SideName} of the side that panels, keys and commands speak of */
  get currentName() {
    return this.store.view.right ? this.chosen : 'left';
  }

  get current() {
    return this.store.view[this.currentName];
  }

  /** @param {import('../types.js').SideName} name */
  choose(name) {
    this.chosen = name;
    for (const listener of this.listeners) listener();
  }

  /** Shows a source on the chosen side. */
  show(source) {
    this.store.updateSide(this.currentName, { id: source.id, raw: false, date: '' });
  }

  /** Changes between the aligned and the service's own tiles, where there are both. */
  changeForm() {
    const { id, raw } = this.current;
    const hasBoth = Boolean(this.sources.find((source) => source.id === id)?.raw);
    if (hasBoth) this.store.updateSide(this.currentName, { raw: !raw });
  }

  toggle() {
    const { left, right } = this.store.view;
    this.store.update({ right: right ? null : this.partnerOf(left) }, { step: true });
  }

  exchange() {
    const { left, right } = this.store.view;
    if (right) this.store.update({ left: right, right: left }, { step: true });
  }

  /**
   * What is worth seeing beside a side: where the service's own tiles lie elsewhere, these; else the
   * next source.
   */
  partnerOf(side) {
    const source = this.sources.find(({ id }) => id === side.id);
    if (source?.raw && source.datum !== 'wgs84') return { ...side, raw: !side.raw };
    const others = this.sources.filter(({ id, error }) => id !== side.id && !error);
    return others.length ? { id: others[0].id, raw: false, date: '' } : { ...side };
  }
}
