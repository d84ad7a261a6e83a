// SPDX-License-Identifier: MIT
import { fetchDates } from '../state/gateway.js';
import { h } from '../ui/dom.js';
import { icon } from '../ui/icons.js';

const kQuietMs = 300;
const kCurrent = 'Current';

/** Chooses among the days that a history source has pictures of at the middle of the map. */
export class DateSlider {
  /**
   * @param {string} name  tells the slider's controls from those of another
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
    this.label = h('output', { class: 'date-label' });
    this.note = h('p', { class: 'date-note', 'aria-live': 'polite' });
    const step = (name, text, by) => h('button', {
      type: 'button', class: 'icon-button', 'aria-label': text, title: text, 'data-key': `${this.name}-${name}`,
      on: { click: () => this.step(by) },
    }, icon(name));
    this.earlier = step('previous', 'Earlier picture', -1);
    this.later = step('next', 'Later picture', 1);
    this.element = h('div', { class: 'dates', role: 'group', 'aria-label': 'Pictures of the past' },
      h('div', { class: 'dates-row' }, this.earlier, this.label, this.later), this.range, this.note);
  }

  /** The last place of the slider is the current picture. */
  get last() {
    return this.dates.length;
  }

  textAt(index) {
    return this.dates[index] ?? kCurrent;
  }

  preview() {
    const text = this.textAt(Number(this.range.value));
    this.label.textContent = text;
    this.range.setAttribute('aria-valuetext', text);
  }

  /** While the days are on their way, a step waits for them. */
  step(by) {
    if (this.isWaiting) this.pending += by;
    else this.take(Number(this.range.value) + by);
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
    const date = this.dates[bounded] ?? '';
    if (date !== this.date) this.choose(date);
  }

  /** Asks for the days of the place in view, once it rests there. */
  follow(source, side) {
    this.date = side.date;
    const { center, zoom } = this.place();
    const level = Math.round(Math.max(source.minzoom, Math.min(source.maxzoom, zoom)));
    const asked = `${source.id} ${level} ${center.map((degrees) => degrees.toFixed(3))}`;
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
    if (this.pending) this.take(Number(this.range.value) + this.pending);
    this.pending = 0;
  }

  show() {
    // A day that is not listed here stays chosen; the slider rests at the last one before it.
    const at = this.date ? this.dates.findLastIndex((day) => day <= this.date) : this.last;
    this.range.max = String(this.last);
    this.range.value = String(Math.max(0, at));
    this.preview();
    if (this.date) this.label.textContent = this.date;
    const hadFocus = [this.earlier, this.later].includes(document.activeElement);
    this.earlier.disabled = !this.isWaiting && (this.last === 0 || at <= 0);
    this.later.disabled = !this.date;
    this.range.disabled = !this.isWaiting && this.last === 0;
    // A button that can do no more gives the focus on, so that it is not lost.
    if (hadFocus && document.activeElement?.disabled) this.range.focus();
    this.note.textContent = this.failure || this.describe();
  }

  describe() {
    if (this.isWaiting) return 'Looking for earlier pictures…';
    if (!this.dates.length) return 'No earlier pictures at the middle of this view.';
    if (this.date && !this.dates.includes(this.date)) return `No picture of ${this.date} is listed here.`;
    const word = this.dates.length === 1 ? 'day' : 'days';
    return `${this.dates.length} ${word} here, from ${this.dates[0]} to ${this.dates.at(-1)}.`;
  }
}
