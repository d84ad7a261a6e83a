// SPDX-License-Identifier: MIT
import { visibleExtent } from '../text/extent.js';
import { h, debounce, replace } from '../ui/dom.js';
import { icon } from '../ui/icons.js';
import { onFirstWorld } from '../text/tileWords.js';

/** @typedef {{text: string, action?: string, run?: () => void, isFault: boolean}} Notice */

/** What keeps a source from being seen here, in words, with what would help. */
export class Notices {
  /**
   * @param {HTMLElement} element
   * @param {import('../state/store.js').Store} store
   * @param {import('../map/mapView.js').MapView} mapView
   */
  constructor(element, store, mapView) {
    Object.assign(this, { element, store, mapView, shown: '' });
    const update = debounce(120, () => this.draw());
    mapView.onTile(update);
    mapView.map.on('moveend', update);
    store.subscribe(update);
    // Where nothing is drawn, no move and no tile ever comes to an end.
    mapView.map.once('rendercomplete', update);
  }

  draw() {
    const notices = this.mapView.shownSides().map(({ layer }) => this.about(layer)).filter(Boolean);
    const unique = notices.filter(({ text }, i) => notices.findIndex((other) => other.text === text) === i);
    const key = unique.map(({ text }) => text).join('\n');
    if (key === this.shown) return;
    this.shown = key;
    replace(this.element, ...unique.map((notice) => this.item(notice)));
  }

  item({ text, action, run, isFault }) {
    return h('div', { class: isFault ? 'notice fault' : 'notice' },
      isFault ? icon('warning') : null, h('span', {}, text),
      action ? h('button', { type: 'button', class: 'quiet-button', 'data-key': action, on: { click: run } }, action) : null);
  }

  /** @param {import('../map/sideLayer.js').SideLayer} layer  @returns {?Notice} */
  about(layer) {
    const { source } = layer;
    const { zoom } = this.store.view;
    if (source.error) return { text: `${source.name}: ${source.error}`, isFault: true };
    if (!visibleExtent(this.mapView.extent(), zoom, source.bounds)) return this.elsewhere(source);
    if (zoom < source.minzoom - 1) return this.deeper(source);
    return this.failures(layer);
  }

  elsewhere(source) {
    const [lon, lat, zoom] = source.center;
    return {
      text: `${source.name} has nothing here.`,
      action: 'Go to its area',
      run: () => this.store.update({ center: [lon, lat], zoom }, { step: true }),
      isFault: false,
    };
  }

  deeper(source) {
    return {
      text: `${source.name} begins at level ${source.minzoom}.`,
      action: 'Zoom in',
      run: () => this.store.update({ zoom: source.minzoom }, { step: true }),
      isFault: false,
    };
  }

  /** Faults of the tiles in view; a place without a tile is none. */
  failures(layer) {
    const z = layer.levelAt(this.mapView.view.getResolution());
    const range = layer.grid.getTileRangeForExtentAndZ(this.mapView.extent(), z);
    const failed = recordsIn(layer, z, range).filter(({ message, status }) => message && status !== 404);
    if (!failed.length) return null;
    const count = failed.length === 1 ? '1 tile is missing' : `${failed.length} tiles are missing`;
    return {
      text: `${layer.source.name}: ${count} in this view.`,
      action: 'Try again',
      run: () => layer.reload(),
      isFault: true,
    };
  }
}

function recordsIn(layer, z, { minX, minY, maxX, maxY }) {
  const found = new Map();
  for (let x = minX; x <= maxX; ++x) {
    for (let y = minY; y <= maxY; ++y) {
      const tile = onFirstWorld({ z, x, y });
      const record = layer.records.get(tile);
      if (record) found.set(`${tile.x}/${tile.y}`, record);
    }
  }
  return [...found.values()];
}
