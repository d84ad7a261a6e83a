// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { mkdtemp, readdir, readFile, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, before, describe, it } from 'node:test';
import { launch, MapPage, pixelOf } from '../support/browser.mjs';
import { decodePng } from '../support/png.mjs';
import { kxtile, startGateway, startOrigin } from '../support/programs.mjs';
import { definitionsOf, kBlueDay, kHostileCredit, kHostileName } from '../support/sources.mjs';

let origin;
let gateway;
let browser;

before(async () => {
  origin = await startOrigin();
  gateway = await startGateway(definitionsOf(origin.address));
  browser = await launch();
});
after(async () => {
  await browser?.close();
  await gateway?.stop();
  await origin?.stop();
});

/** Opens the page, runs, and finds that nothing went wrong on it. */
async function on(hash, run, allowed = () => false) {
  const map = await MapPage.open(browser, gateway.address, hash);
  try {
    await run(map);
    assert.deepEqual(map.faults.filter((fault) => !allowed(fault)), []);
  } finally {
    await map.close();
  }
}

const served = async (path) => (await fetch(gateway.address + path)).json();
const tile = async (path) => decodePng(Buffer.from(await (await fetch(gateway.address + path)).arrayBuffer()));

/** Red, green, blue at a place of the map. */
async function colourAt(map, lon, lat, view, options) {
  const pixels = await map.pixels(options);
  const [x, y] = pixelOf(lon, lat, view, pixels);
  return pixels.at(Math.floor(x), Math.floor(y));
}

function assertClose(actual, expected, tolerance, what) {
  actual.forEach((value, i) => assert.ok(Math.abs(value - expected[i]) <= tolerance, `${what}: ${actual} for ${expected}`));
}

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
    const elsewhere = map.requests.filter((url) => new URL(url).origin !== gateway.address);
    assert.deepEqual(elsewhere, []);
    assert.ok(map.requests.some((url) => url.endsWith('/page/page.js')));
  }));

  it('runs under a policy that allows no script or style in markup', () => on('', async (map) => {
    const policy = (await fetch(`${gateway.address}/`)).headers.get('Content-Security-Policy');
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
    const again = await MapPage.open(browser, gateway.address, hash);
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
    assert.equal(await map.text('#place-kind'), 'Held place');
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
    const { headers } = await fetch(`${gateway.address}/marble/5/26/13.png`);
    assert.match(headers.get('X-Cache'), /^(memory|disk|output|upstream)$/);
    assert.match(headers.get('Server-Timing'), /tile;dur=[\d.]+/);
  });
});

