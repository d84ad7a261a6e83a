// SPDX-License-Identifier: MIT
// The page on a phone, in the dark, and by keyboard.
import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { kLaptop, kPhone } from '../support/browser.mjs';
import { startWorld } from '../support/world.mjs';

const { on } = startWorld();

/** Everything to be clicked that is visible, with where it is. */
const controls = (page) => page.locator('button:visible, input:visible, a:visible').evaluateAll((elements) =>
  elements.filter((element) => element.checkVisibility({ visibilityProperty: true })).map((element) => {
    const { left, top, right, bottom } = element.getBoundingClientRect();
    const name = [element.getAttribute('aria-label'), element.textContent, element.labels?.[0]?.textContent]
      .find((text) => text?.trim()) ?? '';
    return { name, left, top, right, bottom, scrolls: Boolean(element.closest('.source-list, .drawer-body, .sides')), skip: element.id === 'skip' };
  }));

async function assertNothingSticksOut(map) {
  const { width, height } = map.page.viewportSize();
  const page = await map.page.evaluate(() => [document.documentElement.scrollWidth, document.documentElement.scrollHeight]);
  assert.deepEqual(page, [width, height]);
  for (const { name, left, top, right, bottom, scrolls, skip } of await controls(map.page)) {
    assert.ok(name, 'every control has a name');
    if (skip) continue;
    assert.ok(left >= 0 && right <= width, `${name}: ${left} to ${right} of ${width}`);
    if (!scrolls) assert.ok(top >= 0 && bottom <= height, `${name}: ${top} to ${bottom} of ${height}`);
  }
}

