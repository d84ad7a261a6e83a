// SPDX-License-Identifier: MIT
import { h, keepFocus } from '../ui/dom.js';
import { icon } from '../ui/icons.js';
import { firstAddress, linked, outerLink } from '../ui/links.js';
import { DateSlider } from './dateSlider.js';
import { kDatums } from './sourceList.js';

const kTitles = { left: 'Left', right: 'Right' };

/** The cards of what the map shows: one, or two when it is compared. */
export class SideCards {
  /**
   * @param {HTMLElement} element
   * @param {import('../state/store.js').Store} store
   * @param {Map<string, import('../types.js').Source>} sources
   * @param {import('./comparison.js').Comparison} comparison
   * @param {import('../map/mapView.js').MapView} mapView
   */
  constructor(element, store, sources, comparison, mapView) {
    Object.assign(this, { element, store, sources, comparison });
    const place = () => mapView.place();
    this.sliders = {
      left: new DateSlider('left', place, (date) => store.updateSide('left', { date })),
      right: new DateSlider('right', place, (date) => store.updateSide('right', { date })),
    };
    mapView.map.on('moveend', () => this.followPlace());
    store.subscribe((view, previous) => {
      if (view.left !== previous.left || view.right !== previous.right) this.draw();
    });
    comparison.onChoice(() => this.draw());
    this.draw();
  }

  draw() {
    // A slider is moved into its new card, which takes the focus from it.
    keepFocus(this.element, () => this.element.replaceChildren(...this.cards()));
    this.followPlace();
  }

  cards() {
    const { left, right } = this.store.view;
    if (!right) return [this.card('left', left)];
    return [this.card('left', left), this.exchange(), this.card('right', right)];
  }

  followPlace() {
    for (const name of ['left', 'right']) {
      const side = this.store.view[name];
      const source = side && this.sources.get(side.id);
      if (source?.history) this.sliders[name].follow(source, side);
    }
  }

  exchange() {
    return h('div', { class: 'between' },
      h('button', {
        type: 'button', class: 'quiet-button', 'data-key': 'exchange',
        on: { click: () => this.comparison.exchange() },
      }, icon('exchange'), 'Exchange'));
  }

  card(name, side) {
    const source = this.sources.get(side.id);
    const isCompared = Boolean(this.store.view.right);
    const isChosen = isCompared && this.comparison.chosen === name;
    return h('div', { class: `card ${isCompared ? name : ''} ${isChosen ? 'chosen' : ''}` },
      isCompared ? this.chooser(name, isChosen) : null,
      h('div', { class: 'card-name' }, source?.name ?? side.id),
      source ? this.facts(source) : h('p', { class: 'source-error' }, icon('warning'), `This gateway has no source “${side.id}”.`),
      source ? credit(source) : null,
      source?.raw ? this.forms(name, side) : null,
      source?.history ? this.sliders[name].element : null);
  }

  /** Says which side a click in the list fills. */
  chooser(name, isChosen) {
    return h('button', {
      type: 'button', class: 'side-title', 'aria-pressed': String(isChosen), 'data-key': `choose-${name}`,
      on: { click: () => this.comparison.choose(name) },
    },
    h('span', { class: 'side-letter' }, kTitles[name][0]), kTitles[name],
    h('span', { class: 'side-hint' }, isChosen ? 'the list below fills this side' : 'choose'));
  }

  facts(source) {
    return h('div', { class: 'facts' },
      h('span', {}, kDatums[source.datum] ?? source.datum),
      source.format ? h('span', {}, source.format.toUpperCase()) : null,
      h('span', {}, `levels ${source.minzoom}–${source.maxzoom}`));
  }

  /** The choice between the tiles put right and the service's own. */
  forms(name, side) {
    const option = (raw, text, title) => h('button', {
      type: 'button', 'aria-pressed': String(side.raw === raw), title, 'data-key': `${name}-${text}`,
      on: { click: () => this.store.updateSide(name, { raw }) },
    }, text);
    return h('div', { class: 'segments', role: 'group', 'aria-label': 'Form of the tiles' },
      option(false, 'Aligned', 'Put onto WGS 84 Web Mercator'),
      option(true, 'Raw', 'As the service sends them, taken for WGS 84 Web Mercator'));
  }
}

/** Attribution and terms of a source. */
function credit(source) {
  const terms = firstAddress(source.terms ?? '');
  const title = (source.terms ?? '').split(/:\s*https?:/)[0].trim();
  if (!source.attribution && !source.terms) return null;
  return h('p', { class: 'credit' },
    ...linked(source.attribution ?? ''),
    source.terms ? h('span', { class: 'terms' }, ' ', terms ? outerLink(terms, title || 'Terms') : source.terms) : null);
}
