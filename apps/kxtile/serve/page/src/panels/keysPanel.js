// SPDX-License-Identifier: MIT
import { h } from '../ui/dom.js';
import { outerLink } from '../ui/links.js';

/** The keys, as shortcuts.js has them. */
export class KeysPanel {
  /** @param {() => {key: string, name: string}[]} shortcuts */
  constructor(shortcuts, version) {
    this.title = 'Keys';
    this.shortcuts = shortcuts;
    this.version = version;
  }

  draw() {
    const row = (key, name) => h('div', {}, h('dt', {}, h('kbd', {}, key)), h('dd', {}, name));
    return [
      h('dl', { class: 'keys' },
        ...this.shortcuts().map(({ key, name }) => row(key === 'Escape' ? 'Esc' : key, name)),
        row('Arrows', 'On the map: move it. On the swipe handle: move it. In the list: up and down'),
        row('+ −', 'On the map: one level in, one level out')),
      h('h3', {}, 'Going to a place'),
      h('p', { class: 'remark' }, 'Longitude, latitude in degrees of WGS 84; with letters in either order ' +
        '(31.23N 121.47E), also as degrees, minutes and seconds. A tile is z/x/y, as in tile addresses: level, ' +
        'column, row from the north.'),
      h('p', { class: 'about' }, `KxTile ${this.version}. This page holds OpenLayers: `,
        outerLink('page/licenses.txt', 'licences'), '.'),
    ];
  }
}
