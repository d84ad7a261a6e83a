// SPDX-License-Identifier: MIT
import { linesOf, onFirstWorld } from '../text/tileWords.js';
import { canvasLayer } from './canvasLayer.js';

const kFont = '11px ui-monospace, "DejaVu Sans Mono", Menlo, Consolas, monospace';
/** Narrower than this on the screen, a tile has no room for words. */
const kNarrowest = 90;

/** Colour of the dot, by where the gateway had the tile from. */
const kDots = { memory: '#2fbf71', output: '#2fbf71', disk: '#f0b429', upstream: '#4da3ff' };

/** The tiles of a level in an extent, on every world that is in view. */
function* tilesIn(grid, extent, z) {
  const range = grid.getTileRangeForExtentAndZ(extent, z);
  for (let x = range.minX; x <= range.maxX; ++x)
    for (let y = Math.max(0, range.minY); y <= Math.min(2 ** z - 1, range.maxY); ++y) yield { z, x, y };
}

/** Words in the corner of what is visible of a tile, as long as they fit into it. */
function drawWords(context, lines, record, [left, top, right, bottom]) {
  const width = Math.max(...lines.map((line) => context.measureText(line).width));
  const x = Math.min(Math.max(left, 0), right - width - 30);
  const y = Math.min(Math.max(top, 0), bottom - lines.length * 15 - 12);
  context.fillStyle = 'rgba(12, 20, 30, 0.82)';
  context.beginPath();
  context.roundRect(x + 4, y + 4, width + (lines.length > 1 ? 22 : 12), lines.length * 15 + 5, 3);
  context.fill();
  context.fillStyle = '#ffffff';
  context.fillText(lines[0], x + 10, y + 15);
  if (lines.length < 2) return;
  context.fillText(lines[1], x + 20, y + 30);
  context.fillStyle = record.message ? '#ff6b57' : kDots[record.cache] ?? '#b8c2cf';
  context.beginPath();
  context.arc(x + 13, y + 30, 3.5, 0, 2 * Math.PI);
  context.fill();
}

function drawTile(context, frame, sideLayer, tile) {
  const [west, south, east, north] = sideLayer.grid.getTileCoordExtent([tile.z, tile.x, tile.y]);
  const [left, top] = [frame.toColumn(west), frame.toRow(north)];
  const [right, bottom] = [frame.toColumn(east), frame.toRow(south)];
  context.strokeStyle = 'rgba(255, 255, 255, 0.75)';
  context.lineWidth = 3;
  context.strokeRect(left, top, right - left, bottom - top);
  context.strokeStyle = 'rgba(226, 62, 87, 0.95)';
  context.lineWidth = 1;
  context.strokeRect(left, top, right - left, bottom - top);
  if (right - left < kNarrowest) return;
  const first = onFirstWorld(tile);
  const record = sideLayer.records.get(first);
  drawWords(context, linesOf(first, record), record, [left, top, right, bottom]);
}

function drawSide(context, frame, sideLayer, from, to) {
  const level = sideLayer.levelAt(frame.resolution);
  context.save();
  context.beginPath();
  context.rect(from, 0, to - from, frame.height);
  context.clip();
  for (const tile of tilesIn(sideLayer.grid, frame.extent, level)) drawTile(context, frame, sideLayer, tile);
  context.restore();
}

/**
 * Borders of the tiles with their addresses, where the gateway had them from and how long they took.
 * @param {() => {layer: import('./sideLayer.js').SideLayer, from: number, to: number}[]} sides  what
 *        is shown between which parts, 0 to 1, of the map's width
 */
export function bordersLayer(sides) {
  return canvasLayer((context, frame) => {
    context.font = kFont;
    context.textBaseline = 'middle';
    for (const { layer, from, to } of sides())
      drawSide(context, frame, layer, from * frame.width, to * frame.width);
  }, 'overlay-tiles');
}
