// SPDX-License-Identifier: MIT
// Where the lines of the pictures lie, and where those lie that the page draws.
import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { pixelOf } from '../support/browser.mjs';
import { startWorld } from '../support/world.mjs';

/** Levels where every line that the page draws is also one of the picture's. */
const kViews = [
  { center: [116.4, 39.9], zoom: 10 },
  { center: [121.47, 31.23], zoom: 13 },
  { center: [113.26, 23.13], zoom: 16 },
];
const kFarthest = 1.5;
/**
 * Pixels along a line that are looked at, and how many of them must have its colour: a line of
 * aligned tiles goes over from one row to the next, and is left out where two of the service's rows
 * become one.
 */
const kBand = 160;
const kLeast = 24;

const world = startWorld();

async function look({ center, zoom }, side, show) {
  const map = await world.open(`#${zoom}/${center[1]}/${center[0]}&left=${side}${show}`);
  const pixels = await map.pixels();
  assert.deepEqual(map.faults, []);
  await map.close();
  return pixels;
}

/** Middles of the runs of neighbours in rising numbers. */
function middles(numbers) {
  const runs = [];
  for (const number of numbers) {
    if (runs.length && number - runs.at(-1).at(-1) === 1) runs.at(-1).push(number);
    else runs.push([number]);
  }
  return runs.map((run) => (run[0] + run.at(-1) + 1) / 2);
}

const range = (count) => Array.from({ length: count }, (_, i) => i);

/** Aligned tiles are JPEG: brightness is sharp there, colour is not. Labels are dark green. */
const isDark = ([red, green, blue]) => 0.3 * red + 0.59 * green + 0.11 * blue < 130;
const isRed = (colour) => isDark(colour) && colour[0] - colour[1] > 40;
const isBlue = (colour) => isDark(colour) && colour[2] - colour[1] > 40;

/** Columns that meridians of kxorigin's picture have: red in a band of rows. */
function picturedMeridians(pixels) {
  const rows = range(kBand).map((i) => Math.floor((pixels.height - kBand) / 2) + i);
  return middles(range(pixels.width).filter((x) => rows.filter((y) => isRed(pixels.at(x, y))).length > kLeast));
}

function picturedParallels(pixels) {
  const columns = range(kBand).map((i) => Math.floor((pixels.width - kBand) / 2) + i);
  return middles(range(pixels.height).filter((y) => columns.filter((x) => isBlue(pixels.at(x, y))).length > kLeast));
}

/** Where a meridian or parallel is drawn: the middle of what changed near where it must be. */
function drawnAt(drawn, bare, near, isColumn) {
  const across = isColumn ? drawn.height : drawn.width;
  const change = (at) => range(Math.floor(across / 2)).reduce((sum, i) => {
    const [x, y] = isColumn ? [at, i + Math.floor(across / 4)] : [i + Math.floor(across / 4), at];
    const [before, now] = [bare.at(x, y), drawn.at(x, y)];
    return sum + before.reduce((change, value, channel) => change + Math.abs(value - now[channel]), 0);
  }, 0);
  const window = range(9).map((i) => Math.floor(near) - 4 + i);
  const weights = window.map(change);
  const total = weights.reduce((sum, weight) => sum + weight, 0);
  assert.ok(total > 100 * across, `no line is drawn near ${near}`);
  return window.reduce((sum, at, i) => sum + (at + 0.5) * weights[i], 0) / total;
}

/** Round degrees in view that the page may draw lines at: multiples of a step. */
function multiples(from, to, step) {
  const lines = [];
  for (let i = Math.ceil(from / step); i * step < to; ++i) lines.push(i * step);
  return lines;
}

/** The step of the page's lines: 1, 2 or 5 in a power of ten, the finest of at least 96 pixels. */
function stepAt(zoom) {
  const pixelsPerDegree = (256 * 2 ** zoom) / 360;
  return [1, 0.5, 0.2, 0.1, 0.05, 0.02, 0.01, 0.005, 0.002, 0.001].filter((step) => step * pixelsPerDegree >= 96).at(-1);
}

function linesIn(view, { width }) {
  const half = (width / 2 - 40) / ((256 * 2 ** view.zoom) / 360);
  const tall = half / 3;
  const step = stepAt(view.zoom);
  return {
    meridians: multiples(view.center[0] - half, view.center[0] + half, step),
    parallels: multiples(view.center[1] - tall, view.center[1] + tall, step),
  };
}

const nearest = (numbers, at) => numbers.reduce((best, number) => Math.min(best, Math.abs(number - at)), Infinity);

describe('the graticule of the page', () => {
  for (const view of kViews) {
    it(`lies on round degrees at level ${view.zoom}`, async () => {
      const [bare, drawn] = [await look(view, 'marble', ''), await look(view, 'marble', '&show=graticule')];
      const { meridians, parallels } = linesIn(view, bare);
      assert.ok(meridians.length >= 5 && parallels.length >= 1);
      for (const lon of meridians) {
        const [expected] = pixelOf(lon, view.center[1], view, bare);
        assert.ok(Math.abs(drawnAt(drawn, bare, expected, true) - expected) < 0.75, `${lon}`);
      }
      for (const lat of parallels) {
        const [, expected] = pixelOf(view.center[0], lat, view, bare);
        assert.ok(Math.abs(drawnAt(drawn, bare, expected, false) - expected) < 0.75, `${lat}`);
      }
    });

    for (const source of ['graticule', 'shifted']) {
      it(`lies on the lines of aligned ${source} tiles at level ${view.zoom}`, async () => {
        const pixels = await look(view, source, '');
        const [columns, rows] = [picturedMeridians(pixels), picturedParallels(pixels)];
        const { meridians, parallels } = linesIn(view, pixels);
        for (const lon of meridians) {
          const [at] = pixelOf(lon, view.center[1], view, pixels);
          assert.ok(nearest(columns, at) <= kFarthest, `meridian ${lon}: ${nearest(columns, at)} pixels`);
        }
        for (const lat of parallels) {
          const [, at] = pixelOf(view.center[0], lat, view, pixels);
          assert.ok(nearest(rows, at) <= kFarthest, `parallel ${lat}: ${nearest(rows, at)} pixels`);
        }
      });
    }
  }

  it('does not lie on the lines of raw tiles of a shifted service', async () => {
    // There 4.5 pixels of the 36 between the picture's lines.
    const view = kViews[0];
    const pixels = await look(view, 'shifted~raw', '');
    const columns = picturedMeridians(pixels);
    assert.ok(columns.length > 5);
    const { meridians } = linesIn(view, pixels);
    const distances = meridians.map((lon) => nearest(columns, pixelOf(lon, view.center[1], view, pixels)[0]));
    assert.ok(Math.min(...distances) > 2 * kFarthest, String(distances));
  });
});