describe('history', () => {
  it('has a slider of the days at the middle of the map', () => on('#5/31/116&left=past', async (map) => {
    const { dates } = await served('/past/dates.json?at=116,31&zoom=5');
    assert.ok(dates.includes(kBlueDay), String(dates));
    dates.sort();
    await map.page.waitForFunction((count) => document.querySelector('.dates input')?.max === String(count), dates.length);
    const blueness = async () => {
      const [red, , blue] = await colourAt(map, 116, 31, { center: [116, 31], zoom: 5 });
      return blue - red;
    };
    const usual = await blueness();
    const back = dates.length - dates.indexOf(kBlueDay);
    for (let i = 0; i < back; ++i) await map.page.click('[aria-label="Earlier picture"]');
    await map.waitForHash(new RegExp(`left=past~~${kBlueDay}`));
    await map.settle();
    assert.equal(await map.text('.date-label'), kBlueDay);
    assert.ok(map.requests.some((url) => url.includes(`?date=${kBlueDay}`)));
    assert.ok(await blueness() > usual + 20, `${usual} ${await blueness()}`);
  }));

  const waitForDays = (map, count) =>
    map.page.waitForFunction((days) => document.querySelector('.dates input').max === String(days), count);

  it('offers no days of a place that was left', () => on('#5/31/116&left=past', async (map) => {
    const { dates } = await served('/past/dates.json?at=116,31&zoom=5');
    await waitForDays(map, dates.length);
    let letGo;
    const held = new Promise((resolve) => { letGo = resolve; });
    await map.page.route('**/dates.json*', async (route) => {
      await held;
      await route.continue();
    });
    await map.goTo('6/10/20');
    await waitForDays(map, 0);
    assert.match(await map.text('.date-note'), /^Looking for/);
    letGo();
    await map.page.waitForFunction(() => !document.querySelector('.date-note').textContent.startsWith('Looking for'));
  }));

  it('is stepped through by keys that keep the focus, even before the days come', () => on('#5/31/116&left=past', async (map) => {
    const { dates } = await served('/past/dates.json?at=116,31&zoom=5');
    dates.sort();
    await waitForDays(map, dates.length);
    const focused = () => map.page.evaluate(() => document.activeElement.dataset.key);
    await map.page.focus('[data-key="left-previous"]');
    await map.page.keyboard.press('Enter');
    await map.waitForHash(new RegExp(`left=past~~${dates.at(-1)}`));
    assert.equal(await focused(), 'left-previous');
    await map.page.focus('[data-key="left-next"]');
    await map.page.keyboard.press('Enter');
    await map.page.waitForFunction(() => !location.hash.includes('~~'));
    assert.equal(await focused(), 'left-date');
    let letGo;
    const held = new Promise((resolve) => { letGo = resolve; });
    await map.page.route('**/dates.json*', async (route) => {
      await held;
      await route.continue();
    });
    await map.goTo('5/26/13');
    await waitForDays(map, 0);
    await map.page.focus('[data-key="left-date"]');
    await map.page.keyboard.press('ArrowLeft');
    letGo();
    await map.waitForHash(/left=past~~2/);
    assert.equal(await focused(), 'left-date');
  }));

  it('asks for the days again after it failed', () => on('#5/31/116&left=past', async (map) => {
    const { dates } = await served('/past/dates.json?at=116,31&zoom=5');
    await waitForDays(map, dates.length);
    await map.page.route('**/dates.json*', (route) => route.fulfill({ status: 502, body: 'the service is away\n' }));
    await map.goTo('6/10/20');
    const noted = (text) => map.page.waitForFunction((words) => document.querySelector('.date-note').textContent.includes(words), text);
    await noted('The days are not known: the service is away');
    await map.page.unroute('**/dates.json*');
    await map.page.click('#toggle-swipe');
    await noted(' here, from ');
  }, (fault) => /status of 502.*dates\.json/.test(fault)));

  it('gives other programs the day that is shown, or nothing', () => on(`#5/31/116&left=past~~${kBlueDay}`, async (map) => {
    await map.page.keyboard.press('u');
    for (const client of ['qgis', 'gdal', 'leaflet', 'openlayers']) {
      await map.page.click(`[data-key="client-${client}"]`);
      const texts = await map.page.locator('.copy-block code').allTextContents();
      assert.ok(texts.length && texts.every((text) => text.includes(`?date=${kBlueDay}`)), texts.join('\n'));
    }
  }));
});

describe('faults', () => {
  const isAnswer = (fault) => /the server responded with a status of 50\d/.test(fault);

  it('are said where the tile is missing', () => on('#4/31/116&left=faulty', async (map) => {
    const answer = await fetch(`${gateway.address}/faulty/4/13/6.png`);
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
  }, isAnswer));

  it('are asked for again', () => on('#4/31/116&left=faulty', async (map) => {
    await map.page.waitForSelector('#notices button');
    const again = map.page.waitForRequest((request) => request.url().includes('/faulty/4/13/6.png'));
    await map.page.click('#notices button');
    await again;
    await map.settle();
    assert.match(await map.text('#notices'), /tiles are missing/);
  }, isAnswer));

  it('of both sides are asked for again', () => on('#4/31/116&left=faulty&right=faulty~raw', async (map) => {
    await map.page.waitForFunction(() => document.querySelectorAll('#notices button').length === 1);
    const again = ['/faulty/4/13/6.png', '/faulty/raw/4/13/6'].map((path) =>
      map.page.waitForRequest((request) => new URL(request.url()).pathname === path));
    await map.page.click('#notices button');
    await Promise.all(again);
  }, isAnswer));

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
    const { marble } = definitionsOf(origin.address);
    const locking = await startGateway({ alocked: { ...marble, name: 'Locked', enabled: false }, marble });
    const map = await MapPage.open(browser, locking.address, '#4/31/116&left=alocked');
    await map.page.waitForSelector('#notices .fault');
    assert.match(await map.text('#notices'), /^Locked: /);
    assert.deepEqual(map.requests.filter((url) => url.includes('/alocked/')), []);
    assert.deepEqual(map.faults, []);
    await map.close();
    const usual = await MapPage.open(browser, locking.address);
    assert.match(await usual.hash(), /left=marble/);
    await usual.close();
    await locking.stop();
  });

  it('of an address that names no source are said', () => on('#4/31/116&left=nowhere', async (map) => {
    assert.match(await map.text('#sides'), /This gateway has no source “nowhere”/);
  }));
});

