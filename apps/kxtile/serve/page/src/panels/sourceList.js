// SPDX-License-Identifier: MIT
import { h, replace } from '../ui/dom.js';
import { icon } from '../ui/icons.js';

const kKinds = { service: 'Service', history: 'History', raster: 'Raster' };
export const kDatums = { wgs84: 'WGS 84', gcj02: 'GCJ-02', bd09: 'BD-09' };

/** Whether every word of a search is somewhere in what is known of a source. */
export function matches(source, search) {
  const text = [source.name, source.id, source.attribution, kKinds[source.kind], kDatums[source.datum]]
    .join(' ').toLowerCase();
  return search.toLowerCase().split(/\s+/).every((word) => text.includes(word));
}

/** The list of sources with its search; a click shows a source on the side that is chosen. */
export class SourceList {
  /**
   * @param {{list: HTMLElement, search: HTMLInputElement, count: HTMLElement}} elements
   * @param {import('../types.js').Source[]} sources
   * @param {(source: import('../types.js').Source) => void} choose
   */
  constructor(elements, sources, choose) {
    this.elements = elements;
    this.sources = sources;
    this.choose = choose;
    this.marks = new Map();
    elements.search.addEventListener('input', () => this.draw());
    elements.search.addEventListener('keydown', (event) => this.leaveSearch(event));
    elements.list.addEventListener('keydown', (event) => this.moveFocus(event));
    this.draw();
  }

  /** @param {Map<string, string>} marks  what stands at sources that are shown, by id */
  mark(marks) {
    this.marks = marks;
    this.draw();
  }

  draw() {
    const { list, search, count } = this.elements;
    const found = this.sources.filter((source) => matches(source, search.value.trim()));
    count.textContent = search.value ? `${found.length} of ${this.sources.length}` : `${this.sources.length}`;
    const none = h('li', { class: 'none' }, this.sources.length ? `No source has “${search.value}” in it.`
      : 'This gateway has no source yet. Start kxtile serve with a definition, a raster or a folder of them; ' +
        'with the option -\u2060-\u2060watch it also takes what comes into a folder later.');
    replace(list, ...(found.length ? found.map((source) => this.item(source)) : [none]));
  }

  item(source) {
    const mark = this.marks.get(source.id);
    const isAlone = this.sources.every((other) => other === source || other.name !== source.name);
    const tags = [kKinds[source.kind] ?? source.kind, kDatums[source.datum] ?? source.datum]
      .map((text) => h('span', { class: 'tag' }, text));
    return h('li', {},
      h('button', {
        type: 'button', class: 'source', 'data-key': source.id, 'aria-pressed': String(Boolean(mark)),
        on: { click: () => this.choose(source) },
      },
      h('span', { class: 'source-name' }, isAlone ? source.name : `${source.name} (${source.file ?? source.id})`, mark ? h('span', { class: 'mark' }, mark) : null),
      h('span', { class: 'tags' }, ...tags, h('span', { class: 'levels' }, `${source.minzoom}–${source.maxzoom}`)),
      source.attribution ? h('span', { class: 'source-credit' }, source.attribution) : null,
      source.error ? h('span', { class: 'source-error' }, icon('warning'), source.error) : null));
  }

  clear() {
    this.elements.search.value = '';
    this.draw();
  }

  buttons() {
    return [...this.elements.list.querySelectorAll('button')];
  }

  /** From the search down into the list; Enter takes the first that was found. */
  leaveSearch(event) {
    const [first] = this.buttons();
    if (event.key === 'ArrowDown') first?.focus();
    else if (event.key === 'Enter') first?.click();
    else if (event.key === 'Escape' && this.elements.search.value) this.clear();
    else return;
    event.preventDefault();
  }

  moveFocus(event) {
    const step = { ArrowDown: 1, ArrowUp: -1 }[event.key];
    if (!step) return;
    const buttons = this.buttons();
    const next = buttons.indexOf(document.activeElement) + step;
    (next < 0 ? this.elements.search : buttons[Math.min(next, buttons.length - 1)])?.focus();
    event.preventDefault();
  }
}
