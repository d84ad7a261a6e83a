// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { describe, it } from 'node:test';
import { colourAt, pixelOf } from '../support/browser.mjs';
import { decodePng } from '../support/png.mjs';
import { kxtile } from '../support/programs.mjs';
import { kHostileCredit, kHostileName } from '../support/sources.mjs';
import { startWorld } from '../support/world.mjs';

const world = startWorld();
const { on, served } = world;

const tile = async (path) => decodePng(Buffer.from(await (await fetch(world.gateway.address + path)).arrayBuffer()));

describe('the page', () => {
  it('lists the sources of the gateway, with their attributions', () => on('', async (map) => {
    const { sources } = await served('/sources.json');
    assert.deepEqual(await map.page.locator('#sources .source').evaluateAll((items) => items.map((item) => item.dataset.key)),
      sources.map(({ id }) => id));
    for (const { name, attribution } of sources) {
      const item = map.page.locator('#sources .source', { hasText: name }).first();
      assert.ok((await item.textContent()).includes(attribution), name);
    }
  }));

  it('takes everything from the gateway', () => on('#3/30/110&left=marble&right=graticule&show=graticule,tiles', async (map) => {
    const elsewhere = map.requests.filter((url) => new URL(url).origin !== world.gateway.address);
    assert.deepEqual(elsewhere, []);
    assert.ok(map.requests.some((url) => url.endsWith('/page/page.js')));
  }));

  it('runs under a policy that allows no script or style in markup', () => on('', async (map) => {
    const policy = (await fetch(`${world.gateway.address}/`)).headers.get('Content-Security-Policy');
    assert.match(policy, /default-src 'none'/);
    assert.match(policy, /script-src 'self'(;|$)/);
    assert.match(policy, /style-src 'self'(;|$)/);
    assert.ok(!policy.includes('unsafe'));
    assert.equal(await map.page.title(), 'KxTile map');
  }));

  it('shows the pixels that are served', () => on('#5/31/116&left=graticule', async (map) => {
    // The middle of the view is in the tile 5/26/13, whose pixels follow from the level alone.
    const picture = await tile('/graticule/5/26/13.png');
    const pixels = await map.pixels();
    const [left, top] = pixelOf(112.5, 31.95216223802497, { center: [116, 31], zoom: 5 }, pixels).map(Math.round);
    let equal = 0;
    for (let y = 8; y < 248; ++y)
      for (let x = 8; x < 248; ++x) equal += String(pixels.at(left + x, top + y)) === String(picture.at(x, y));
    assert.equal(equal, 240 * 240);
  }));

  it('shows every level, the first and what is deeper than the source', () => on('#0/0/0&left=graticule', async (map) => {
    assert.ok(map.requests.some((url) => url.endsWith('/graticule/0/0/0.png')));
    await map.goTo('20/800000/400000');
    await map.waitForHash(/#20\//);
    await map.settle();
    assert.ok(map.requests.some((url) => url.endsWith('/graticule/18/200000/100000.png')));
  }));

  it('finds sources by a search and shows the one that is chosen', () => on('', async (map) => {
    await map.page.fill('#search', 'shifted gcj-02');
    assert.equal(await map.page.locator('#sources .source').count(), 1);
    await map.page.press('#search', 'Enter');
    await map.waitForHash(/left=shifted/);
    await map.page.fill('#search', 'no such thing');
    assert.match(await map.text('#sources'), /No source has “no such thing” in it/);
  }));

  it('shows names and attributions as they are written, and runs nothing of them', () => on('#2/30/10&left=hostile', async (map) => {
    assert.equal(await map.text('.card-name'), kHostileName);
    assert.equal(await map.text('#credits'), kHostileCredit);
    assert.deepEqual(await map.page.locator('#credits a').evaluateAll((links) => links.map((link) => link.href)),
      ['https://example.org/terms?a=b&c=d']);
    await map.page.keyboard.press('u');
    await map.page.waitForSelector('#drawer:not([hidden])');
    assert.equal(await map.page.locator('img, script:not([src])').count(), 0);
    assert.equal(await map.page.title(), 'KxTile map');
  }));
});

describe('the address bar', () => {
  it('holds the view, and restores it', () => on('', async (map) => {
    await map.choose('Shifted');
    await map.page.click('#toggle-swipe');
    await map.page.click('#toggle-graticule');
    await map.page.click('#toggle-tiles');
    await map.goTo('9/420/200');
    await map.waitForHash(/#9\/.*left=shifted&right=shifted~raw&split=50&show=graticule,tiles/);
    const hash = await map.hash();
    const again = await world.open(hash);
    assert.equal(await again.hash(), hash);
    for (const id of ['toggle-swipe', 'toggle-graticule', 'toggle-tiles'])
      assert.equal(await again.page.getAttribute(`#${id}`, 'aria-pressed'), 'true', id);
    await again.close();
  }));

  it('goes back step by step', () => on('#4/31/116&left=marble', async (map) => {
    await map.choose('Graticule');
    await map.waitForHash(/left=graticule/);
    await map.goTo('121.5, 31.25');
    await map.waitForHash(/#12\//);
    await map.page.goBack();
    await map.waitForHash(/#4\/.*left=graticule/);
    await map.page.goBack();
    await map.waitForHash(/#4\/.*left=marble/);
    await map.settle();
    assert.equal(await map.text('.card-name'), 'Marble');
    await map.page.goForward();
    await map.waitForHash(/left=graticule/);
  }));

  it('is one entry however the map is moved', () => on('#4/31/116&left=marble', async (map) => {
    const before = await map.page.evaluate(() => history.length);
    await map.page.focus('#map');
    for (let i = 0; i < 3; ++i) await map.page.keyboard.press('ArrowRight');
    await map.page.waitForFunction(() => Number(location.hash.split(/[/&]/)[2]) > 117);
    assert.equal(await map.page.evaluate(() => history.length), before);
  }));
});

describe('going to a place', () => {
  it('centres a coordinate and holds it', () => on('#4/0/0&left=marble', async (map) => {
    await map.goTo('31°15′N 121°30′E');
    await map.waitForHash(/#12\/31\.25\d*\/121\.5/);
    assert.equal(await map.text('#at-wgs84'), '121.500000, 31.250000');
    assert.equal(await map.text('#place-kind'), 'Pinned');
  }));

  it('shows a tile whole and alone in the middle', () => on('#4/0/0&left=graticule', async (map) => {
    await map.goTo('10/857/418');
    // Published bounds of that tile: 121.2890625 to 121.640625 E, 31.05293398570514 to 31.35363694150098 N.
    await map.waitForHash(/#10\/31\.203\d*\/121\.464/);
    assert.match(await map.text('#place-tile'), /^10\/857\/418/);
  }));

  it('says what is wrong with what is no place', () => on('#4/0/0&left=marble', async (map) => {
    await map.page.fill('#goto-input', '3/9/0');
    await map.page.press('#goto-input', 'Enter');
    assert.match(await map.text('#goto-hint'), /Level 3 has columns and rows 0 to 7/);
    assert.equal(await map.page.getAttribute('#goto-input', 'aria-invalid'), 'true');
    assert.match(await map.hash(), /^#4\//);
  }));
});

describe('coordinates', () => {
  it('are those that kxtile locate says', () => on('#4/0/0&left=marble', async (map) => {
    await map.goTo('116.397389, 39.908722');
    await map.page.waitForSelector('#coordinates:not(.waiting)');
    const table = execFileSync(kxtile, ['locate', '116.397389,39.908722', '--level', '10']).toString();
    for (const [name, selector] of [['WGS 84', '#at-wgs84'], ['GCJ-02', '#at-gcj02'], ['BD-09', '#at-bd09']]) {
      const expected = new RegExp(`^${name}\\s+([-\\d.]+)\\s+([-\\d.]+)$`, 'm').exec(table).slice(1).map(Number);
      const shown = (await map.text(selector)).split(',').map(Number);
      shown.forEach((value, i) => assert.ok(Math.abs(value - expected[i]) < 1e-6, `${name}: ${shown} for ${expected}`));
    }
  }));

  it('follow the pointer, and stay where it was clicked until Escape', () => on('#6/31/116&left=marble', async (map) => {
    const { x, y, width, height } = await map.frame();
    await map.page.mouse.move(x + width / 2 + 64, y + height / 2);
    // 64 pixels of a world of 256 * 2^6 pixels.
    const expected = (116 + (64 / (256 * 64)) * 360).toFixed(3);
    await map.page.waitForFunction((text) => document.querySelector('#at-wgs84').textContent.startsWith(text), expected);
    assert.equal(await map.text('#place-kind'), 'Pointer');
    await map.page.mouse.click(x + width / 2 - 64, y + height / 2);
    await map.page.waitForSelector('#coordinates.held');
    const held = await map.text('#at-wgs84');
    await map.page.mouse.move(x + width / 2, y + 100);
    assert.equal(await map.text('#at-wgs84'), held);
    await map.page.keyboard.press('Escape');
    await map.page.waitForSelector('#coordinates:not(.held)');
  }));
});

describe('the swipe', () => {
  const view = { center: [116, 31], zoom: 5 };
  const kHash = '#5/31/116&left=marble&right=graticule&split=50';
  const isGraticule = (colour) => ['240,236,220', '204,222,234', '220,0,0', '0,0,220', '0,96,0', '120,0,120'].includes(String(colour));

  it('parts the map between two sources', () => on(kHash, async (map) => {
    for (const [lon, expected] of [[112, false], [115.5, false], [116.5, true], [120, true]])
      assert.equal(isGraticule(await colourAt(map, lon, 30.3, view)), expected, `${lon}`);
  }));

  it('is dragged by its handle', () => on(kHash, async (map) => {
    const handle = await map.page.locator('#swipe .grip').boundingBox();
    const [x, y] = [handle.x + handle.width / 2, handle.y + handle.height / 2];
    const frame = await map.frame();
    await map.page.mouse.move(x, y);
    await map.page.mouse.down();
    await map.page.mouse.move(frame.x + frame.width * 0.25, y, { steps: 4 });
    await map.page.mouse.up();
    await map.waitForHash(/split=25/);
    assert.ok(isGraticule(await colourAt(map, 112, 30.3, view)));
  }));

  it('is moved by the arrow keys', () => on(kHash, async (map) => {
    await map.page.focus('#swipe');
    for (let i = 0; i < 5; ++i) await map.page.keyboard.press('ArrowRight');
    await map.waitForHash(/split=60/);
    assert.equal(await map.page.getAttribute('#swipe', 'aria-valuenow'), '60');
    assert.ok(!isGraticule(await colourAt(map, 118, 30.3, view)));
    await map.page.keyboard.press('Home');
    await map.waitForHash(/split=0/);
    assert.ok(isGraticule(await colourAt(map, 108, 30.3, view)));
  }));

  for (const [percent, to] of [[0, 30], [100, 70]]) {
    it(`keeps its handle within the map at ${percent} %, where it is grabbed`, () => on(kHash.replace('split=50', `split=${percent}`), async (map) => {
      const frame = await map.frame();
      const grip = await map.page.locator('#swipe .grip').boundingBox();
      assert.ok(grip.x >= frame.x && grip.x + grip.width <= frame.x + frame.width, `${grip.x} of ${frame.x}`);
      const [x, y] = [grip.x + grip.width / 2, grip.y + grip.height / 2];
      await map.page.mouse.move(x, y);
      await map.page.mouse.down();
      // It does not jump to where it was grabbed.
      await map.page.mouse.move(x + (percent ? -1 : 1), y);
      await map.waitForHash(new RegExp(`split=${percent}$`));
      await map.page.mouse.move(x + ((to - percent) / 100) * frame.width, y, { steps: 4 });
      await map.page.mouse.up();
      await map.waitForHash(new RegExp(`split=${to}$`));
    }));
  }

  it('says its place and both sides to who hears it', () => on('#5/31/116&left=shifted&right=shifted~raw&split=40', async (map) => {
    const handle = map.page.getByRole('slider', { name: 'Swipe: where the two sides meet' });
    assert.equal(await handle.getAttribute('aria-valuetext'), '40 %; left Shifted graticule, right Shifted graticule · raw');
  }));

  it('shows raw beside aligned tiles of a shifted service', () => on('#5/31/116&left=shifted', async (map) => {
    await map.page.keyboard.press('s');
    await map.waitForHash(/right=shifted~raw/);
    await map.settle();
    assert.ok(map.requests.some((url) => url.includes('/shifted/raw/5/')));
    assert.match(await map.text('#swipe-right'), /raw/);
    await map.page.keyboard.press('s');
    await map.page.waitForFunction(() => !location.hash.includes('right='));
  }));
});

describe('tile borders', () => {
  it('lie where the tiles do', () => on('#5/31/116&left=marble&show=tiles', async (map) => {
    const [bare, drawn] = [await map.pixels({ overlays: false }), await map.pixels()];
    // 112.5 E is the western edge of the tiles of column 26.
    const [x] = pixelOf(112.5, 31, { center: [116, 31], zoom: 5 }, drawn);
    const changed = (column) => Array.from({ length: drawn.height }, (_, y) => y)
      .filter((y) => String(bare.at(column, y)) !== String(drawn.at(column, y))).length;
    assert.ok(changed(Math.floor(x)) > drawn.height * 0.95);
    assert.ok(changed(Math.floor(x) + 210) < drawn.height * 0.1);
  }));

  it('come with where the gateway had the tile from and how long it took', async () => {
    const { headers } = await fetch(`${world.gateway.address}/marble/5/26/13.png`);
    assert.match(headers.get('X-Cache'), /^(memory|disk|output|upstream)$/);
    assert.match(headers.get('Server-Timing'), /tile;dur=[\d.]+/);
  });
});