describe('the commands for what is in view', () => {
  /** Runs what the page says, as it is pasted into a shell. */
  const paste = (text, folder) => execFileSync('sh', ['-c', `kxtile() { '${kxtile}' "$@"; }\n${text}`], {
    cwd: folder, env: { ...process.env, KXTILE_CACHE_DIR: join(folder, 'cache') }, stdio: 'pipe',
  }).toString();

  const number = (text) => Number(text.replace(/\D/g, ''));

  /** What the panel says at one time: it follows the map, which the drawer makes narrower. */
  async function panelOf(map) {
    const texts = await map.page.evaluate(() => {
      const text = (selector) => document.querySelector(selector)?.textContent ?? '';
      const command = (name) => text(`[aria-label="kxtile ${name}"]`);
      const remarks = [...document.querySelectorAll('.panel-extent .remark')].map((element) => element.textContent);
      return {
        total: text('#tile-total'), files: command('files'), export: command('export'), mosaic: command('mosaic'),
        size: remarks.find((remark) => remark.includes('pixels')) ?? '',
      };
    });
    const size = /^([\d\u202f]+) × ([\d\u202f]+) /.exec(texts.size) ?? [];
    return { ...texts, total: number(texts.total), size: size.slice(1).map(number) };
  }

  async function inFolder(run) {
    const folder = await mkdtemp(join(tmpdir(), 'kxtile-commands-'));
    try {
      await run(folder);
    } finally {
      await rm(folder, { recursive: true });
    }
  }

  it('run, and find as many tiles as the page says', () => on('#8/47/8&left=marble', async (map) => {
    await map.page.keyboard.press('e');
    const { total, files: command } = await panelOf(map);
    assert.match(command, /^kxtile files /);
    const line = command.replace(/^kxtile/, `'${kxtile}' --json`);
    const counted = JSON.parse(execFileSync('sh', ['-c', `${line} --dry-run`], {
      env: { ...process.env, KXTILE_CACHE_DIR: `${gateway.folder}/count` },
    }).toString());
    assert.equal(counted.tiles, total);
  }));

  it('make a file of as many tiles', () => on('#8/47/8&left=marble', (map) => inFolder(async (folder) => {
    await map.page.keyboard.press('e');
    await map.page.fill('.level-fields label:nth-child(2) input', '8');
    await map.page.keyboard.press('Tab');
    await map.page.waitForFunction(() => document.querySelector('[aria-label="kxtile export"]').textContent.includes('--levels 8 '));
    const { total, export: command } = await panelOf(map);
    paste(command, folder);
    const counted = execFileSync('python3', ['-c',
      'import sqlite3, sys; print(*sqlite3.connect(sys.argv[1]).execute("select count(*), min(zoom_level), max(zoom_level) from tiles").fetchone())',
      join(folder, 'marble-cut.mbtiles')]).toString().trim();
    assert.equal(counted, `${total} 8 8`);
  })));

  for (const left of ['marble', `past~~${kBlueDay}`]) {
    it(`make the picture of ${left} that the map shows`, () => on(`#6/47/8&left=${left}`, (map) => inFolder(async (folder) => {
      const shown = await map.pixels();
      const [x, y] = [shown.width >> 1, shown.height >> 1];
      await map.page.keyboard.press('e');
      // The drawer takes some of the map, and the middle stays.
      const { mosaic, size } = await panelOf(map);
      paste(mosaic, folder);
      const [name] = (await readdir(folder)).filter((file) => file.endsWith('.png'));
      const picture = decodePng(await readFile(join(folder, name)));
      assert.deepEqual(size, [picture.width, picture.height]);
      // The extent is rounded outwards by less than a pixel; two pixels off, the difference is above 4.
      const [left0, top] = [picture.width >> 1, picture.height >> 1];
      let difference = 0;
      for (let dy = -50; dy < 50; ++dy)
        for (let dx = -50; dx < 50; ++dx) {
          const [one, other] = [shown.at(x + dx, y + dy), picture.at(left0 + dx, top + dy)];
          difference += Math.abs(one[0] - other[0]) + Math.abs(one[1] - other[1]) + Math.abs(one[2] - other[2]);
        }
      assert.ok(difference / 30000 < 4, `${difference / 30000}`);
    })));
  }

  it('follow the view and the levels that are wanted', () => on('#8/47/8&left=marble', async (map) => {
    await map.page.keyboard.press('e');
    const before = await map.text('[aria-label="kxtile export"]');
    assert.match(before, /^kxtile export .* --levels 8-10 -o marble-cut\.mbtiles$/);
    await map.page.fill('.level-fields label:nth-child(2) input', '12');
    await map.page.keyboard.press('Tab');
    await map.page.waitForFunction(() => document.querySelector('[aria-label="kxtile export"]').textContent.includes('8-12'));
    // The focus goes on to what the tab key moved it to.
    await map.page.focus('[data-key="From level"]');
    await map.page.keyboard.press('Control+a');
    await map.page.keyboard.type('7');
    await map.page.keyboard.press('Tab');
    await map.page.waitForFunction(() => document.querySelector('[aria-label="kxtile export"]').textContent.includes('7-12'));
    assert.equal(await map.page.evaluate(() => document.activeElement.dataset.key), 'to level');
    await map.page.keyboard.type('11');
    await map.page.keyboard.press('Tab');
    await map.page.waitForFunction(() => document.querySelector('[aria-label="kxtile export"]').textContent.includes('7-11'));
    await map.page.click('[data-key="form-pmtiles"]');
    assert.match(await map.text('[aria-label="kxtile export"]'), /-o marble-cut\.pmtiles$/);
    await map.goTo('9/100/100');
    await map.page.waitForFunction((text) => document.querySelector('[aria-label="kxtile export"]').textContent !== text, before);
  }));
});

