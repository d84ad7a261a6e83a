// SPDX-License-Identifier: MIT
import TileLayer from 'ol/layer/Tile.js';
import ImageTile from 'ol/source/ImageTile.js';
import { createXYZ } from 'ol/tilegrid.js';
import { toX, toY } from '../text/mercator.js';
import { makeLoader, TileRecords } from './loader.js';
import { areSquares, hasSharpTile } from './sharpness.js';

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
   * @param {boolean} isDense  whether the screen's pixels are worth tiles of twice the size
   */
  constructor(source, side, isDense) {
    this.source = source;
    this.side = side;
    this.isDense = isDense;
    this.template = templateOf(source, side);
    this.records = new TileRecords();
    this.grid = createXYZ({
      minZoom: source.minzoom,
      maxZoom: source.maxzoom,
      tileSize: source.tile_size || 256,
    });
    this.tiles = new ImageTile({
      loader: makeLoader(this.template, this.records, (z) => this.isSharpAt(z)),
      tileGrid: this.grid,
      transition: 0,
    });
    // The layer takes a source's first revision for none, and would not see the first reload.
    this.tiles.changed();
    this.layer = new TileLayer({
      source: this.tiles,
      // Of a source that cannot be served every tile would say the same. One whose definition broke
      // while it was watched is served as before.
      visible: source.usable !== false,
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

  isSharpAt(z) {
    return this.isDense && hasSharpTile(this.source, this.side, z);
  }

  /**
   * Whether the layer's pixels are drawn as squares, not smoothly: a deep zoom shows what was served.
   * @param {number} resolution  metres that a pixel of the screen takes
   */
  hasSquares(resolution) {
    const z = this.levelAt(resolution);
    return areSquares(this.grid.getResolution(z) / (this.isSharpAt(z) ? 2 : 1) / resolution);
  }

  /** Asks for every tile anew. */
  reload() {
    this.records.clear();
    this.tiles.refresh();
  }

  /** Whether this still shows what a side asks for. */
  shows(source, side, isDense) {
    return this.source === source && this.template === templateOf(source, side) && this.isDense === isDense;
  }
}
