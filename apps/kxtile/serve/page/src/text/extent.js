// SPDX-License-Identifier: MIT
import { digitsAt } from '../state/address.js';
import { kLatitudeEnd, toLat, toLon } from './mercator.js';

/**
 * The visible extent in degrees, rounded outwards to digits that tell pixels apart, within the world
 * that holds the middle of the view and, where they meet, within a source's bounds.
 * @param {number[]} metres  west, south, east, north of the view on Web Mercator's plane
 * @param {number[]} bounds  of the source in degrees
 * @returns {?{bounds: number[], isCut: boolean}} null where the source has nothing in view; isCut
 *          when the view shows more than one world
 */
export function visibleExtent(metres, zoom, bounds) {
  const turns = 360 * Math.round(toLon((metres[0] + metres[2]) / 2) / 360);
  const west = toLon(metres[0]) - turns;
  const east = toLon(metres[2]) - turns;
  const view = [Math.max(-180, west), toLat(metres[1]), Math.min(180, east), toLat(metres[3])];
  const common = [
    Math.max(view[0], bounds[0]),
    Math.max(view[1], bounds[1], -kLatitudeEnd),
    Math.min(view[2], bounds[2]),
    Math.min(view[3], bounds[3], kLatitudeEnd),
  ];
  if (common[0] >= common[2] || common[1] >= common[3]) return null;
  return { bounds: roundOutwards(common, digitsAt(zoom)), isCut: west < -180 || east > 180 };
}

function roundOutwards([west, south, east, north], digits) {
  const power = 10 ** digits;
  return [
    Math.max(-180, Math.floor(west * power) / power),
    Math.max(-90, Math.floor(south * power) / power),
    Math.min(180, Math.ceil(east * power) / power),
    Math.min(90, Math.ceil(north * power) / power),
  ];
}
