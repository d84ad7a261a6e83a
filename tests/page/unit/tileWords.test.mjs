// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { linesOf, onFirstWorld } from '../../../apps/kxtile/serve/page/src/text/tileWords.js';

const kTile = { z: 5, x: 26, y: 12 };

describe('linesOf', () => {
  it('is the address while the tile is on its way', () => assert.deepEqual(linesOf(kTile), ['5/26/12']));
  it('says where the tile came from and how long it took', () => {
    const record = { status: 200, cache: 'memory', ms: 0.4, message: '' };
    assert.deepEqual(linesOf(kTile, record), ['5/26/12', 'memory · 0.40 ms']);
    assert.equal(linesOf(kTile, { ...record, cache: 'upstream', ms: 123.4 })[1], 'upstream · 123 ms');
    assert.equal(linesOf(kTile, { ...record, ms: 7.25 })[1], 'memory · 7.3 ms');
    assert.equal(linesOf(kTile, { ...record, ms: 0.004 })[1], 'memory · <0.1 ms');
    assert.equal(linesOf(kTile, { ...record, ms: NaN })[1], 'memory');
  });
  it('has the address that was asked for', () => {
    assert.equal(linesOf(kTile, { status: 200, cache: 'disk', ms: 1, message: '', isSharp: true })[0], '5/26/12@2x');
  });
  it('says the status where there is no tile', () => {
    assert.equal(linesOf(kTile, { status: 502, cache: '', ms: 12, message: 'why' })[1], '502 · 12 ms');
    assert.equal(linesOf(kTile, { status: 0, cache: '', ms: NaN, message: 'why' })[1], 'no answer');
    assert.equal(linesOf(kTile, { status: 204, cache: '', ms: NaN, message: '' })[1], '204');
  });
});

describe('onFirstWorld', () => {
  it('turns columns around the world', () => {
    assert.deepEqual(onFirstWorld({ z: 3, x: 8, y: 1 }), { z: 3, x: 0, y: 1 });
    assert.deepEqual(onFirstWorld({ z: 3, x: -1, y: 1 }), { z: 3, x: 7, y: 1 });
  });
});
