// SPDX-License-Identifier: MIT
// Dense screens: which tiles have pixels enough for them, and how their pixels are drawn.

/** From so many pixels of the screen on in one of CSS, tiles of twice the size are asked for. */
const kDenseFrom = 1.5;
const kSharpSize = 512;

export const isDense = (pixelRatio) => pixelRatio >= kDenseFrom;

/**
 * Whether a tile of twice the size shows more than a plain one. The gateway makes it of the service's
 * next level, which there must be; the service's own tiles have one size only.
 * @param {import('../types.js').Source} source
 * @param {import('../types.js').Side} side
 */
export function hasSharpTile(source, side, z) {
  if (side.raw && source.raw) return false;
  return source.kind === 'raster' || source.source_tile_size >= kSharpSize || z < source.maxzoom;
}

/**
 * Whether pixels are drawn as squares, so that what is shown is what was served: where each takes a
 * whole number of the screen's.
 * @param {number} screenPixels  that one of a tile's pixels takes
 */
export function areSquares(screenPixels) {
  return screenPixels > 0.99 && Math.abs(screenPixels - Math.round(screenPixels)) < 1e-3;
}

/** Tells whenever the screen's pixels become denser or coarser: by zooming the page, or another screen. */
export function followPixelRatio(changed) {
  const media = matchMedia(`(resolution: ${devicePixelRatio}dppx)`);
  media.addEventListener('change', () => {
    changed();
    followPixelRatio(changed);
  }, { once: true });
}
