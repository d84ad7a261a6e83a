// SPDX-License-Identifier: MIT
import { countTiles, toX, toY } from './mercator.js';
import { shellWord } from './quote.js';

/** Metres on Web Mercator's plane that a pixel of a level takes. */
const pixelSize = (zoom, tileSize) => (2 * Math.PI * 6378137) / (tileSize * 2 ** zoom);

/** A number as short as it can be written without losing what matters. */
const short = (number, digits) => String(Number(number.toFixed(digits)));

/** What the command line calls a source. */
export const argumentOf = (source) => source.argument ?? source.id;

const sharedOptions = (bounds, [from, to]) =>
  `--bounds ${bounds.map((degrees) => short(degrees, 8)).join(',')} --levels ${from === to ? from : `${from}-${to}`}`;

/**
 * @param {import('../types.js').Source} source
 * @param {number[]} bounds   west, south, east, north in degrees
 * @param {number[]} levels   first, last
 */
export function filesCommand(source, bounds, levels) {
  return `kxtile files ${shellWord(argumentOf(source))} ${sharedOptions(bounds, levels)}`;
}

/** @param {"mbtiles"|"pmtiles"|"tif"} form */
export function exportCommand(source, bounds, levels, form) {
  const output = shellWord(`${source.id}.${form}`);
  return `kxtile export ${shellWord(argumentOf(source))} ${sharedOptions(bounds, levels)} -o ${output}`;
}

/** One picture of the extent, a pixel for each of the screen's at this level. */
export function mosaicCommand(source, bounds, zoom) {
  const [west, south, east, north] = bounds;
  const metres = [toX(west), toY(south), toX(east), toY(north)].map((value) => short(value, 3));
  const resolution = short(pixelSize(zoom, 256), 6);
  return `kxtile mosaic ${shellWord(argumentOf(source))} --bounds ${metres.join(',')} ` +
    `--crs EPSG:3857 --resolution ${resolution} -o ${shellWord(`${source.id}.png`)}`;
}

/** Width and height in pixels of the mosaic's picture. */
export function mosaicSize([west, south, east, north], zoom) {
  const size = pixelSize(zoom, 256);
  return [
    Math.max(1, Math.ceil((toX(east) - toX(west)) / size)),
    Math.max(1, Math.ceil((toY(north) - toY(south)) / size)),
  ];
}

/** How many tiles the levels have in the extent, and each of them. */
export function countLevels(bounds, [from, to]) {
  const levels = [];
  for (let z = from; z <= to; ++z) levels.push({ z, count: countTiles(bounds, z) });
  return { levels, total: levels.reduce((sum, { count }) => sum + count, 0) };
}