/** The contrast of a text with what is behind it, as the accessibility guidelines define it. */
const contrastOf = (page, selector) => page.locator(selector).first().evaluate((element) => {
  const channels = (colour) => colour.match(/[\d.]+/g).map(Number);
  const light = (rgb) => {
    const [r, g, b] = rgb.slice(0, 3).map((value) => value / 255)
      .map((value) => (value <= 0.04045 ? value / 12.92 : ((value + 0.055) / 1.055) ** 2.4));
    return 0.2126 * r + 0.7152 * g + 0.0722 * b;
  };
  let ground = element;
  while (ground && (channels(getComputedStyle(ground).backgroundColor)[3] ?? 1) === 0) ground = ground.parentElement;
  const [a, b] = [getComputedStyle(element).color, getComputedStyle(ground ?? document.body).backgroundColor]
    .map((colour) => light(channels(colour)));
  return (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
});

const kTexts = ['.source-name', '.tag', '.source-credit', '.credit', '.facts', '.tool', '.coordinates dt', '#at-wgs84', '#search', '.count'];

describe('a phone', () => {
  it('has every control in view', () => on('#4/31/116&left=marble&right=graticule&show=graticule', async (map) => {
    await assertNothingSticksOut(map);
    const frame = await map.frame();
    assert.ok(frame.height > 500, `the map has ${frame.height} pixels`);
  }, { options: kPhone }));

  it('opens the sources over the map, and shows the chosen one', () => on('#4/31/116&left=marble', async (map) => {
    await map.page.tap('#open-sources');
    await map.page.waitForSelector('#sidebar.shown');
    await map.page.locator('#sidebar').evaluate((sheet) => Promise.all(sheet.getAnimations().map((animation) => animation.finished)));
    await assertNothingSticksOut(map);
    await map.page.locator('#sources .source', { hasText: 'Shifted' }).tap();
    await map.waitForHash(/left=shifted/);
    await map.page.tap('#close-sources');
    await map.page.waitForSelector('#sidebar:not(.shown)', { state: 'attached' });
  }, { options: kPhone }));

  it('holds the place that is tapped, with its coordinates on three datums', () => on('#4/31/116&left=marble', async (map) => {
    const { x, y } = await map.frame();
    await map.page.touchscreen.tap(x + 100, y + 200);
    await map.page.waitForSelector('#coordinates.held:not(.waiting)');
    for (const datum of ['wgs84', 'gcj02', 'bd09'])
      assert.match(await map.page.locator(`#at-${datum}`).innerText(), /^-?\d+\.\d{6}, -?\d+\.\d{6}$/);
    await map.settle();
    await assertNothingSticksOut(map);
  }, { options: kPhone }));

  it('has room for the drawer', () => on('#4/31/116&left=marble', async (map) => {
    for (const name of ['extent', 'use', 'keys']) {
      await map.page.tap(`#open-${name}`);
      await map.page.waitForSelector('#drawer:not([hidden])');
      await assertNothingSticksOut(map);
      await map.page.tap('#drawer-close');
    }
  }, { options: kPhone }));
});

describe('laptops', () => {
  for (const width of [800, 1024, 1280, 1920]) {
    it(`of ${width} pixels have every control in view`, () =>
      on('#4/31/116&left=shifted&right=past&show=tiles', async (map) => {
        await assertNothingSticksOut(map);
        await map.page.click('#open-extent');
        await assertNothingSticksOut(map);
      }, { options: { viewport: { width, height: 720 } } }));
  }
});

describe('light and dark', () => {
  for (const colorScheme of ['light', 'dark']) {
    it(`${colorScheme} texts can be read`, () => on('#4/31/116&left=marble', async (map) => {
      for (const selector of kTexts) {
        const contrast = await contrastOf(map.page, selector);
        assert.ok(contrast >= 4.5, `${selector}: ${contrast.toFixed(2)}`);
      }
      const ground = await map.page.locator('.sidebar').evaluate((element) => getComputedStyle(element).backgroundColor);
      const brightness = ground.match(/\d+/g).slice(0, 3).reduce((sum, value) => sum + Number(value), 0) / 3;
      assert.equal(brightness < 64, colorScheme === 'dark', ground);
    }, { options: { ...kLaptop, colorScheme } }));
  }
});

describe('the keyboard', () => {
  const focused = (map) => map.page.evaluate(() => document.activeElement.id || document.activeElement.dataset.key || document.activeElement.className);

  it('reaches everything in the order of reading', () => on('#4/31/116&left=shifted', async (map) => {
    const order = [];
    for (let i = 0; i < 60 && order.at(-1) !== 'zoom-out'; ++i) {
      await map.page.keyboard.press('Tab');
      order.push(await focused(map));
    }
    const wanted = ['skip', 'search', 'marble', 'shifted', 'goto-input', 'toggle-swipe', 'toggle-graticule', 'toggle-tiles',
      'open-extent', 'open-use', 'open-keys', 'map', 'zoom-in', 'zoom-out'];
    assert.deepEqual(order.filter((name) => wanted.includes(name)), wanted);
  }));

  it('searches, chooses and goes on without a mouse', () => on('#4/31/116&left=marble', async (map) => {
    await map.page.keyboard.press('/');
    assert.equal(await focused(map), 'search');
    await map.page.keyboard.type('graticule');
    await map.page.keyboard.press('ArrowDown');
    await map.page.keyboard.press('ArrowDown');
    await map.page.keyboard.press('Enter');
    await map.waitForHash(/left=shifted/);
    assert.equal(await focused(map), 'shifted');
    await map.page.keyboard.press('g');
    assert.equal(await focused(map), 'goto-input');
    await map.page.keyboard.type('7/100/50');
    await map.page.keyboard.press('Enter');
    await map.waitForHash(/#7\//);
    assert.equal(await focused(map), 'map');
    await map.page.keyboard.press('+');
    await map.waitForHash(/#8\//);
  }));

  it('toggles by letters, but not while one types', () => on('#4/31/116&left=marble', async (map) => {
    await map.page.keyboard.press('l');
    await map.waitForHash(/show=graticule/);
    await map.page.keyboard.press('t');
    await map.waitForHash(/show=graticule,tiles/);
    await map.page.focus('#search');
    await map.page.keyboard.type('lt?');
    assert.equal(await map.page.inputValue('#search'), 'lt?');
    assert.match(await map.hash(), /show=graticule,tiles/);
    assert.ok(await map.page.isHidden('#drawer'));
  }));

  it('lists every key, and gives the focus back on Escape', () => on('#4/31/116&left=marble', async (map) => {
    await map.page.focus('#open-keys');
    await map.page.keyboard.press('?');
    await map.page.waitForSelector('#drawer:not([hidden])');
    assert.equal(await focused(map), 'drawer-title');
    const keys = await map.page.locator('.keys kbd').allTextContents();
    for (const key of ['/', 'g', 'm', 's', 'x', 'l', 't', 'e', 'u', 'r', '?', 'Esc']) assert.ok(keys.includes(key), key);
    await map.page.keyboard.press('Escape');
    await map.page.waitForSelector('#drawer', { state: 'hidden' });
    assert.equal(await focused(map), 'open-keys');
  }));
});