describe('the texts for other programs', () => {
  it('name addresses that answer', () => on('#4/47/8&left=marble', async (map) => {
    await map.page.keyboard.press('u');
    const addresses = new Set();
    for (const client of ['qgis', 'gdal', 'leaflet', 'openlayers']) {
      await map.page.click(`[data-key="client-${client}"]`);
      for (const text of await map.page.locator('.copy-block code').allTextContents())
        for (const [address] of text.matchAll(/http:\/\/127[^\s"',]+/g)) addresses.add(address);
    }
    assert.ok(addresses.size >= 5, [...addresses].join(' '));
    for (const address of addresses) {
      const answer = await fetch(address.replace('{z}', 4).replace('{x}', 8).replace('{y}', 5));
      assert.equal(answer.status, 200, address);
    }
  }));

  it('are copied by their buttons', () => on('#4/47/8&left=marble', async (map) => {
    await map.page.context().grantPermissions(['clipboard-read', 'clipboard-write'], { origin: gateway.address });
    await map.page.keyboard.press('u');
    await map.page.click('[aria-label="Copy: XYZ connection"]');
    await map.page.waitForFunction(() => document.querySelector('#announcer').textContent === 'Copied.');
    assert.equal(await map.page.evaluate(() => navigator.clipboard.readText()), `${gateway.address}/marble/{z}/{x}/{y}.png`);
  }));
});

describe('a gateway that watches its definitions', () => {
  let watching;
  const { marble, graticule } = definitionsOf('http://127.0.0.1:9');
  before(async () => {
    const real = definitionsOf(origin.address);
    watching = await startGateway({ marble: real.marble, graticule: real.graticule }, ['--watch']);
  });
  after(() => watching?.stop());

  it('is seen to list other sources', async () => {
    const map = await MapPage.open(browser, watching.address, '#3/31/116&left=marble');
    const real = definitionsOf(origin.address);
    assert.equal(await map.text('.card-name'), marble.name);
    await watching.define('marble', { ...real.marble, name: 'Another marble', attribution: 'Somebody else' });
    await map.page.waitForFunction(async () => (await (await fetch('/sources.json', { cache: 'no-store' })).text()).includes('Another marble'));
    // As when the page's tab is come back to.
    await map.page.evaluate(() => document.dispatchEvent(new Event('visibilitychange')));
    await map.page.waitForFunction(() => document.querySelector('.card-name').textContent === 'Another marble');
    assert.deepEqual(await map.page.locator('#sources .source-name').evaluateAll((names) => names.map((name) => name.firstChild.textContent)),
      ['Another marble', graticule.name]);
    assert.equal(await map.text('#credits'), 'Somebody else');
    assert.deepEqual(map.faults, []);
    await map.close();
  });
});
