// SPDX-License-Identifier: MIT
import { root } from '../state/gateway.js';
import { kClients } from '../text/clients.js';
import { copyBlock } from '../ui/copyButton.js';
import { h } from '../ui/dom.js';

/** How other programs take the source that is shown. */
export class ClientsPanel {
  /**
   * @param {() => ?import('../types.js').Source} current
   * @param {() => string} date   of the picture that is shown, empty for the current one
   * @param {() => void} redraw
   */
  constructor(current, date, redraw) {
    Object.assign(this, { current, date, redraw });
    this.title = 'Use it in…';
    this.client = kClients[0];
  }

  draw() {
    const source = this.current();
    if (!source) return [h('p', {}, 'Choose a source first.')];
    const date = this.date();
    return [
      h('p', { class: 'panel-lead' }, h('strong', {}, source.name), date ? ` of ${date}` : '',
        ' as aligned Web Mercator tiles.'),
      this.choice(),
      date ? h('p', { class: 'remark' }, 'Lists of all sources are left out: they show the current pictures.') : null,
      ...this.client.recipes(root, source, date).flatMap(({ title, note, text }) => [
        h('h3', {}, title), h('p', { class: 'remark' }, note), copyBlock(title, text)]),
    ];
  }

  choice() {
    return h('div', { class: 'segments', role: 'group', 'aria-label': 'Program' },
      ...kClients.map((client) => h('button', {
        type: 'button', 'aria-pressed': String(client === this.client), 'data-key': `client-${client.id}`,
        on: { click: () => { this.client = client; this.redraw(); } },
      }, client.name)));
  }
}
