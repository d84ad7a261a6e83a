// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { formatView, parseView } from '../../../apps/kxtile/serve/page/src/state/address.js';

const kSide = { id: 'city', raw: false, date: '' };
const kView = {
  center: [121.47, 31.23], zoom: 5, left: kSide, right: null, split: 0.5, graticule: false, tiles: false,
};

describe('formatView', () => {
  it('begins with level, latitude, longitude, as other maps do', () => {
    assert.equal(formatView(kView), '#5/31.230/121.470&left=city');
  });
  it('names what is compared and what is drawn over it', () => {
    const right = { id: 'past', raw: false, date: '2019-09-08' };
    const view = { ...kView, left: { ...kSide, raw: true }, right, split: 0.25, graticule: true, tiles: true };
    assert.equal(formatView(view), '#5/31.230/121.470&left=city~raw&right=past~~2019-09-08&split=25&show=graticule,tiles');
  });
});

describe('parseView', () => {
  it('is the other way of formatView', () => {
    for (const id of ['city', 'a&b=c', '100%', 'über#?/', 'x y'])
      for (const date of ['', '2004-07-14'])
        for (const raw of [false, true]) {
          const view = { ...kView, left: { id, raw, date }, right: { id, raw: !raw, date }, split: 0.75, tiles: true };
          assert.deepEqual(parseView(formatView(view)), view);
        }
  });
  it('keeps places to a pixel', () => {
    for (let zoom = 0; zoom <= 22; ++zoom) {
      const center = [-179.123456789, 84.987654321];
      const read = parseView(formatView({ ...kView, zoom, center }));
      const pixel = 360 / (256 * 2 ** zoom);
      assert.ok(Math.abs(read.center[0] - center[0]) < pixel / 2, `level ${zoom}`);
    }
  });
  it('leaves out what makes no sense', () => {
    for (const hash of ['', '#', '#x/y/z', '#5/91/0', '#5/0/181', '#-1/0/0', '#99/0/0', '#5/0', '#5/NaN/0', '#&left=&right=~raw'])
      assert.deepEqual(parseView(hash), { right: null, split: 0.5, graticule: false, tiles: false }, hash);
    assert.equal(parseView('#5/0/0&left=a~raw~yesterday').left.date, '');
    assert.equal(parseView('#5/0/0&split=101').split, 0.5);
    assert.equal(parseView('#5/0/0&left=%E0%A4%A').left.id, '%E0%A4%A');
  });
});
