// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { areSquares, hasSharpTile, isDense } from '../../../apps/kxtile/serve/page/src/map/sharpness.js';

const aligned = { raw: false };
const service = { kind: 'service', raw: '/a/raw/{z}/{x}/{y}', source_tile_size: 256, maxzoom: 18 };

describe('hasSharpTile', () => {
  it('needs the next level of a service', () => {
    assert.ok(hasSharpTile(service, aligned, 17));
    assert.ok(!hasSharpTile(service, aligned, 18));
  });
  it('needs no other level of what has the pixels itself', () => {
    assert.ok(hasSharpTile({ ...service, source_tile_size: 512 }, aligned, 18));
    assert.ok(hasSharpTile({ ...service, kind: 'raster', raw: null }, aligned, 18));
  });
  it('is nothing of the service\'s own tiles', () => assert.ok(!hasSharpTile(service, { raw: true }, 5)));
  it('is what a source without own tiles shows, also where those are asked for', () =>
    assert.ok(hasSharpTile({ ...service, raw: null }, { raw: true }, 5)));
});

describe('isDense', () => {
  it('begins between a laptop\'s screen and a phone\'s', () => {
    assert.deepEqual([1, 1.25, 1.5, 2, 3].map(isDense), [false, false, true, true, true]);
  });
});

describe('areSquares', () => {
  it('wants a whole number of the screen\'s pixels for each', () => {
    for (const pixels of [1, 2, 3, 64]) assert.ok(areSquares(pixels), String(pixels));
    for (const pixels of [0.5, 0.75, 1.25, 1.5, 2.7]) assert.ok(!areSquares(pixels), String(pixels));
  });
});
