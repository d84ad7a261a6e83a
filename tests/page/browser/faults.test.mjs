// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { kLaptop, kPhone, MapPage, pixelOf } from '../support/browser.mjs';
import { startGateway } from '../support/programs.mjs';
import { definitionsOf } from '../support/sources.mjs';
import { isBadAnswer, startWorld } from '../support/world.mjs';

const world = startWorld();
const { on } = world;

describe('faults', () => {
  it('are said where the tile is missing', () => on('#4/31/116&left=faulty', async (map) => {
    const answer = await fetch(`${world.gateway.address}/faulty/4/13/6.png`);
    assert.equal(answer.status, 502);
    const words = (await answer.text()).trim();
    assert.ok(words.length > 10 && !words.includes('\n'), words);
    assert.equal(await map.text('#place-tile'), `4/13/6: ${words}`);
    await map.page.waitForSelector('#notices button');
    assert.match(await map.text('#notices'), /tiles are missing/);
    // What is drawn there is neither the picture nor nothing: the ground of a tile of words.
    const pixels = await map.pixels();
    const [left, top] = pixelOf(112.5, 40.97989806962013, { center: [116, 31], zoom: 4 }, pixels).map(Math.round);
    const colours = new Map();
    for (let y = 48; y < 200; ++y)
      for (let x = 16; x < 240; ++x) {
        const colour = String(pixels.at(left + x, top + y));
        colours.set(colour, (colours.get(colour) ?? 0) + 1);
      }
    assert.ok(colours.get('243,239,236') > 10000, 'the ground of words');
    assert.ok(colours.size > 20, 'words with soft edges');
  }, { allowed: isBadAnswer }));

  it('are said in full for a tile that is pointed at, and covers nothing once it is pinned', () => on('#4/31/116&left=faulty', async (map) => {
    const words = (await (await fetch(`${world.gateway.address}/faulty/4/13/6.png`)).text()).trim();
    assert.ok(await map.page.isHidden('#place-fault'));
    const { x, y, width, height } = await map.frame();
    await map.page.mouse.move(x + width / 2, y + height / 2 + 20);
    await map.page.waitForSelector('#place-fault:not([hidden])');
    assert.ok((await map.text('#place-fault')).endsWith(words));
    assert.deepEqual(await map.frame(), { x, y, width, height });
    await map.page.mouse.click(x + width / 2, y + height / 2 + 20);
    await map.page.waitForSelector('#coordinates.held');
    await map.settle();
    const [fault, zoom] = [await map.page.locator('#place-fault').boundingBox(), await map.page.locator('#zoom-out').boundingBox()];
    assert.ok(zoom.y + zoom.height <= fault.y);
  }, { allowed: isBadAnswer }));

  it('are asked for again', () => on('#4/31/116&left=faulty', async (map) => {
    await map.page.waitForSelector('#notices button');
    const again = map.page.waitForRequest((request) => request.url().includes('/faulty/4/13/6.png'));
    await map.page.click('#notices button');
    await again;
    await map.settle();
    assert.match(await map.text('#notices'), /tiles are missing/);
  }, { allowed: isBadAnswer }));

  it('of both sides are asked for again', () => on('#4/31/116&left=faulty&right=faulty~raw', async (map) => {
    await map.page.waitForFunction(() => document.querySelectorAll('#notices button').length === 1);
    const again = ['/faulty/4/13/6.png', '/faulty/raw/4/13/6'].map((path) =>
      map.page.waitForRequest((request) => new URL(request.url()).pathname === path));
    await map.page.click('#notices button');
    await Promise.all(again);
  }, { allowed: isBadAnswer }));

  it('do not hide that a source has nothing in view', () => on('#6/31/116&left=part', async (map) => {
    await map.page.waitForSelector('#notices button');
    assert.match(await map.text('#notices'), /A part of the world has nothing here/);
    await map.page.click('#notices button');
    await map.page.waitForFunction(() => document.querySelector('#notices').textContent === '');
    assert.equal(map.requests.filter((url) => /\/part\/6\/5\d\//.test(url)).length, 0);
  }));

  it('lead to a source that lies elsewhere and deeper, in one step', () => on('#2/30/-40&left=part', async (map) => {
    await map.page.waitForSelector('#notices button');
    assert.match(await map.text('#notices'), /begins at level 5/);
    await map.page.click('#notices button');
    await map.page.waitForFunction(() => document.querySelector('#notices').textContent === '');
    assert.ok(map.requests.some((url) => url.includes('/part/')));
  }));

  it('of a source that cannot be served are said once, and no tile of it is asked for', async () => {
    const { marble } = definitionsOf(world.origin.address);
    const locking = await startGateway({ alocked: { ...marble, name: 'Locked', enabled: false }, marble });
    const map = await MapPage.open(world.browser, locking.address, '#4/31/116&left=alocked');
    await map.page.waitForSelector('#notices .fault');
    assert.match(await map.text('#notices'), /^Locked: /);
    assert.deepEqual(map.requests.filter((url) => url.includes('/alocked/')), []);
    assert.deepEqual(map.faults, []);
    await map.close();
    const usual = await MapPage.open(world.browser, locking.address);
    assert.match(await usual.hash(), /left=marble/);
    await usual.close();
    await locking.stop();
  });

  it('of an address that names no source are said', () => on('#4/31/116&left=nowhere', async (map) => {
    assert.match(await map.text('#sides'), /This gateway has no source “nowhere”/);
  }));
});

describe('a gateway that is not there', () => {
  /** Opens the page while the list of sources has another answer. */
  async function openWith(answer, run, options = kLaptop) {
    const context = await world.browser.newContext(options);
    try {
      const page = await context.newPage();
      const map = new MapPage(page, world.gateway.address);
      await page.route('**/sources.json', answer);
      await page.goto(world.gateway.address);
      await run(map);
    } finally {
      await context.close();
    }
  }

  for (const options of [kLaptop, kPhone]) {
    it(`is said in the middle of the map, and tried again, at ${options.viewport.width} pixels`, () => openWith((route) => route.abort(), async (map) => {
      await map.page.waitForSelector('#start-failure button');
      assert.match(await map.text('#start-failure'), /The gateway does not answer\. Is kxtile serve still running\?/);
      assert.equal(await map.page.getAttribute('#map', 'aria-busy'), 'false');
      await map.page.unroute('**/sources.json');
      await map.page.click('#start-failure button');
      await map.page.waitForSelector('body[data-state="ready"]');
      assert.ok(await map.page.isHidden('#start-failure'));
    }, options));
  }

  it('is told from one that refuses, whose words are shown', () =>
    openWith((route) => route.fulfill({ status: 403, body: 'this name is none of the gateway\'s\n' }), async (map) => {
      await map.page.waitForSelector('#start-failure button');
      assert.match(await map.text('#start-failure'), /The gateway says: this name is none of the gateway's/);
    }));

  it('is told from one without a source, which says how it gets some', () =>
    openWith((route) => route.fulfill({ contentType: 'application/json', body: '{"sources": [], "version": "1"}' }), async (map) => {
      await map.page.waitForSelector('body[data-state="ready"]');
      assert.match(await map.text('#sources'), /no source yet\. Start kxtile serve with/);
      assert.ok(!(await map.text('body')).includes('“”'));
      assert.deepEqual(map.faults, []);
      // The first one that comes is shown.
      await map.page.unroute('**/sources.json');
      await map.page.evaluate(() => document.dispatchEvent(new Event('visibilitychange')));
      await map.page.waitForSelector('.card-name');
    }));
});
