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

/** What the labels of the graticule take of the map's edges. */
const kLabels = { left: 54, top: 22 };

/** Words in the corner of what is visible of a tile; none where there is no room for them. */
function drawWords(context, lines, record, tile, visible) {
  const width = Math.max(...lines.map((line) => context.measureText(line).width));
  const x = Math.max(tile[0], visible[0]);
  const y = Math.max(tile[1], visible[1]);
  const room = [Math.min(tile[2], visible[2]) - x, Math.min(tile[3], visible[3]) - y];
  if (room[0] < width + 30 || room[1] < lines.length * 15 + 12) return;
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

function drawTile(context, frame, sideLayer, tile, visible) {
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
  drawWords(context, linesOf(first, record), record, [left, top, right, bottom], visible);
}

function drawSide(context, frame, sideLayer, from, to, edges) {
  const level = sideLayer.levelAt(frame.resolution);
  context.save();
  context.beginPath();
  context.rect(from, 0, to - from, frame.height);
  context.clip();
  const visible = [Math.max(from, edges.left), edges.top, to, frame.height];
  for (const tile of tilesIn(sideLayer.grid, frame.extent, level))
    drawTile(context, frame, sideLayer, tile, visible);
  context.restore();
}

/**
 * Borders of the tiles with their addresses, where the gateway had them from and how long they took.
 * @param {() => {layer: import('./sideLayer.js').SideLayer, from: number, to: number}[]} sides  what
 *        is shown between which parts, 0 to 1, of the map's width
 * @param {() => boolean} hasGraticule  whether its labels are at the edges
 */
export function bordersLayer(sides, hasGraticule) {
  return canvasLayer((context, frame) => {
    context.font = kFont;
    context.textBaseline = 'middle';
    const edges = hasGraticule() ? kLabels : { left: 0, top: 0 };
    for (const { layer, from, to } of sides())
      drawSide(context, frame, layer, from * frame.width, to * frame.width, edges);
  }, 'overlay-tiles');
}
