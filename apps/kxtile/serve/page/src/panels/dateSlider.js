// SPDX-License-Identifier: MIT
import { fetchDates } from '../state/gateway.js';
import { h } from '../ui/dom.js';
import { icon } from '../ui/icons.js';

const kQuietMs = 300;
const kCurrent = 'Current';

/**
 * Chooses among the days that a history source has pictures of at the middle of the map: by a slider,
 * step by step, or from a list by year, which finds one of hundreds.
 */
export class DateSlider {
  /**
   * @param {import('../types.js').SideName} name  tells the slider's controls from those of another
   * @param {() => {center: number[], zoom: number}} place
   * @param {(date: string) => void} choose  an empty date is the current picture
   */
  constructor(name, place, choose) {
    this.name = name;
    this.place = place;
    this.choose = choose;
    this.dates = [];
    this.date = '';
    this.asked = '';
    this.failure = '';
    this.isWaiting = false;
    /** Steps that were asked for before the days came. */
    this.pending = 0;
    /** What the list holds, so that it is not made anew under an open one. */
    this.listed = null;
    this.build();
  }

  build() {
    this.range = h('input', {
      type: 'range', min: '0', max: '0', step: '1', 'aria-label': 'Day of the picture', 'data-key': `${this.name}-date`,
      on: {
        input: () => this.preview(),
        change: () => this.take(Number(this.range.value)),
        keydown: (event) => this.stepByKey(event),
      },
    });
    this.list = h('select', {
      class: 'date-list', 'aria-label': 'Day of the picture, by year', 'data-key': `${this.name}-day`,
      on: { change: () => this.chooseOther(this.list.value) },
    });
    const step = (name, text, by) => h('button', {
      type: 'button', class: 'icon-button', 'aria-label': text, title: text, 'data-key': `${this.name}-${name}`,
      on: { click: () => this.step(by) },
    }, icon(name));
    this.earlier = step('previous', 'Earlier picture', -1);
    this.later = step('next', 'Later picture', 1);
    this.note = h('p', { class: 'date-note', 'aria-live': 'polite' });
    this.controls = h('div', { class: 'dates-row' }, this.earlier, this.list, this.later, this.range);
    this.element = h('div', { class: `dates ${this.name}`, role: 'group', 'aria-label': 'Pictures of the past' },
      this.controls, this.note);
  }

  /** The last place of the slider is the current picture. */
  get last() {
    return this.dates.length;
  }

  /** While the slider is dragged. */
  preview() {
    const day = this.dates[Number(this.range.value)] ?? '';
    this.list.value = day;
    this.range.setAttribute('aria-valuetext', day || kCurrent);
  }

  /** While the days are on their way, a step waits for them. */
  step(by) {
    if (this.isWaiting) this.pending += by;
    else this.take(this.indexFrom(by));
  }

  /** From a day that is not listed here, the first step goes to its neighbour. */
  indexFrom(by) {
    const at = this.indexOf(this.date);
    const isBetween = this.date && this.dates[at] !== this.date;
    return at + by + (isBetween && by < 0 ? 1 : 0);
  }

  /** Of a day, or the last one before it; -1 when there is none before. */
  indexOf(date) {
    return date ? this.dates.findLastIndex((day) => day <= date) : this.last;
  }

  /** Without days the range has no other value, and does not tell of keys by itself. */
  stepByKey(event) {
    const by = { ArrowLeft: -1, ArrowDown: -1, ArrowRight: 1, ArrowUp: 1 }[event.key];
    if (!by || !this.isWaiting) return;
    event.preventDefault();
    this.step(by);
  }

  take(index) {
    const bounded = Math.max(0, Math.min(this.last, index));
    this.chooseOther(this.dates[bounded] ?? '');
  }

  chooseOther(date) {
    if (date !== this.date) this.choose(date);
  }

