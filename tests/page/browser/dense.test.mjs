// SPDX-License-Identifier: MIT
// The map on screens with several pixels in one of CSS.
import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { kLaptop, pixelOf } from '../support/browser.mjs';
import { decodePng } from '../support/png.mjs';
import { startWorld } from '../support/world.mjs';

const kDense = { ...kLaptop, deviceScaleFactor: 2 };
const kView = { center: [116, 31], zoom: 5 };

const world = startWorld();
const on = (hash, run, options = kDense) => world.on(hash, run, { options });
const picture = async (path) => decodePng(Buffer.from(await (await fetch(world.gateway.address + path)).arrayBuffer()));
const tilesOf = (map, id) => map.requests.map((url) => new URL(url).pathname).filter((path) => new RegExp(`^/${id}/(raw/)?\\d`).test(path));
const isSharp = (path) => path.includes('@2x');

/** How many pixels of the map from a corner on are those of a picture. */
function countEqual(pixels, [left, top], tile, edge) {
  let equal = 0;
  for (let y = 16; y < edge - 16; ++y)
    for (let x = 16; x < edge - 16; ++x) equal += String(pixels.at(left + x, top + y)) === String(tile.at(x, y));
  return equal;
}

/** The upper left corner of the tile 5/26/13 in pixels of the screen: 112.5 E, 31.95216223802497 N. */
function cornerOf(pixels) {
  const [x, y] = pixelOf(112.5, 31.95216223802497, kView, { width: pixels.width / 2, height: pixels.height / 2 });
  return [Math.round(2 * x), Math.round(2 * y)];
}

describe('a dense screen', () => {
  it('shows the pixels of tiles of twice the size', () => on('#5/31/116&left=graticule', async (map) => {
    const tile = await picture('/graticule/5/26/13@2x.png');
    assert.equal(tile.width, 512);
    const pixels = await map.pixels();
    assert.equal(countEqual(pixels, cornerOf(pixels), tile, 512), 480 * 480);
    assert.ok(tilesOf(map, 'graticule').every(isSharp));
  }));

  it('shows the service\'s own tiles as they are, each pixel a square', () => on('#5/31/116&left=graticule~raw', async (map) => {
    const tile = await picture('/graticule/raw/5/26/13');
    const doubled = { at: (x, y) => tile.at(x >> 1, y >> 1) };
    const pixels = await map.pixels();
    assert.equal(countEqual(pixels, cornerOf(pixels), doubled, 512), 480 * 480);
    assert.ok(tilesOf(map, 'graticule').length > 0 && !tilesOf(map, 'graticule').some(isSharp));
  }));

  it('asks for plain tiles of the last level, behind which the service has none', () => on('#18/31/116&left=marble', async (map) => {
    assert.ok(tilesOf(map, 'marble').length > 0 && !tilesOf(map, 'marble').some(isSharp));
  }));

  it('takes plain tiles where there are none of twice the size', async () => {
    const map = await world.open('#18/31/116&left=marble', kDense);
    await map.page.route('**/marble/**@2x*', (route) => route.fulfill({ status: 404, body: 'the source has no tile there\n' }));
    await map.goTo('5/26/13');
    await map.waitForHash(/#5\//);
    await map.settle();
    assert.match(await map.text('#place-tile'), /^5\/26\/13$/);
    assert.equal(await map.text('#notices'), '');
    await map.close();
  });

  it('has the borders of tiles where plain ones have them', () => on('#5/31/116&left=marble&show=tiles', async (map) => {
    const [bare, drawn] = [await map.pixels({ overlays: false }), await map.pixels()];
    const [x] = cornerOf(drawn);
    const changed = (column) => Array.from({ length: drawn.height }, (_, y) => y)
      .filter((y) => String(bare.at(column, y)) !== String(drawn.at(column, y))).length;
    assert.ok(changed(x) > drawn.height * 0.95, `${changed(x)} of ${drawn.height}`);
    assert.ok(changed(x + 420) < drawn.height * 0.1, `${changed(x + 420)} of ${drawn.height}`);
    assert.equal(await map.text('#place-tile'), '5/26/13');
  }));

  it('is noticed when the window comes to it', () => on('#5/31/116&left=marble', async (map) => {
    assert.ok(!tilesOf(map, 'marble').some(isSharp));
    const asked = map.page.waitForRequest((request) => isSharp(request.url()));
    const devtools = await map.page.context().newCDPSession(map.page);
    await devtools.send('Emulation.setDeviceMetricsOverride', { width: 1300, height: 700, deviceScaleFactor: 2, mobile: false });
    // The browser looks at its media when it draws.
    await map.page.evaluate(() => new Promise(requestAnimationFrame));
    await asked;
    await map.settle();
    const { width } = await map.page.locator('.ol-layer canvas').first().evaluate((canvas) => ({ width: canvas.width }));
    assert.equal(width, 2 * (await map.frame()).width);
  }, kLaptop));
});
