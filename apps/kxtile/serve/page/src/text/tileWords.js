// SPDX-License-Identifier: MIT
// What stands in the corner of a tile.

/** The tile of the first world, which a tile of another world repeats. */
export function onFirstWorld({ z, x, y }) {
  const count = 2 ** z;
  return { z, x: ((x % count) + count) % count, y };
}

function formatMs(ms) {
  if (ms < 0.1) return '<0.1 ms';
  return `${ms.toFixed(ms >= 10 ? 0 : ms >= 1 ? 1 : 2)} ms`;
}

/**
 * A tile's lines: its address; where the gateway had it from, or the status that says why there is
 * none; and how long that took.
 * @param {{z: number, x: number, y: number}} tile
 * @param {import('../types.js').TileRecord} [record]  none while the tile is on its way
 */
export function linesOf(tile, record) {
  const address = `${tile.z}/${tile.x}/${tile.y}${record?.isSharp ? '@2x' : ''}`;
  if (!record) return [address];
  const state = record.message ? record.status || 'no answer' : record.cache || record.status;
  const time = Number.isFinite(record.ms) ? ` · ${formatMs(record.ms)}` : '';
  return [address, `${state}${time}`];
}