  /** Asks for the days of the place in view, once it rests there. */
  follow(source, side) {
    this.date = side.date;
    const { center, zoom } = this.place();
    const level = Math.round(Math.max(source.minzoom, Math.min(source.maxzoom, zoom)));
    const asked = `${source.id} ${source.state} ${level} ${center.map((degrees) => degrees.toFixed(3))}`;
    if (asked !== this.asked) this.askSoon(asked, source.id, center, level);
    this.show();
  }

  /** The days of another place or source are none of this one: they go at once. */
  askSoon(asked, id, center, level) {
    this.asked = asked;
    this.dates = [];
    this.failure = '';
    this.isWaiting = true;
    this.pending = 0;
    this.abort?.abort();
    clearTimeout(this.timer);
    this.timer = setTimeout(() => this.ask(id, center, level), kQuietMs);
  }

  async ask(id, center, level) {
    this.abort = new AbortController();
    const { signal } = this.abort;
    try {
      const dates = await fetchDates(id, center, level, signal);
      if (signal.aborted) return;
      this.dates = dates;
    } catch (error) {
      if (signal.aborted) return;
      // Asked again as soon as anything moves.
      this.asked = '';
      this.failure = `The days are not known: ${error.message}`;
    }
    this.isWaiting = false;
    this.show();
    if (this.pending) this.take(this.indexFrom(this.pending));
    this.pending = 0;
  }

  show() {
    // A day that is not listed here stays chosen; the slider rests at the last one before it.
    const at = this.indexOf(this.date);
    this.range.max = String(this.last);
    this.range.value = String(Math.max(0, at));
    this.range.setAttribute('aria-valuetext', this.date || kCurrent);
    this.fillList();
    this.enable();
    this.note.textContent = this.failure || this.describe();
    const isListed = this.last > 0 && (!this.date || this.dates.includes(this.date));
    this.note.classList.toggle('usual', !this.failure && (this.isWaiting || isListed));
  }

  /** What does nothing here is not there; a day of elsewhere can always be left. */
  enable() {
    const hadFocus = this.controls.contains(document.activeElement);
    const hasDays = this.isWaiting || this.last > 0;
    this.controls.hidden = !hasDays && !this.date;
    this.range.hidden = !hasDays;
    this.earlier.disabled = !this.isWaiting && this.indexFrom(-1) < 0;
    this.later.disabled = !this.date;
    // A control that can do no more gives the focus on, so that it is not lost.
    const focused = document.activeElement;
    if (hadFocus && (focused.disabled || !focused.checkVisibility?.())) (hasDays ? this.range : this.list).focus();
  }

  /** The days by year, the newest first, below the current picture. */
  fillList() {
    const days = this.date && !this.dates.includes(this.date) ? [...this.dates, this.date].sort() : this.dates;
    const key = days.join();
    if (key !== this.listed) {
      this.listed = key;
      this.list.replaceChildren(h('option', { value: '' }, kCurrent), ...yearsOf(days).map(([year, ofYear]) =>
        h('optgroup', { label: year }, ...ofYear.map((day) => h('option', { value: day }, day)))));
    }
    this.list.value = this.date;
  }

  describe() {
    if (this.isWaiting) return 'Looking for earlier pictures…';
    if (!this.dates.length) return 'No earlier pictures at the centre of the map. Other places may have some.';
    if (this.date && !this.dates.includes(this.date)) return this.describeNeighbour();
    const word = this.dates.length === 1 ? 'day' : 'days';
    return `${this.dates.length} ${word} here, ${this.dates[0]} to ${this.dates.at(-1)}`;
  }

  describeNeighbour() {
    const before = this.dates[this.indexOf(this.date)];
    return `No picture of ${this.date} here; ${before ? `the one before is of ${before}` : `the first is of ${this.dates[0]}`}.`;
  }
}

/** @param {string[]} days  rising  @returns {[string, string[]][]} years with their days, falling */
function yearsOf(days) {
  const years = new Map();
  for (const day of [...days].reverse()) {
    const year = day.slice(0, 4);
    years.set(year, [...(years.get(year) ?? []), day]);
  }
  return [...years];
}
