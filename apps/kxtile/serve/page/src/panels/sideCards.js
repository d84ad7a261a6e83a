// SPDX-License-Identifier: MIT
import { h, keepFocus, smallScreen } from '../ui/dom.js';
import { icon } from '../ui/icons.js';
import { firstAddress, linked, outerLink } from '../ui/links.js';
import { DateSlider } from './dateSlider.js';
import { kDatums } from './sourceList.js';

const kTitles = { left: 'Left', right: 'Right' };
/** Days that are stepped through without a rest are one step for the back button. */
const kRunMs = 2000;

/** The cards of what the map shows: one, or two when it is compared. */
export class SideCards {
  /**
   * @param {{cards: HTMLElement, dates: HTMLElement}} elements  dates is below the map, for screens
   *        where the cards are not beside it
   * @param {import('../state/store.js').Store} store
   * @param {Map<string, import('../types.js').Source>} sources
   * @param {import('./comparison.js').Comparison} comparison
   * @param {import('../map/mapView.js').MapView} mapView
   */
  constructor(elements, store, sources, comparison, mapView) {
    Object.assign(this, { elements, store, sources, comparison });
    this.small = smallScreen();
    this.small.addEventListener('change', () => this.draw());
    this.lastDate = -Infinity;
    const place = () => mapView.place();
    this.sliders = {
      left: new DateSlider('left', place, (date) => this.chooseDate('left', date)),
      right: new DateSlider('right', place, (date) => this.chooseDate('right', date)),
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
    const { cards, dates } = this.elements;
    keepFocus(document.body, () => {
      cards.replaceChildren(...this.cards());
      dates.replaceChildren(...(this.small.matches ? this.shownSliders() : []));
    });
    dates.hidden = !dates.childElementCount;
    this.followPlace();
  }

  shownSliders() {
    return ['left', 'right'].filter((name) => this.sourceOf(name)?.history).map((name) => this.sliders[name].element);
  }

  /** @param {import('../types.js').SideName} name */
  sourceOf(name) {
    const side = this.store.view[name];
    return side && this.sources.get(side.id);
  }

  /** Steps through the days of the side that panels speak of. */
  step(by) {
    const name = this.comparison.currentName;
    if (this.sourceOf(name)?.history) this.sliders[name].step(by);
  }

  chooseDate(name, date) {
    const now = performance.now();
    this.store.updateSide(name, { date }, { step: now - this.lastDate > kRunMs });
    this.lastDate = now;
  }

  cards() {
    const { left, right } = this.store.view;
    if (!left.id) return [];
    if (!right) return [this.card('left', left)];
    return [this.card('left', left), this.exchange(), this.card('right', right)];
  }

  followPlace() {
    for (const name of ['left', 'right']) {
      const source = this.sourceOf(name);
      if (source?.history) this.sliders[name].follow(source, this.store.view[name]);
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
      source?.raw && side.raw ? h('p', { class: 'date-note' }, rawNote(source)) : null,
      source?.history && !this.small.matches ? this.sliders[name].element : null);
  }

  /** Says which side a click in the list fills. */
  chooser(name, isChosen) {
    return h('button', {
      type: 'button', class: 'side-title', 'aria-pressed': String(isChosen), 'data-key': `choose-${name}`,
      on: { click: () => this.comparison.choose(name) },
    },
    h('span', { class: 'side-letter' }, kTitles[name][0]), kTitles[name],
    h('span', { class: 'side-hint' }, isChosen ? 'the list fills this side' : 'choose this side'));
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

/** What raw tiles are, for who sees them lie elsewhere. */
function rawNote({ datum }) {
  if (datum === 'wgs84') return 'As the service sends them.';
  return `As the service sends them: on ${kDatums[datum] ?? datum}, some hundred metres off in China.`;
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
