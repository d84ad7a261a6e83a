// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { mkdtemp, readdir, readFile, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { describe, it } from 'node:test';
import { MapPage } from '../support/browser.mjs';
import { decodePng } from '../support/png.mjs';
import { kxtile, startGateway } from '../support/programs.mjs';
import { kBlueDay } from '../support/sources.mjs';
import { startWorld } from '../support/world.mjs';

const world = startWorld();
const { on } = world;

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
      env: { ...process.env, KXTILE_CACHE_DIR: `${world.gateway.folder}/count` },
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

  it('make a file of every form', () => on('#7/47/8&left=marble', (map) => inFolder(async (folder) => {
    await map.page.keyboard.press('e');
    await map.page.fill('[data-key="to level"]', '7');
    await map.page.keyboard.press('Tab');
    const kBeginnings = { mbtiles: 'SQLite format 3', pmtiles: 'PMTiles', tif: 'II' };
    for (const [form, beginning] of Object.entries(kBeginnings)) {
      await map.page.click(`[data-key="form-${form}"]`);
      await map.page.waitForFunction((end) => document.querySelector('[aria-label="kxtile export"]').textContent.endsWith(end), `marble-cut.${form}`);
      paste(await map.text('[aria-label="kxtile export"]'), folder);
      const bytes = await readFile(join(folder, `marble-cut.${form}`));
      assert.equal(bytes.toString('latin1', 0, beginning.length), beginning);
    }
  })));

  it('say that the gateway is asked', () => on('#7/47/8&left=marble', async (map) => {
    await map.page.keyboard.press('e');
    assert.match(await map.text('.keep-running'), /ask this gateway for the tiles: leave kxtile serve running/);
  }));

  /** What the panel of a gateway with one raster says, with the command for the file itself. */
  async function textsOf(address) {
    const map = await MapPage.open(world.browser, address, '#7/46.5/8.5');
    try {
      await map.page.keyboard.press('e');
      await map.page.waitForSelector('[aria-label="kxtile mosaic of the file"]');
      await map.page.fill('[data-key="to level"]', '7');
      await map.page.keyboard.press('Tab');
      await map.page.waitForFunction(() => document.querySelector('[aria-label="kxtile files"]').textContent.includes('--levels 7 '));
      assert.deepEqual(map.faults, []);
      return { ...await panelOf(map), ofFile: await map.text('[aria-label="kxtile mosaic of the file"]') };
    } finally {
      await map.close();
    }
  }

  it('run for a raster whose name a shell would take apart', () => inFolder(async (folder) => {
    const name = "-it's $(a) map; of *.mbtiles";
    execFileSync(kxtile, ['export', `${world.gateway.address}/marble/{$z}/{$x}/{$y}.png`, '--bounds', '5,44,12,49', '--levels', '0-7',
      '-o', join(folder, name)], { env: { ...process.env, KXTILE_CACHE_DIR: join(folder, 'cache') }, stdio: 'pipe' });
    const gateway = await startGateway({}, [join(folder, name)]);
    let texts;
    try {
      texts = await textsOf(gateway.address);
      await inFolder(async (other) => {
        for (const command of [texts.files, texts.export, texts.mosaic]) paste(command, other);
        const made = await readdir(other, { recursive: true });
        assert.equal(made.filter((path) => /-tiles\/.*\.(png|jpe?g)$/.test(path)).length, texts.total);
        const picture = decodePng(await readFile(join(other, made.find((path) => path.endsWith('-cut.png')))));
        assert.deepEqual(texts.size, [picture.width, picture.height]);
      });
    } finally {
      await gateway.stop();
    }
    // The file itself is read where it lies, and without the gateway.
    paste(texts.ofFile, folder);
    const [made] = (await readdir(folder)).filter((path) => path.endsWith('.png'));
    const picture = decodePng(await readFile(join(folder, made)));
    assert.deepEqual(texts.size, [picture.width, picture.height]);
  }));

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
    await map.page.fill('[data-key="to level"]', '11'); // at once: the map may move meanwhile
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
    await map.page.context().grantPermissions(['clipboard-read', 'clipboard-write'], { origin: world.gateway.address });
    await map.page.keyboard.press('u');
    await map.page.click('[aria-label="Copy: XYZ connection"]');
    await map.page.waitForFunction(() => document.querySelector('#announcer').textContent === 'Copied.');
    assert.equal(await map.page.evaluate(() => navigator.clipboard.readText()), `${world.gateway.address}/marble/{z}/{x}/{y}.png`);
  }));

  /** As on a page that is neither on loopback nor on TLS. */
  const takeClipboard = (map) => map.page.evaluate(() =>
    Object.defineProperty(navigator, 'clipboard', { value: undefined, configurable: true }));

  it('are copied where the clipboard cannot be asked', () => on('#4/47/8&left=marble', async (map) => {
    await takeClipboard(map);
    await map.page.keyboard.press('u');
    await map.page.click('[aria-label="Copy: XYZ connection"]');
    await map.page.waitForFunction(() => document.querySelector('#announcer').textContent === 'Copied.');
    await map.page.focus('#search');
    await map.page.keyboard.press('Control+v');
    assert.equal(await map.page.inputValue('#search'), `${world.gateway.address}/marble/{z}/{x}/{y}.png`);
  }));

  it('are selected where the browser lets no page copy', () => on('#4/47/8&left=marble', async (map) => {
    await takeClipboard(map);
    await map.page.evaluate(() => { document.execCommand = () => false; });
    await map.page.keyboard.press('u');
    const selected = () => map.page.evaluate(() => getSelection().toString().trim());
    await map.page.click('[aria-label="Copy: XYZ connection"]');
    await map.page.waitForSelector('.copy-hint:visible');
    assert.equal(await selected(), `${world.gateway.address}/marble/{z}/{x}/{y}.png`);
    assert.match(await map.text('.copy-hint'), /^Selected\. Press /);
    assert.match(await map.text('#announcer'), /^Selected\. Press /);
    await map.page.click('[aria-label="Copy WGS 84"]');
    assert.equal(await selected(), await map.text('#at-wgs84'));
  }));
});
