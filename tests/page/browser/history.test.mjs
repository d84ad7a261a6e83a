// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { colourAt, kPhone } from '../support/browser.mjs';
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
    assert.equal(await map.page.inputValue('.date-list'), kBlueDay);
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
    await noted(' days here, ');
  }, { allowed: isBadAnswer }));

  /** Lets a place have these days, whatever the service says. */
  const serveDays = (map, dates) =>
    map.page.route('**/dates.json*', (route) => route.fulfill({ contentType: 'application/json', body: JSON.stringify({ dates }) }));

  /** A day of every month, and of the last two years of every week. */
  const kDense = [
    ...Array.from({ length: 120 }, (_, i) => new Date(Date.UTC(2010, i, 3))),
    ...Array.from({ length: 104 }, (_, i) => new Date(Date.UTC(2020, 0, 6 + 7 * i))),
  ].map((date) => date.toISOString().slice(0, 10));

  it('finds one of hundreds of days in a list by year', () => on('#5/31/116&left=marble', async (map) => {
    await serveDays(map, kDense);
    await map.choose('Imagery of the past');
    await waitForDays(map, kDense.length);
    const years = await map.page.locator('.date-list optgroup').evaluateAll((groups) => groups.map(({ label }) => label));
    assert.deepEqual(years, Array.from({ length: 12 }, (_, i) => String(2021 - i)));
    const newest = await map.page.locator('.date-list optgroup').first().locator('option').first().textContent();
    assert.equal(newest, kDense.at(-1));
    await map.page.selectOption('.date-list', '2013-05-03');
    await map.waitForHash(/left=past~~2013-05-03/);
    assert.equal(await map.page.inputValue('.dates input'), String(kDense.indexOf('2013-05-03')));
    await map.page.selectOption('.date-list', { label: 'Current' });
    await map.page.waitForFunction(() => !location.hash.includes('~~'));
  }));

  it('steps by keys on the slider, far and near, as one entry of the back button', () => on('#5/31/116&left=marble', async (map) => {
    await serveDays(map, kDense);
    await map.choose('Imagery of the past');
    await waitForDays(map, kDense.length);
    const before = await map.page.evaluate(() => history.length);
    await map.page.focus('.dates input');
    const wait = (index) => map.waitForHash(new RegExp(`left=past~~${kDense[index]}`));
    await map.page.keyboard.press('ArrowLeft');
    await wait(kDense.length - 1);
    await map.page.keyboard.press('ArrowLeft');
    await wait(kDense.length - 2);
    assert.equal(await map.page.getAttribute('.dates input', 'aria-valuetext'), kDense.at(-2));
    await map.page.keyboard.press('Home');
    await wait(0);
    await map.page.keyboard.press('End');
    await map.page.waitForFunction(() => !location.hash.includes('~~'));
    assert.equal(await map.page.getAttribute('.dates input', 'aria-valuetext'), 'Current');
    assert.equal(await map.page.evaluate(() => history.length), before + 1);
  }));

  it('says which picture is near a day without one, and steps to it', () => on('#5/31/116&left=marble', async (map) => {
    await serveDays(map, ['2012-03-04', '2014-05-06']);
    await map.page.evaluate(() => { location.hash = '#5/31/116&left=past~~2013-01-01'; });
    const noted = (words) => map.page.waitForFunction((text) => document.querySelector('.date-note')?.textContent === text, words);
    await noted('No picture of 2013-01-01 here; the one before is of 2012-03-04.');
    await map.page.click('[aria-label="Earlier picture"]');
    await map.waitForHash(/left=past~~2012-03-04/);
    assert.ok(await map.page.isDisabled('[aria-label="Earlier picture"]'));
    await map.page.evaluate(() => { location.hash = '#5/31/116&left=past~~2013-01-01'; });
    await noted('No picture of 2013-01-01 here; the one before is of 2012-03-04.');
    await map.page.click('[aria-label="Later picture"]');
    await map.waitForHash(/left=past~~2014-05-06/);
    await map.page.evaluate(() => { location.hash = '#5/31/116&left=past~~2011-01-01'; });
    await noted('No picture of 2011-01-01 here; the first is of 2012-03-04.');
    assert.ok(await map.page.isDisabled('[aria-label="Earlier picture"]'));
    await map.page.click('[aria-label="Later picture"]');
    await map.waitForHash(/left=past~~2012-03-04/);
  }));

  it('is stepped from anywhere by keys of its own', () => on('#5/31/116&left=past', async (map) => {
    const { dates } = await served('/past/dates.json?at=116,31&zoom=5');
    dates.sort();
    await waitForDays(map, dates.length);
    await map.page.keyboard.press(',');
    await map.waitForHash(new RegExp(`left=past~~${dates.at(-1)}`));
    await map.page.keyboard.press('.');
    await map.page.waitForFunction(() => !location.hash.includes('~~'));
  }));

  it('says so where there are no days, and offers nothing that does nothing', () => on('#5/31/116&left=marble', async (map) => {
    await serveDays(map, []);
    await map.choose('Imagery of the past');
    await map.page.waitForFunction(() => document.querySelector('.date-note').textContent.startsWith('No earlier pictures'));
    for (const selector of ['.dates input', '.date-list', '.dates button'])
      assert.ok(await map.page.locator(selector).first().isHidden(), selector);
  }));

  it('lets go of a day that a place without days is come to with', () => on(`#5/31/116&left=marble`, async (map) => {
    await serveDays(map, []);
    await map.page.evaluate((day) => { location.hash = `#5/31/116&left=past~~${day}`; }, kBlueDay);
    await map.page.waitForFunction(() => document.querySelector('.date-note')?.textContent.startsWith('No earlier pictures'));
    assert.equal(await map.page.inputValue('.date-list'), kBlueDay);
    await map.page.click('[aria-label="Later picture"]');
    await map.page.waitForFunction(() => !location.hash.includes('~~'));
    assert.ok(await map.page.locator('.date-list').isHidden());
  }));

  it('stands below the map on a phone, where both are seen', () => on('#5/31/116&left=past', async (map) => {
    const boxes = async () => {
      await map.page.waitForSelector('#map-dates .dates input:not([max="0"])');
      return [await map.page.locator('#map-dates').boundingBox(), await map.frame()];
    };
    const [slider, frame] = await boxes();
    assert.ok(slider.y >= frame.y + frame.height - 1 && slider.y + slider.height <= kPhone.viewport.height);
    // While the days of another place are looked for, the map stays as large as it is.
    await map.page.evaluate(() => {
      const shown = document.querySelector('#map');
      window.heights = new Set();
      new ResizeObserver(() => window.heights.add(shown.offsetHeight)).observe(shown);
    });
    await map.page.focus('#map');
    await map.page.keyboard.press('ArrowRight');
    await map.page.waitForSelector('#map-dates .dates input[max="0"]');
    await boxes();
    assert.deepEqual(await map.page.evaluate(() => [...window.heights]), [frame.height]);
    await map.page.tap('#map-dates [aria-label="Earlier picture"]');
    await map.waitForHash(/left=past~~2/);
  }, { options: kPhone }));

  it('gives other programs the day that is shown, or nothing', () => on(`#5/31/116&left=past~~${kBlueDay}`, async (map) => {
    await map.page.keyboard.press('u');
    for (const client of ['qgis', 'gdal', 'leaflet', 'openlayers']) {
      await map.page.click(`[data-key="client-${client}"]`);
      const texts = await map.page.locator('.copy-block code').allTextContents();
      assert.ok(texts.length && texts.every((text) => text.includes(`?date=${kBlueDay}`)), texts.join('\n'));
    }
  }));
});
