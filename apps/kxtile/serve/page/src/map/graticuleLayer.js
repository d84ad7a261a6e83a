// SPDX-License-Identifier: MIT
import { kHalf, kLatitudeEnd, toLat, toLon, toX, toY } from '../text/mercator.js';
import { lineLabel, linesBetween, spacingAt } from '../text/graticule.js';
import { canvasLayer } from './canvasLayer.js';

const kDistance = 96;
const kFont = '600 11px system-ui, sans-serif';
const kEdge = 4;
/** Pixels of the upper edge that the meridians' labels take. */
const kStrip = 30;

/** A line that can be seen on bright and on dark ground. */
function stroke(context, path) {
  context.strokeStyle = 'rgba(255, 255, 255, 0.7)';
  context.lineWidth = 3;
  context.stroke(path);
  context.strokeStyle = 'rgba(13, 33, 55, 0.9)';
  context.lineWidth = 1;
  context.stroke(path);
}

function label(context, text, x, y, align) {
  context.textAlign = align;
  const width = context.measureText(text).width + 8;
  const left = align === 'center' ? x - width / 2 : x;
  context.fillStyle = 'rgba(13, 33, 55, 0.85)';
  context.beginPath();
  context.roundRect(left, y - 8, width, 16, 3);
  context.fill();
  context.fillStyle = '#ffffff';
  context.textAlign = 'left';
  context.fillText(text, left + 4, y + 0.5);
}

/** The frame's extent in degrees; parallels end where the plane does. */
function degreesOf([west, south, east, north]) {
  return [toLon(west), Math.max(-kLatitudeEnd, toLat(south)), toLon(east), Math.min(kLatitudeEnd, toLat(north))];
}

/** Which lines are in view. */
function linesOf(frame) {
  const spacing = spacingAt(kHalf / 180 / frame.resolution, kDistance);
  const [west, south, east, north] = degreesOf(frame.extent);
  return { spacing, meridians: linesBetween(west, east, spacing), parallels: linesBetween(south, north, spacing) };
}

function drawLines(context, frame) {
  const { meridians, parallels } = linesOf(frame);
  const top = Math.max(0, frame.toRow(kHalf));
  const bottom = Math.min(frame.height, frame.toRow(-kHalf));
  const path = new Path2D();
  for (const lon of meridians) {
    path.moveTo(frame.toColumn(toX(lon)), top);
    path.lineTo(frame.toColumn(toX(lon)), bottom);
  }
  for (const lat of parallels) {
    path.moveTo(0, frame.toRow(toY(lat)));
    path.lineTo(frame.width, frame.toRow(toY(lat)));
  }
  stroke(context, path);
}

function drawLabels(context, frame, insets) {
  const { spacing, meridians, parallels } = linesOf(frame);
  context.font = kFont;
  context.textBaseline = 'middle';
  const { above, below } = insets();
  for (const lat of parallels) {
    const row = frame.toRow(toY(lat));
    // The corner is the meridians'.
    if (row > above + kStrip && row < frame.height - below)
      label(context, lineLabel(lat, spacing.decimals, 'N', 'S'), kEdge, row, 'left');
  }
  for (const lon of meridians) {
    const text = lineLabel(lon, spacing.decimals, 'E', 'W');
    const column = frame.toColumn(toX(lon));
    const half = context.measureText(text).width / 2 + kEdge;
    if (column > half && column < frame.width - half) label(context, text, column, above + kEdge + 8, 'center');
  }
}

/** Lines at round degrees of WGS 84. */
export function graticuleLayer() {
  return canvasLayer(drawLines, 'overlay-graticule');
}

/**
 * What stands at these lines, at the upper and the left edge: a layer for itself, above all others.
 * @param {() => {above: number, below: number}} insets  pixels at the edges that controls cover
 */
export function degreesLayer(insets) {
  return canvasLayer((context, frame) => drawLabels(context, frame, insets), 'overlay-degrees');
}
