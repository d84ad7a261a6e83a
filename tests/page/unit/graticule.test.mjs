// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { lineLabel, linesBetween, spacingAt } from '../../../apps/kxtile/serve/page/src/text/graticule.js';

describe('spacingAt', () => {
  it('is the finest round one that keeps the distance', () => {
    assert.equal(spacingAt(1, 96).degrees, 90);
    assert.equal(spacingAt(19.2, 96).degrees, 5);
    assert.equal(spacingAt(19.1, 96).degrees, 10);
    assert.equal(spacingAt(9600, 96).degrees, 0.01);
  });
});

describe('linesBetween', () => {
  it('has both ends and no sum of roundings', () => {
    assert.deepEqual(linesBetween(0.1, 0.7, { numerator: 1, decimals: 1 }).map(String),
      ['0.1', '0.2', '0.3', '0.4', '0.5', '0.6', '0.7']);
    assert.deepEqual(linesBetween(-20, 20, { numerator: 15, decimals: 0 }), [-15, 0, 15]);
  });
});

describe('lineLabel', () => {
  it('names the side of the world', () => {
    assert.equal(lineLabel(121.5, 1, 'E', 'W'), '121.5°E');
    assert.equal(lineLabel(-33, 0, 'N', 'S'), '33°S');
    assert.equal(lineLabel(0, 0, 'N', 'S'), '0°');
  });
  it('turns with the world', () => {
    assert.equal(lineLabel(190, 0, 'E', 'W'), '170°W');
    assert.equal(lineLabel(-190, 0, 'E', 'W'), '170°E');
    assert.equal(lineLabel(180, 0, 'E', 'W'), '180°');
    assert.equal(lineLabel(-540, 0, 'E', 'W'), '180°');
  });
});
