// SPDX-License-Identifier: MIT

/** The list of sources on a small screen, where it covers the map only while it is wanted. */
export class Sheet {
  /** @param {{sheet: HTMLElement, open: HTMLElement, close: HTMLElement}} elements */
  constructor(elements) {
    this.elements = elements;
    elements.open.addEventListener('click', () => this.show());
    elements.close.addEventListener('click', () => this.hide());
  }

  get isShown() {
    return this.elements.sheet.classList.contains('shown');
  }

  show() {
    this.elements.sheet.classList.add('shown');
    this.elements.open.setAttribute('aria-expanded', 'true');
    this.elements.close.focus();
  }

  /** @returns {boolean} whether it was shown */
  hide() {
    if (!this.isShown) return false;
    this.elements.sheet.classList.remove('shown');
    this.elements.open.setAttribute('aria-expanded', 'false');
    this.elements.open.focus();
    return true;
  }
}
