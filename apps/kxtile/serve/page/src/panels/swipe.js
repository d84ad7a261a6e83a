// SPDX-License-Identifier: MIT
import { h, replace } from '../ui/dom.js';

const kStep = 0.02;
const kPage = 0.1;
/** A side narrower than this part of the map has no room for its name. */
const kNarrow = 0.08;

/** The handle between the two sides: dragged, or moved by the arrow keys. */
export class Swipe {
  /**
   * @param {{frame: HTMLElement, handle: HTMLElement, line: HTMLElement, left: HTMLElement,
   *          right: HTMLElement}} elements
   * @param {import('../state/store.js').Store} store
   * @param {(side: import('../types.js').Side) => {name: string, form: string}} describe
   */
  constructor(elements, store, describe) {
    Object.assign(this, { elements, store, describe });
    const { handle } = elements;
    /** Pixels from the line to where the handle was grabbed: at the map's edges it stands beside. */
    this.offset = 0;
    handle.addEventListener('pointerdown', (event) => this.grab(event));
    handle.addEventListener('pointermove', (event) => this.drag(event));
    handle.addEventListener('keydown', (event) => this.step(event));
    store.subscribe(() => this.draw());
    this.draw();
  }

  grab(event) {
    const { left, width } = this.elements.frame.getBoundingClientRect();
    this.offset = event.clientX - left - this.store.view.split * width;
    this.elements.handle.setPointerCapture(event.pointerId);
    event.preventDefault();
    this.elements.handle.focus();
  }

  drag(event) {
    if (!this.elements.handle.hasPointerCapture(event.pointerId)) return;
    const { left, width } = this.elements.frame.getBoundingClientRect();
    this.moveTo((event.clientX - left - this.offset) / width);
  }

  step(event) {
    const steps = {
      ArrowLeft: -kStep, ArrowDown: -kStep, ArrowRight: kStep, ArrowUp: kStep,
      PageDown: -kPage, PageUp: kPage, Home: -1, End: 1,
    };
    const by = steps[event.key];
    if (!by) return;
    event.preventDefault();
    event.stopPropagation();
    this.moveTo(this.store.view.split + by);
  }

  moveTo(split) {
    this.store.update({ split: Math.max(0, Math.min(1, split)) });
  }

  draw() {
    const { handle, line, left, right } = this.elements;
    const { view } = this.store;
    for (const element of [handle, line, left, right]) element.hidden = !view.right;
    if (!view.right) return;
    const percent = `${(view.split * 100).toFixed(2)}%`;
    for (const element of [handle, line, left, right]) element.style.setProperty('--split', percent);
    handle.setAttribute('aria-valuenow', String(Math.round(view.split * 100)));
    handle.setAttribute('aria-valuetext',
      `${Math.round(view.split * 100)} %; left ${this.textOf(view.left)}, right ${this.textOf(view.right)}`);
    this.label(left, view.left, view.split);
    this.label(right, view.right, 1 - view.split);
  }

  /** @param {number} part  of the map's width that the side has */
  label(element, side, part) {
    const { name, form } = this.describe(side);
    // A long name is cut short, what tells two forms of a source apart is not.
    replace(element, h('span', { class: 'side-name' }, name), form ? h('span', { class: 'side-form' }, ` · ${form}`) : null);
    element.title = this.textOf(side);
    element.hidden = part < kNarrow;
  }

  textOf(side) {
    const { name, form } = this.describe(side);
    return form ? `${name} · ${form}` : name;
  }
}
