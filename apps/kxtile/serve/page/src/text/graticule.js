// SPDX-License-Identifier: MIT
// Which lines of a graticule are drawn, and what stands at them.

/** Degrees between two lines as numerator / 10^decimals, so that labels are exact. */
const kSpacings = [
  [90, 0], [45, 0], [30, 0], [15, 0], [10, 0], [5, 0], [2, 0], [1, 0],
  ...[1, 2, 3, 4, 5].flatMap((decimals) => [[5, decimals], [2, decimals], [1, decimals]]),
];

/**
 * The finest spacing whose lines keep a distance.
 * @param {number} pixelsPerDegree
 * @param {number} distance  pixels between two meridians at least
 * @returns {{numerator: number, decimals: number, degrees: number}}
 */
export function spacingAt(pixelsPerDegree, distance) {
  const wide = kSpacings.filter(([numerator, decimals]) =>
    (numerator / 10 ** decimals) * pixelsPerDegree >= distance);
  const [numerator, decimals] = wide.at(-1) ?? kSpacings[0];
  return { numerator, decimals, degrees: numerator / 10 ** decimals };
}

/** Degrees of the lines between two others, ends included. */
export function linesBetween(from, to, { numerator, decimals }) {
  const power = 10 ** decimals;
  const lines = [];
  for (let i = Math.ceil((from * power) / numerator); i <= Math.floor((to * power) / numerator); ++i)
    lines.push((i * numerator) / power);
  return lines;
}

/** For instance 121.5°E; the antimeridian and the equator have no letter of a side. */
export function lineLabel(degrees, decimals, positive, negative) {
  const turned = positive === 'E' ? ((((degrees + 180) % 360) + 360) % 360) - 180 : degrees;
  const size = Number(Math.abs(turned).toFixed(decimals));
  const hasSide = size !== 0 && !(positive === 'E' && size === 180);
  return `${size}°${hasSide ? (turned < 0 ? negative : positive) : ''}`;
}
