// SPDX-License-Identifier: MIT
// The page on a phone, in the dark, and by keyboard.
import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { kLaptop, kPhone } from '../support/browser.mjs';
import { startWorld } from '../support/world.mjs';

const { on } = startWorld();

/** Everything to be clicked that is visible, with where it is. */
const controls = (page) => page.locator('button:visible, input:visible, select:visible, a:visible').evaluateAll((elements) =>
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

  it('that lies has every control in view, and a map', () => on('#4/31/116&left=past&right=graticule&show=graticule,tiles', async (map) => {
    await map.page.waitForSelector('#map-dates .dates input:not([max="0"])');
    await assertNothingSticksOut(map);
    const frame = await map.frame();
    assert.ok(frame.height > 200 && frame.width === 844, `${frame.width} x ${frame.height}`);
    await map.page.tap('#open-extent');
    await assertNothingSticksOut(map);
  }, { options: { ...kPhone, viewport: { width: 844, height: 390 } } }));

  it('opens the sources over the map, and shows the chosen one', () => on('#4/31/116&left=marble', async (map) => {
    await map.page.tap('#open-sources');
    await map.page.waitForSelector('#sidebar.shown');
    await map.page.locator('#sidebar').evaluate((sheet) => Promise.all(sheet.getAnimations().map((animation) => animation.finished)));
    await assertNothingSticksOut(map);
    await map.page.locator('#sources .source', { hasText: 'Shifted' }).tap();
    await map.waitForHash(/left=shifted/);
    await map.page.waitForSelector('#sidebar:not(.shown)', { state: 'attached' });
    assert.equal(await map.text('#shown-name'), 'Shifted graticule');
  }, { options: kPhone }));

  it('reaches nothing that the sources cover, and goes back to the map on Escape', () => on('#4/31/116&left=marble', async (map) => {
    await map.page.tap('#open-sources');
    const inside = () => map.page.evaluate(() => document.activeElement === document.body || Boolean(document.activeElement.closest('#sidebar')));
    for (let i = 0; i < 40; ++i) {
      await map.page.keyboard.press('Tab');
      assert.ok(await inside());
    }
    await map.page.keyboard.press('Escape');
    await map.page.waitForSelector('#sidebar:not(.shown)', { state: 'attached' });
    assert.equal(await map.page.evaluate(() => document.activeElement.id), 'open-sources');
    await map.page.focus('#map');
  }, { options: kPhone }));

  for (const [name, prepare] of Object.entries({
    map: async () => {},
    'map with a pinned place': async (map) => {
      const { x, y } = await map.frame();
      await map.page.touchscreen.tap(x + 100, y + 100);
      await map.page.waitForSelector('#coordinates.held');
    },
    'list of sources': (map) => map.page.tap('#open-sources'),
    commands: (map) => map.page.tap('#open-extent'),
    'texts for other programs': (map) => map.page.tap('#open-use'),
  })) {
    it(`has controls for fingers: ${name}`, () => on('#4/31/116&left=shifted&right=past&split=40&show=tiles', async (map) => {
      await map.page.waitForSelector('#map-dates .dates input:not([max="0"])');
      await prepare(map);
      // Links stand in texts; what scrolls is looked at as it is.
      const small = await map.page.locator('button:visible, input:visible, select:visible, .grip:visible').evaluateAll((elements) =>
        elements.filter((element) => element.checkVisibility({ visibilityProperty: true, opacityProperty: true })).map((element) => {
          const { width, height } = element.getBoundingClientRect();
          return [element.getAttribute('aria-label') ?? element.textContent, width, height];
        }).filter(([, width, height]) => width < 40 || height < 40));
      assert.deepEqual(small, []);
    }, { options: { ...kPhone, viewport: { width: 360, height: 640 } } }));
  }

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
    assert.ok(await map.page.isHidden('#open-keys'), 'fingers have no keys');
    for (const name of ['extent', 'use']) {
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

  it('shows where it is, on everything that it reaches', () => on('#4/31/116&left=shifted&right=past', async (map) => {
    await map.page.waitForSelector('.dates input:not([max="0"])');
    await map.page.keyboard.press('e');
    await map.page.waitForSelector('#drawer:not([hidden])');
    await map.page.evaluate(() => document.activeElement.blur());
    const seen = new Set();
    for (let i = 0; i < 90; ++i) {
      await map.page.keyboard.press('Tab');
      const { key, ring } = await map.page.evaluate(() => {
        const element = document.activeElement;
        const shown = element.id === 'swipe' ? element.querySelector('.grip') : element;
        const { outlineStyle, outlineWidth } = getComputedStyle(shown);
        return {
          key: element.id || element.dataset.key || element.textContent || element.getAttribute('aria-label'),
          ring: element === document.body || element.id === 'drawer-title' || (outlineStyle !== 'none' && parseFloat(outlineWidth) >= 1),
        };
      });
      assert.ok(ring, `${key} shows no focus`);
      seen.add(key);
    }
    for (const key of ['swipe', 'left-Raw', 'right-date', 'right-day', 'zoom-in', 'drawer-close', 'From level', 'Copy: kxtile mosaic'])
      assert.ok(seen.has(key), key);
  }));

  it('reaches every function by a key', () => on('#5/31/116&left=shifted', async (map) => {
    await map.page.keyboard.press('a');
    await map.waitForHash(/left=shifted~raw/);
    await map.page.keyboard.press('a');
    await map.page.waitForFunction(() => !location.hash.includes('raw'));
    await map.page.keyboard.press('s');
    await map.waitForHash(/right=shifted~raw/);
    await map.page.keyboard.press('x');
    await map.waitForHash(/left=shifted~raw&right=shifted&/);
    await map.page.context().grantPermissions(['clipboard-read', 'clipboard-write']);
    await map.page.keyboard.press('c');
    await map.page.waitForFunction(() => document.querySelector('#announcer').textContent === 'Copied.');
    assert.equal(await map.page.evaluate(() => navigator.clipboard.readText()), '116.000000, 31.000000');
  }));

  it('closes one thing after the other by Escape', () => on('#4/31/116&left=marble', async (map) => {
    await map.page.fill('#search', 'graticule');
    await map.page.keyboard.press('Escape');
    assert.equal(await map.page.inputValue('#search'), '');
    assert.equal(await focused(map), 'search');
    await map.goTo('116.4, 39.9');
    await map.page.waitForSelector('#coordinates.held');
    for (const key of ['e', 'u', '?']) {
      await map.page.keyboard.press(key);
      await map.page.waitForSelector('#drawer:not([hidden])');
      await map.page.keyboard.press('Escape');
      await map.page.waitForSelector('#drawer', { state: 'hidden' });
      assert.ok(await map.page.isVisible('#coordinates.held'));
    }
    await map.page.keyboard.press('Escape');
    await map.page.waitForSelector('#coordinates:not(.held)');
  }));

  it('lists every key, and gives the focus back on Escape', () => on('#4/31/116&left=marble', async (map) => {
    await map.page.focus('#open-keys');
    await map.page.keyboard.press('?');
    await map.page.waitForSelector('#drawer:not([hidden])');
    assert.equal(await focused(map), 'drawer-title');
    const keys = await map.page.locator('.keys kbd').allTextContents();
    for (const key of ['/', 'g', 'm', 's', 'x', 'l', 't', 'e', 'u', 'r', 'a', ',', '.', 'c', '?', 'Esc']) assert.ok(keys.includes(key), key);
    await map.page.keyboard.press('Escape');
    await map.page.waitForSelector('#drawer', { state: 'hidden' });
    assert.equal(await focused(map), 'open-keys');
  }));
});

describe('who wants nothing to move by itself', () => {
  const options = { ...kLaptop, reducedMotion: 'reduce' };

  it('has a map that is at another level at once', () => on('#4/31/116&left=marble', async (map) => {
    const levels = await map.page.evaluate(async () => {
      const seen = [];
      document.querySelector('#zoom-in').click();
      document.querySelector('#map').focus();
      for (let i = 0; i < 4; ++i) {
        await new Promise(requestAnimationFrame);
        seen.push(document.querySelector('#zoom-level').textContent);
      }
      return seen;
    });
    assert.equal(levels.at(-1), '5', String(levels));
  }, { options }));

  it('sees no transition and no animation', () => on('#4/31/116&left=marble', async (map) => {
    const moving = await map.page.locator('*').evaluateAll((elements) => elements.flatMap((element) => ['', '::before', '::after'].filter((part) => {
      const { animationName, transitionDuration } = getComputedStyle(element, part || null);
      return animationName !== 'none' || transitionDuration !== '0s';
    }).map((part) => element.className + part)));
    assert.deepEqual(moving, []);
  }, { options }));
});
