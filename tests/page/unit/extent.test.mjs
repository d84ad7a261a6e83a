// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { visibleExtent } from '../../../apps/kxtile/serve/page/src/text/extent.js';
import { countTiles, kHalf, tileAt, tileExtent, toLat, toY } from '../../../apps/kxtile/serve/page/src/text/mercator.js';

const kWorld = [-180, -85.0511287798066, 180, 85.0511287798066];

/** Column and row as tile services publish the formula, with secant and logarithm. */
function published(lon, lat, z) {
  const radians = (lat * Math.PI) / 180;
  const y = (1 - Math.log(Math.tan(radians) + 1 / Math.cos(radians)) / Math.PI) / 2;
  return { z, x: Math.floor(((lon + 180) / 360) * 2 ** z), y: Math.floor(y * 2 ** z) };
}

describe('tileAt', () => {
  it('agrees with the published formula', () => {
    for (const [lon, lat] of [[121.47, 31.23], [-70.6, -33.4], [0.1, 0.1], [179.9, 80], [-179.9, -80]])
      for (let z = 0; z <= 22; ++z) assert.deepEqual(tileAt(lon, lat, z), published(lon, lat, z));
  });
  it('keeps the ends of the plane on its last tiles', () => {
    assert.deepEqual(tileAt(180, -90, 3), { z: 3, x: 7, y: 7 });
    assert.deepEqual(tileAt(-180, 90, 3), { z: 3, x: 0, y: 0 });
  });
});

describe('tileExtent', () => {
  it('ends at the plane of 20037508.34 m', () => {
    const extent = tileExtent({ z: 0, x: 0, y: 0 });
    for (const [i, sign] of [-1, -1, 1, 1].entries()) assert.ok(Math.abs(extent[i] - sign * 20037508.342789244) < 1e-6);
    assert.deepEqual(tileExtent({ z: 1, x: 1, y: 0 }).map(Math.sign), [0, 0, 1, 1]);
  });
});

describe('countTiles', () => {
  it('counts what an extent touches with more than its edge', () => {
    assert.equal(countTiles(kWorld, 0), 1);
    assert.equal(countTiles(kWorld, 5), 1024);
    assert.equal(countTiles([-180, 0, 0, 85], 1), 1);
    assert.equal(countTiles([-180, 0, 0.001, 85], 1), 2);
    assert.equal(countTiles([-90, -0.001, 0, 0.001], 2), 2);
  });
  it('takes the one tile that holds a point', () => assert.equal(countTiles([8.5, 47.2, 8.5, 47.2], 12), 1));
  it('does not count beyond the edges of a tile whose bounds were written in degrees', () => {
    for (const z of [3, 9, 17, 22]) {
      const [west, south, east, north] = tileExtent({ z, x: 5, y: 6 });
      const bounds = [(west / kHalf) * 180, toLat(south), (east / kHalf) * 180, toLat(north)].map((value) => Number(value.toFixed(12)));
      assert.equal(countTiles(bounds, z), 1, `level ${z}`);
    }
  });
  it('goes across the antimeridian where west is beyond east', () => {
    assert.equal(countTiles([170, 1, -170, 2], 4), 2);
    assert.equal(countTiles([1, 1, -1, 2], 4), 16);
  });
});

describe('visibleExtent', () => {
  const metres = (west, south, east, north) => [(west / 180) * kHalf, toY(south), (east / 180) * kHalf, toY(north)];
  it('rounds outwards', () => {
    const [west, south, east, north] = visibleExtent(metres(10.00001, 20.00001, 30.00001, 40.00001), 4, kWorld);
    assert.ok(west <= 10.00001 && west > 9.9 && south <= 20.00001 && south > 19.9);
    assert.ok(east >= 30.00001 && east < 30.1 && north >= 40.00001 && north < 40.1);
  });
  it('stays within a source', () => {
    assert.deepEqual(visibleExtent(metres(0, 0, 60, 60), 3, [10, 20, 30, 40]), [10, 20, 30, 40]);
    assert.equal(visibleExtent(metres(0, 0, 5, 5), 3, [10, 20, 30, 40]), null);
  });
  it('has no tile more than a source whose bounds are edges of tiles', () => {
    for (const z of [3, 7, 12, 18]) {
      const [west, south, east, north] = tileExtent({ z, x: 5, y: 3 });
      const bounds = [(west / kHalf) * 180, toLat(south), (east / kHalf) * 180, toLat(north)];
      const seen = visibleExtent(metres(-180, -89, 180, 89), z, bounds);
      assert.equal(countTiles(seen, z), 1, `level ${z}: ${seen}`);
    }
  });
  it('stays within one world', () => {
    const [west, south, east, north] = visibleExtent(metres(-300, -80, 300, 80), 1, kWorld);
    assert.deepEqual([west, east], [-180, 180]);
    assert.ok(south >= -85.1 && north <= 85.1);
  });
  it('names the world that is in view, however often it was gone around', () => {
    const [west, , east] = visibleExtent(metres(370, 0, 380, 10), 5, kWorld);
    assert.ok(Math.abs(west - 10) < 0.1 && Math.abs(east - 20) < 0.1);
  });
  it('has its west beyond its east across the antimeridian', () => {
    const [west, , east] = visibleExtent(metres(170, 0, 190, 10), 5, kWorld);
    assert.ok(Math.abs(west - 170) < 0.1 && Math.abs(east + 170) < 0.1, `${west} ${east}`);
  });
  it('finds a source on either side of the antimeridian', () => {
    const seen = visibleExtent(metres(160, 0, 200, 10), 5, [-175, 2, -170, 8]);
    assert.deepEqual(seen, [-175, 2, -170, 8]);
  });
});
