// SPDX-License-Identifier: MIT
import { visibleExtent } from '../text/extent.js';
import { h, debounce, replace } from '../ui/dom.js';
import { icon } from '../ui/icons.js';
import { onFirstWorld } from '../text/tileWords.js';

/**
 * @typedef {object} Notice
 * @property {import('../types.js').Source} source  that it speaks of
 * @property {string} text
 * @property {string} [action]  what would help
 * @property {() => void} [run]  does it
 * @property {boolean} isFault
 */

/** Whether they say the same, and their buttons do. */
const isSame = (one, other) => one.text === other.text && one.source === other.source;

/** What keeps a source from being seen here, in words, with what would help. */
export class Notices {
  /**
   * @param {HTMLElement} element
   * @param {import('../state/store.js').Store} store
   * @param {import('../map/mapView.js').MapView} mapView
   */
  constructor(element, store, mapView) {
    Object.assign(this, { element, store, mapView });
    /** @type {Notice[]} */
    this.shown = [];
    const update = debounce(120, () => this.draw());
    mapView.onTile(update);
    mapView.map.on('moveend', update);
    store.subscribe(update);
    // Where nothing is drawn, no move and no tile ever comes to an end.
    mapView.map.once('rendercomplete', update);
  }

  draw() {
    const notices = this.mapView.shownSides().map(({ layer }) => this.about(layer)).filter(Boolean);
    const unique = notices.filter((notice, i) => notices.findIndex((other) => isSame(notice, other)) === i);
    if (unique.length === this.shown.length && unique.every((notice, i) => isSame(notice, this.shown[i]))) return;
    this.shown = unique;
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
    if (source.error) return { source, text: `${source.name}: ${source.error}`, isFault: true };
    if (!visibleExtent(this.mapView.extent(), zoom, source.bounds)) return this.elsewhere(source);
    if (zoom < source.minzoom - 1) return this.deeper(source);
    return this.failures(layer);
  }

  elsewhere(source) {
    const [lon, lat, zoom] = source.center;
    return {
      source,
      text: `${source.name} has nothing here.`,
      action: 'Go to its area',
      run: () => this.store.update({ center: [lon, lat], zoom }, { step: true }),
      isFault: false,
    };
  }

  deeper(source) {
    const text = `${source.name} begins at level ${source.minzoom}.`;
    const [west, south, east, north] = source.bounds;
    const [lon, lat] = this.store.view.center;
    // Deeper elsewhere there would be nothing.
    if (lon < west || lon > east || lat < south || lat > north) return { ...this.elsewhere(source), text };
    return {
      source,
      text,
      action: 'Zoom in',
      run: () => this.store.update({ zoom: source.minzoom }, { step: true }),
      isFault: false,
    };
  }

  /** Faults of the tiles in view; a place without a tile is none. */
  failures(layer) {
    const { source } = layer;
    const failed = this.countFailed(layer);
    if (!failed) return null;
    const count = failed === 1 ? '1 tile is missing' : `${failed} tiles are missing`;
    return {
      source,
      text: `${source.name}: ${count} in this view.`,
      action: 'Try again',
      run: () => this.retry(source),
      isFault: true,
    };
  }

  countFailed(layer) {
    const z = layer.levelAt(this.mapView.view.getResolution());
    const range = layer.grid.getTileRangeForExtentAndZ(this.mapView.extent(), z);
    return recordsIn(layer, z, range).filter(({ message, status }) => message && status !== 404).length;
  }

  /** Asks for the tiles again on every side that misses some by now, whatever form it shows. */
  retry(source) {
    for (const { layer } of this.mapView.shownSides())
      if (layer.source === source && this.countFailed(layer)) layer.reload();
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
