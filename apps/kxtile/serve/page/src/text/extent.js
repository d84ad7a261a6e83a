// SPDX-License-Identifier: MIT
import { digitsAt } from '../state/address.js';
import { kLatitudeEnd, toLat, toLon } from './mercator.js';

const turned = (lon) => ((((lon + 180) % 360) + 360) % 360) - 180;

/** West and east of the view where a source has something; west beyond east across 180°. */
function commonLongitudes(from, to, [west, , east]) {
  if (to - from >= 360) return [west, east];
  const turns = 360 * Math.round((from + to) / 720);
  const [viewWest, viewEast] = [from - turns, to - turns];
  const isAround = east - west >= 360;
  if (isAround && (viewWest < -180 || viewEast > 180)) return [turned(viewWest), turned(viewEast)];
  // Of a part of the world, the pieces of the view on both sides of 180° are looked at.
  for (const shift of [0, 360, -360]) {
    const common = [Math.max(viewWest + shift, west), Math.min(viewEast + shift, east)];
    if (common[0] < common[1]) return common;
  }
  return null;
}

/**
 * The visible extent in degrees, within a source's bounds, rounded outwards to digits that tell
 * pixels apart; but not beyond these bounds, where the next tile would begin that the source has not.
 * @param {number[]} metres  west, south, east, north of the view on Web Mercator's plane
 * @param {number[]} bounds  of the source in degrees
 * @returns {?number[]} west, south, east, north; west beyond east where the antimeridian lies inside;
 *          null where the source has nothing in view
 */
export function visibleExtent(metres, zoom, bounds) {
  const longitudes = commonLongitudes(toLon(metres[0]), toLon(metres[2]), bounds);
  const south = Math.max(toLat(metres[1]), bounds[1], -kLatitudeEnd);
  const north = Math.min(toLat(metres[3]), bounds[3], kLatitudeEnd);
  if (!longitudes || south >= north) return null;
  return roundOutwards([longitudes[0], south, longitudes[1], north], digitsAt(zoom), bounds);
}

function roundOutwards([west, south, east, north], digits, ends) {
  const power = 10 ** digits;
  const down = (degrees, end) => (degrees === end ? end : Math.floor(degrees * power) / power);
  const up = (degrees, end) => (degrees === end ? end : Math.ceil(degrees * power) / power);
  return [
    Math.max(-180, down(west, ends[0])),
    Math.max(-90, down(south, ends[1])),
    Math.min(180, up(east, ends[2])),
    Math.min(90, up(north, ends[3])),
  ];
}
