// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { colourAt } from '../support/browser.mjs';
import { kBlueDay } from '../support/sources.mjs';
import { isBadAnswer, startWorld } from '../support/world.mjs';

const world = startWorld();
const { on, served } = world;

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
  }, { allowed: isBadAnswer }));

  it('gives other programs the day that is shown, or nothing', () => on(`#5/31/116&left=past~~${kBlueDay}`, async (map) => {
    await map.page.keyboard.press('u');
    for (const client of ['qgis', 'gdal', 'leaflet', 'openlayers']) {
      await map.page.click(`[data-key="client-${client}"]`);
      const texts = await map.page.locator('.copy-block code').allTextContents();
      assert.ok(texts.length && texts.every((text) => text.includes(`?date=${kBlueDay}`)), texts.join('\n'));
    }
  }));
});
