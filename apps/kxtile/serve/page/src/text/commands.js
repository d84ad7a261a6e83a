// SPDX-License-Identifier: MIT
import { countTiles, toX, toY } from './mercator.js';
import { fileWord, shellWord } from './quote.js';

/** A level serves pixels of its own size and larger ones: by so much, kxtile finds the level. */
const kAbove = 1 + 2e-9;

/** Metres on Web Mercator's plane that a pixel of a level takes. */
const pixelSize = (zoom, tileSize) => (2 * Math.PI * 6378137) / (tileSize * 2 ** zoom);

/** Of a pixel: what the digits of an extent may be short of. */
const kNearlyWhole = 1e-3;

/** In metres: half of the last digit that bounds are written with, for rounding outwards. */
const kHalfDigit = 0.0005;

/** A number as short as it can be written without losing what matters. */
const short = (number, digits) => String(Number(number.toFixed(digits)));

/** The resolution of a level as commands write it: ten digits and more, none below the level's own. */
function resolutionOf(zoom) {
  const size = pixelSize(zoom, 256) * kAbove;
  const digits = Math.max(0, 10 - Math.floor(Math.log10(size)));
  return Number(short(Math.ceil(size * 10 ** digits) / 10 ** digits, digits));
}

/**
 * What is made of a source is called, without extension: never as its own file is, which may lie in
 * the folder where a command is run.
 */
export function nameOfFile(source, date) {
  return [source.id, date, 'cut'].filter(Boolean).join('-');
}

/**
 * What the command line calls a source: its tiles as this gateway serves them, which is known
 * wherever the command is run.
 * @param {import('../types.js').Source} source
 * @param {string} date  of a picture of the past, empty for the current one
 */
export function argumentOf(root, source, date) {
  const template = source.tiles.replace(/\{([zxy])\}/g, '{$$$1}');
  return `${root}${template}${date ? `?date=${date}` : ''}`;
}

/** Of degrees: bounds that lie on tiles' edges stay there on every level. */
const kBoundsDigits = 12;

/** From here on kxtile wants to hear --yes before it asks a service. */
export const kManyTiles = 10000;

function sharedOptions(bounds, [from, to], isOwn) {
  const isMany = isOwn && countLevels(bounds, [from, to]).total > kManyTiles;
  const levels = from === to ? from : `${from}-${to}`;
  return `--bounds ${bounds.map((degrees) => short(degrees, kBoundsDigits)).join(',')} --levels ${levels}${isMany ? ' --yes' : ''}`;
}

/**
 * @param {string} argument   what names the source
 * @param {number[]} bounds   west, south, east, north in degrees
 * @param {number[]} levels   first, last
 * @param {string} folder     that the tree is to stand in
 * @param {boolean} isOwn     whether the tiles are made of a file: nobody minds many of them
 */
export function filesCommand(argument, bounds, levels, folder, isOwn = false) {
  return `kxtile files ${shellWord(argument)} ${sharedOptions(bounds, levels, isOwn)} -o ${fileWord(folder)}`;
}

/** @param {string} output  name of the file, whose ending says its form */
export function exportCommand(argument, bounds, levels, output, isOwn = false) {
  return `kxtile export ${shellWord(argument)} ${sharedOptions(bounds, levels, isOwn)} -o ${fileWord(output)}`;
}

/**
 * One picture of the extent, a pixel for each of the screen's at this level.
 * @param {string} raster  its file
 */
export function mosaicCommand(raster, bounds, zoom, output) {
  const resolution = resolutionOf(zoom);
  const [width, height] = mosaicSize(bounds, zoom);
  // From the north-western corner as many pixels as are said, whatever the digits lose.
  const [west, north] = [toX(bounds[0]), toY(bounds[3])].map((value) => Number(short(value, 3)));
  const [east, south] = [west + width * resolution + kHalfDigit, north - height * resolution - kHalfDigit];
  const metres = [west, south, east, north].map((value) => short(value, 3));
  return `kxtile mosaic ${fileWord(raster)} --bounds ${metres.join(',')} ` +
    `--crs EPSG:3857 --resolution ${resolution} -o ${fileWord(output)}`;
}

/**
 * The same of the gateway's tiles: those of the level first, then the picture of these.
 * @param {string} name  of both files, without extension
 */
export function mosaicOfTilesCommand(argument, bounds, zoom, name) {
  const tiles = `${name}-${zoom}.mbtiles`;
  return `${exportCommand(argument, bounds, [zoom, zoom], tiles)} &&\n` +
    mosaicCommand(tiles, bounds, zoom, `${name}.png`);
}

/** Width and height in pixels of the mosaic's picture: whole pixels only, as kxtile makes them. */
export function mosaicSize([west, south, east, north], zoom) {
  const pixels = (metres) => Math.max(1, Math.floor(metres / pixelSize(zoom, 256) + kNearlyWhole));
  return [pixels(toX(east) - toX(west)), pixels(toY(north) - toY(south))];
}

/** How many tiles the levels have in the extent, and each of them. */
export function countLevels(bounds, [from, to]) {
  const levels = [];
  for (let z = from; z <= to; ++z) levels.push({ z, count: countTiles(bounds, z) });
  return { levels, total: levels.reduce((sum, { count }) => sum + count, 0) };
}
