// SPDX-License-Identifier: MIT
import {
  argumentOf, countLevels, exportCommand, filesCommand, kManyTiles, mosaicCommand, mosaicOfTilesCommand, mosaicSize,
  nameOfFile,
} from '../text/commands.js';
import { root } from '../state/gateway.js';
import { visibleExtent } from '../text/extent.js';
import { copyBlock } from '../ui/copyButton.js';
import { h } from '../ui/dom.js';

const kLevelsAhead = 2;
/** A picture of fewer pixels shows nothing. */
const kLeastPixels = 16;
const kForms = { mbtiles: 'MBTiles', pmtiles: 'PMTiles', tif: 'GeoTIFF' };

const spaced = (number) => number.toLocaleString('en-GB').replaceAll(',', '\u202f');

/** The commands that take what is in view, with the number of tiles. */
export class ExtentPanel {
  /**
   * @param {import('../map/mapView.js').MapView} mapView
   * @param {() => ?import('../types.js').Source} current
   * @param {() => string} date   of the picture that is shown, empty for the current one
   * @param {() => void} redraw
   */
  constructor(mapView, current, date, redraw) {
    Object.assign(this, { mapView, current, date, redraw });
    this.title = 'Commands for this view';
    this.form = 'mbtiles';
    /** Levels that the visitor set; else they follow the view. */
    this.wanted = null;
  }

  levels(source, zoom) {
    const bound = (level) => Math.max(source.minzoom, Math.min(source.maxzoom, level));
    const [from, to] = this.wanted ?? [zoom, zoom + kLevelsAhead];
    return [bound(Math.min(from, to)), bound(Math.max(from, to))];
  }

  draw() {
    const source = this.current();
    if (!source) return [h('p', {}, 'Choose a source first.')];
    const zoom = Math.round(this.mapView.view.getZoom());
    const bounds = visibleExtent(this.mapView.extent(), zoom, source.bounds);
    if (!bounds) return [h('p', {}, `${source.name} has nothing in this view.`)];
    const levels = this.levels(source, zoom);
    return [
      h('p', { class: 'panel-lead' }, 'Take what is in view of ', h('strong', {}, source.name), ' with you, as aligned tiles.'),
      this.extentTable(bounds),
      this.levelFields(source, levels),
      this.tileTable(source, bounds, levels),
      h('p', { class: 'remark keep-running' }, 'For a terminal, in the folder that is to have the result. The commands ask this ' +
        'gateway for the tiles: leave kxtile serve running meanwhile.'),
      ...this.commands(source, bounds, levels, Math.max(source.minzoom, Math.min(zoom, source.maxzoom))),
    ];
  }

  extentTable(bounds) {
    const names = ['West', 'South', 'East', 'North'];
    return h('dl', { class: 'extent' }, ...names.map((name, i) =>
      h('div', {}, h('dt', {}, name), h('dd', {}, String(Number(bounds[i].toFixed(6)))))));
  }

  levelFields(source, [from, to]) {
    const field = (label, value, change) => h('label', {}, label, h('input', {
      type: 'number', min: source.minzoom, max: source.maxzoom, value, 'data-key': label,
      on: { change: (event) => this.setLevels(change(Number(event.target.value))) },
    }));
    return h('div', { class: 'level-fields' },
      field('From level', from, (level) => [level, Math.max(level, to)]),
      field('to level', to, (level) => [Math.min(from, level), level]),
      this.wanted ? h('button', {
        type: 'button', class: 'quiet-button', on: { click: () => this.setLevels(null) },
      }, 'Follow the view') : null);
  }

  setLevels(levels) {
    this.wanted = levels;
    // Once the key that ended the input has moved the focus, which is kept then.
    setTimeout(() => this.redraw());
  }

  tileTable(source, bounds, range) {
    const { levels, total } = countLevels(bounds, range);
    return h('table', { class: 'tile-counts' },
      h('caption', {}, h('strong', { id: 'tile-total' }, spaced(total)), total === 1 ? ' tile' : ' tiles'),
      h('tbody', {}, ...levels.map(({ z, count }) => h('tr', {},
        h('th', { scope: 'row' }, `Level ${z}`), h('td', {}, spaced(count))))),
      total > kManyTiles && source.kind !== 'raster' ? h('tfoot', {}, h('tr', {}, h('td', { colspan: '2' },
        'With so many kxtile asks for --yes; look at the terms of the service first.'))) : null);
  }

  commands(source, bounds, levels, zoom) {
    const argument = argumentOf(root, source, this.date());
    const name = nameOfFile(source, this.date());
    return [
      h('h3', {}, 'A tree of tile files'),
      copyBlock('kxtile files', filesCommand(argument, bounds, levels, `${name}-tiles`, source.kind === 'raster')),
      h('h3', {}, 'One file with all tiles'),
      this.formChoice(),
      copyBlock('kxtile export', exportCommand(argument, bounds, levels, `${name}.${this.form}`, source.kind === 'raster')),
      h('h3', {}, 'One picture'),
      ...this.mosaic(source, bounds, zoom, argument, name),
    ];
  }

  mosaic(source, bounds, zoom, argument, name) {
    if (bounds[0] > bounds[2])
      return [h('p', { class: 'remark' }, 'A mosaic does not go across 180°; move the view.')];
    const [width, height] = mosaicSize(bounds, zoom);
    const size = `${spaced(width)} × ${spaced(height)} pixels, as on the map at level ${zoom}.`;
    if (Math.min(width, height) < kLeastPixels)
      return [h('p', { class: 'remark' }, `${size} Zoom in for a larger one.`)];
    const { total } = countLevels(bounds, [zoom, zoom]);
    return [
      h('p', { class: 'remark' }, `${size} Its ${spaced(total)} ${total === 1 ? 'tile is' : 'tiles are'} fetched first.`),
      copyBlock('kxtile mosaic', mosaicOfTilesCommand(argument, bounds, zoom, name)),
      ...this.mosaicOfFile(source, bounds, zoom, name),
    ];
  }

  /** Who has the raster itself needs no tiles. Where it lies the gateway tells nobody. */
  mosaicOfFile({ kind, file }, bounds, zoom, name) {
    if (kind !== 'raster' || !file) return [];
    return [
      h('p', { class: 'remark' }, `Or, in the folder that has ${file}, straight from it and without the gateway:`),
      copyBlock('kxtile mosaic of the file', mosaicCommand(file, bounds, zoom, `${name}.png`)),
    ];
  }

  formChoice() {
    return h('div', { class: 'segments', role: 'group', 'aria-label': 'Form of the file' },
      ...Object.entries(kForms).map(([form, name]) => h('button', {
        type: 'button', 'aria-pressed': String(form === this.form), 'data-key': `form-${form}`,
        on: { click: () => { this.form = form; this.redraw(); } },
      }, name)));
  }
}
