// SPDX-License-Identifier: MIT
import { h, replace } from '../ui/dom.js';

/**
 * The one drawer beside the map, for panels that come and go. The focus goes into it, and back to
 * what opened it.
 */
export class Drawer {
  /**
   * @param {{drawer: HTMLElement, title: HTMLElement, body: HTMLElement, close: HTMLElement}} elements
   * @param {Record<string, {title: string, draw: () => Node[]}>} panels
   */
  constructor(elements, panels) {
    this.elements = elements;
    this.panels = panels;
    this.open = '';
    elements.close.addEventListener('click', () => this.close());
  }

  /** @param {string} name  of a panel; the open one closes */
  toggle(name) {
    if (this.open === name) {
      this.close();
      return;
    }
    if (!this.open) this.opener = document.activeElement;
    this.open = name;
    this.elements.drawer.hidden = false;
    this.redraw();
    this.elements.body.scrollTop = 0;
    this.elements.title.focus();
    this.tell();
  }

  close() {
    if (!this.open) return false;
    this.open = '';
    this.elements.drawer.hidden = true;
    this.opener?.focus();
    this.tell();
    return true;
  }

  /** Draws the open panel anew; what is not open is drawn when it opens. */
  redraw() {
    if (!this.open) return;
    const panel = this.panels[this.open];
    this.elements.title.textContent = panel.title;
    replace(this.elements.body, h('div', { class: `panel panel-${this.open}` }, ...panel.draw().filter(Boolean)));
  }

  onToggle(listener) {
    this.tell = () => listener(this.open);
  }

  tell() {}
}
