// SPDX-License-Identifier: MIT
import TileLayer from 'ol/layer/Tile.js';
import ImageTile from 'ol/source/ImageTile.js';
import { createXYZ } from 'ol/tilegrid.js';
import { toX, toY } from '../text/mercator.js';
import { makeLoader, TileRecords } from './loader.js';

/** @param {import('../types.js').Side} side */
export function templateOf(source, side) {
  const template = side.raw && source.raw ? source.raw : source.tiles;
  return side.date && source.history ? `${template}?date=${side.date}` : template;
}

/** Where a source has tiles in metres; undefined where it goes around the world, and on and on. */
function extentOf({ bounds: [west, south, east, north] }) {
  return east - west >= 360 ? undefined : [toX(west), toY(south), toX(east), toY(north)];
}

/** The layer of one side of the map, with what it learns about its tiles. */
export class SideLayer {
  /**
   * @param {import('../types.js').Source} source
   * @param {import('../types.js').Side} side
   */
  constructor(source, side) {
    this.source = source;
    this.side = side;
    this.template = templateOf(source, side);
    this.records = new TileRecords();
    this.grid = createXYZ({
      minZoom: source.minzoom,
      maxZoom: source.maxzoom,
      tileSize: source.tile_size || 256,
    });
    this.tiles = new ImageTile({
      loader: makeLoader(this.template, this.records),
      tileGrid: this.grid,
      // Without interpolation a deep zoom shows the pixels that were served.
      interpolate: false,
      transition: 0,
    });
    // The layer takes a source's first revision for none, and would not see the first reload.
    this.tiles.changed();
    this.layer = new TileLayer({
      source: this.tiles,
      // Of a source that cannot be served every tile would say the same.
      visible: !source.error,
      extent: extentOf(source),
      // Far beneath the first level every tile of it would be asked for. The limit itself is left out.
      minZoom: source.minzoom - 1.5,
      preload: 0,
    });
  }

  /** Level of the tiles that are shown at a resolution. */
  levelAt(resolution) {
    return this.grid.getZForResolution(resolution);
  }

  /** Asks for every tile anew. */
  reload() {
    this.records.clear();
    this.tiles.refresh();
  }

  /** Whether this still shows what a side asks for. */
  shows(source, side) {
    return this.source === source && this.template === templateOf(source, side);
  }
}
