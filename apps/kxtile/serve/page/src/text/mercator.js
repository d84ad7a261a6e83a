// SPDX-License-Identifier: MIT
// Web Mercator's plane and its tiles, rows counted from the north. Plain geometry of the map
// itself; what belongs to a datum is asked of the gateway.

/** Where the square plane ends. */
export const kLatitudeEnd = (Math.atan(Math.sinh(Math.PI)) * 180) / Math.PI;
/** Half the plane's edge in metres. */
export const kHalf = Math.PI * 6378137;

/** Metres to the east of Greenwich. */
export function toX(lon) {
  return (lon / 180) * kHalf;
}

/** Metres to the north of the equator; latitudes beyond the plane's end are taken to it. */
export function toY(lat) {
  const bounded = Math.max(-kLatitudeEnd, Math.min(kLatitudeEnd, lat));
  return (Math.asinh(Math.tan((bounded * Math.PI) / 180)) / Math.PI) * kHalf;
}

export function toLon(x) {
  return (x / kHalf) * 180;
}

export function toLat(y) {
  return (Math.atan(Math.sinh((y / kHalf) * Math.PI)) * 180) / Math.PI;
}

/** The tile of a level under a point; points on the plane's end belong to the last one. */
export function tileAt(lon, lat, z) {
  const count = 2 ** z;
  const bound = (value) => Math.max(0, Math.min(count - 1, Math.floor(value)));
  return {
    z,
    x: bound(((lon + 180) / 360) * count),
    y: bound((0.5 - toY(lat) / (2 * kHalf)) * count),
  };
}

/** West, south, east, north of a tile in metres. */
export function tileExtent({ z, x, y }) {
  const edge = (2 * kHalf) / 2 ** z;
  return [x * edge - kHalf, kHalf - (y + 1) * edge, (x + 1) * edge - kHalf, kHalf - y * edge];
}

/** In tiles: what lies this close to a tile's edge is meant to lie on it, as kxtile has it. */
const kOnTheEdge = 1e-6;

/**
 * How many tiles of a level bounds touch with more than their edge, as kxtile counts them.
 * @param {number[]} bounds  west, south, east, north in degrees; west beyond east where the
 *        antimeridian lies inside
 */
export function countTiles([west, south, east, north], z) {
  const column = (lon) => (lon + 180) / 360;
  const row = (lat) => 0.5 - toY(lat) / (2 * kHalf);
  const rows = lengthOf(span(row(north), row(south), z));
  if (west <= east) return rows * lengthOf(span(column(west), column(east), z));
  const before = span(column(west), 1, z);
  const behind = span(0, column(east), z);
  const isRound = behind.last + 1 >= before.first;
  return rows * (isRound ? before.last + 1 : lengthOf(before) + lengthOf(behind));
}

const lengthOf = ({ first, last }) => last - first + 1;

/** Tiles between two positions on an axis, in parts of the world. */
function span(from, to, z) {
  const count = 2 ** z;
  const bound = (index) => Math.max(0, Math.min(count - 1, index));
  const first = bound(Math.floor(from * count + kOnTheEdge));
  return { first, last: Math.max(first, bound(Math.ceil(to * count - kOnTheEdge) - 1)) };
}
