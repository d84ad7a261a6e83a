// SPDX-License-Identifier: MIT
// What a visitor types to go somewhere.

/**
 * @typedef {{kind: 'point', lon: number, lat: number}} Point
 * @typedef {{kind: 'tile', z: number, x: number, y: number}} Tile
 * @typedef {{kind: 'error', message: string}} Refusal
 */

const kDeepest = 30;
const kAddress = /(?:^|\/)(\d{1,2})\/(\d+)\/(\d+)(?:@2x)?(?:\.[a-z]+)?(?:\?\S*)?$/i;
const kAngle =
  /^([+-])?(\d+(?:\.\d+)?)\s*[°º]?\s*(?:(\d+(?:\.\d+)?)\s*['’′]?\s*(?:(\d+(?:\.\d+)?)\s*(?:"|”|″|'')?)?)?$/;

const refuse = (message) => ({ kind: 'error', message });

/** The number of a tile, with columns and rows of its level; rows count from the north. */
function toTile([, z, x, y]) {
  const tile = { kind: 'tile', z: Number(z), x: Number(x), y: Number(y) };
  if (tile.z > kDeepest) return refuse(`Levels end at ${kDeepest}; a tile is z/x/y.`);
  const last = 2 ** tile.z - 1;
  if (tile.x > last || tile.y > last)
    return refuse(`Level ${tile.z} has columns and rows 0 to ${last}; a tile is z/x/y.`);
  return tile;
}

/** Cuts a text into the two parts of a coordinate; other numbers of parts are none. */
function split(text) {
  if (/[,;]/.test(text)) return text.split(/[,;]/).map((part) => part.trim());
  const letters = [...text.matchAll(/[NSEW]/gi)];
  if (letters.length === 2) {
    const cut = letters[0].index === 0 ? letters[1].index : letters[0].index + 1;
    return [text.slice(0, cut).trim(), text.slice(cut).trim()];
  }
  return text.split(/\s+/);
}

/** @returns {?{degrees: number, axis: string}} axis is "lon", "lat", or empty where no letter says */
function parseAngle(part) {
  const [, before, number, after] = /^([NSEW])?\s*(.*?)\s*([NSEW])?$/i.exec(part);
  const letter = (before ?? after ?? '').toUpperCase();
  const match = (before && after) ? null : kAngle.exec(number);
  if (!match) return null;
  const [, sign, degrees, minutes = 0, seconds = 0] = match;
  if (minutes >= 60 || seconds >= 60 || (sign && letter)) return null;
  const size = Number(degrees) + Number(minutes) / 60 + Number(seconds) / 3600;
  const isNegative = sign === '-' || letter === 'S' || letter === 'W';
  const axis = { N: 'lat', S: 'lat', E: 'lon', W: 'lon' }[letter] ?? '';
  return { degrees: isNegative ? -size : size, axis };
}

/** Whether the two numbers come as latitude, longitude: by their letters, else longitude is first. */
function isLatitudeFirst(first, second) {
  if (first.axis || second.axis) return first.axis === 'lat' || second.axis === 'lon';
  return Math.abs(second.degrees) > 90 && Math.abs(first.degrees) <= 90;
}

/** @returns {Point|Refusal} */
function toPoint(parts) {
  const angles = parts.map(parseAngle);
  if (angles.length !== 2 || angles.includes(null))
    return refuse('Not understood. Write longitude, latitude; or 31.23N 121.47E; or a tile z/x/y.');
  const [first, second] = angles;
  if (first.axis && first.axis === second.axis)
    return refuse('Both numbers are on the same axis; one wants N or S, the other E or W.');
  const [lon, lat] = isLatitudeFirst(first, second) ? [second, first] : [first, second];
  if (Math.abs(lat.degrees) > 90) return refuse('Latitudes end at 90°.');
  if (Math.abs(lon.degrees) > 180) return refuse('Longitudes end at 180°.');
  return { kind: 'point', lon: lon.degrees, lat: lat.degrees };
}

/**
 * A place: a tile's address z/x/y, alone or at the end of a URL; or a coordinate in degrees, or
 * degrees, minutes and seconds, with letters in either order, without them longitude first (where
 * only the second can be one, latitude first).
 * @param {string} text
 * @returns {Point|Tile|Refusal}
 */
export function parsePlace(text) {
  const trimmed = text.trim();
  const address = kAddress.exec(trimmed);
  if (address) return toTile(address);
  return toPoint(split(trimmed));
}

/** @param {Point|Tile|Refusal} place */
export function describePlace(place) {
  if (place.kind === 'error') return place.message;
  if (place.kind === 'tile') return `Tile: level ${place.z}, column ${place.x}, row ${place.y} from the north`;
  const ns = place.lat < 0 ? 'S' : 'N';
  const ew = place.lon < 0 ? 'W' : 'E';
  return `${Math.abs(place.lat).toFixed(6)}° ${ns}, ${Math.abs(place.lon).toFixed(6)}° ${ew}`;
}
