// SPDX-License-Identifier: MIT
import { canvasLayer } from './canvasLayer.js';

const kHalfCross = 11;

function drawCross(context, column, row) {
  const path = new Path2D();
  for (const [x, y] of [[1, 0], [-1, 0], [0, 1], [0, -1]]) {
    path.moveTo(column + 4 * x, row + 4 * y);
    path.lineTo(column + kHalfCross * x, row + kHalfCross * y);
  }
  path.moveTo(column + 4, row);
  path.arc(column, row, 4, 0, 2 * Math.PI);
  for (const [colour, width] of [['#ffffff', 5], ['#c81e5b', 2]]) {
    context.strokeStyle = colour;
    context.lineWidth = width;
    context.stroke(path);
  }
}

function drawFrame(context, [left, top, right, bottom]) {
  for (const [colour, width] of [['#ffffff', 6], ['#c81e5b', 3]]) {
    context.strokeStyle = colour;
    context.lineWidth = width;
    context.strokeRect(left, top, right - left, bottom - top);
  }
}

/**
 * The place that is held, and the tile that was gone to.
 * @param {() => {point: ?number[], extent: ?number[]}} marks  metres
 */
export function markLayer(marks) {
  return canvasLayer((context, frame) => {
    const { point, extent } = marks();
    if (extent) {
      const [west, south, east, north] = extent;
      drawFrame(context, [frame.toColumn(west), frame.toRow(north), frame.toColumn(east), frame.toRow(south)]);
    }
    if (point) drawCross(context, frame.toColumn(point[0]), frame.toRow(point[1]));
  }, 'overlay-marks');
}
