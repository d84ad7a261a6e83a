// SPDX-License-Identifier: MIT
import { smallScreen } from '../ui/dom.js';

/** The list of sources on a small screen, where it covers the map only while it is wanted. */
export class Sheet {
  /**
   * @param {{sheet: HTMLElement, open: HTMLElement, close: HTMLElement, covered: HTMLElement[]}} elements
   *        covered is what lies below, and is neither reached nor read meanwhile
   */
  constructor(elements) {
    this.elements = elements;
    elements.open.addEventListener('click', () => this.show());
    elements.close.addEventListener('click', () => this.hide());
    // On a window that grew the list stands beside the map.
    smallScreen().addEventListener('change', () => this.hide());
  }

  get isShown() {
    return this.elements.sheet.classList.contains('shown');
  }

  show() {
    this.set(true);
    this.elements.close.focus();
  }

  /** @returns {boolean} whether it was shown */
  hide() {
    if (!this.isShown) return false;
    this.set(false);
    this.elements.open.focus();
    return true;
  }

  set(isShown) {
    this.elements.sheet.classList.toggle('shown', isShown);
    this.elements.open.setAttribute('aria-expanded', String(isShown));
    for (const element of this.elements.covered) element.inert = isShown;
  }
}
