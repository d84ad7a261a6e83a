// SPDX-License-Identifier: MIT
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { decodePng } from './png.mjs';

const require = createRequire(join(process.env.KXTILE_PAGE_TOOLS, 'package.json'));
const { chromium } = require('playwright-core');

export const kLaptop = { viewport: { width: 1366, height: 768 } };
export const kPhone = { viewport: { width: 390, height: 844 }, deviceScaleFactor: 1, hasTouch: true, isMobile: true };

export function launch() {
  // As root, which containers often are, Chromium runs only without its sandbox.
  return chromium.launch({ executablePath: process.env.CHROMIUM_PROGRAM, args: ['--no-sandbox'] });
}

const kPatienceMs = 20000;

/**
 * Asks again and again until an answer is what is waited for. (The page's own waitForFunction takes
 * the promise of an answer for one.)
 */
export async function until(condition) {
  const end = Date.now() + kPatienceMs;
  while (!await condition()) {
    if (Date.now() > end) throw new Error(`waited in vain for ${condition}`);
    await new Promise(setImmediate);
  }
}

/** A page of the gateway, with what goes wrong on it. */
export class MapPage {
  /**
   * @param {import('playwright-core').Browser} browser
   * @param {string} address  of the gateway
   * @param {object} options  of the browser's context
   */
  static async open(browser, address, hash = '', options = kLaptop) {
    const context = await browser.newContext(options);
    const made = new MapPage(await context.newPage(), address);
    await made.page.goto(`${address}/${hash}`);
    await made.page.waitForSelector('body[data-state="ready"]');
    await made.settle();
    return made;
  }

  constructor(page, address) {
    this.page = page;
    this.address = address;
    /** Errors and warnings of the console, exceptions, dialogs. */
    this.faults = [];
    this.requests = [];
    page.setDefaultTimeout(20000);
    page.on('console', (message) => {
      if (['error', 'warning'].includes(message.type())) this.faults.push(`${message.text()} ${message.location().url}`);
    });
    page.on('pageerror', (error) => this.faults.push(String(error.stack)));
    page.on('dialog', (dialog) => {
      this.faults.push(`dialog: ${dialog.message()}`);
      dialog.dismiss();
    });
    page.on('request', (request) => this.requests.push(request.url()));
  }

  /** Waits until the map has drawn what it was told, and every tile of it has come or failed. */
  async settle() {
    await this.page.evaluate(() => new Promise((resolve) => {
      requestAnimationFrame(() => requestAnimationFrame(resolve));
    }));
    await this.page.waitForSelector('#map[aria-busy="false"]');
  }

  async choose(name) {
    await this.page.locator('#sources .source', { hasText: name }).first().click();
    await this.settle();
  }

  hash() {
    return this.page.evaluate(() => location.hash);
  }

  /** Waits until the address bar says something. */
  waitForHash(pattern) {
    return this.page.waitForFunction((source) => new RegExp(source).test(location.hash), pattern.source);
  }

  async goTo(text) {
    await this.page.fill('#goto-input', text);
    await this.page.press('#goto-input', 'Enter');
    await this.settle();
  }

  /** Where the map lies on the page. */
  frame() {
    return this.page.locator('#map').boundingBox();
  }

  /** The map's pixels as they are seen, without what floats over it. */
  async pixels({ overlays = true } = {}) {
    const hidden = ['.map-foot', '.notices', '.progress', '.place-fault', '.swipe', '.swipe-line', '.swipe-label'];
    if (!overlays) hidden.push('.overlay-graticule', '.overlay-degrees', '.overlay-tiles', '.overlay-marks');
    // Not by a style sheet, which the page's own policy would refuse; and so that nothing loses the focus.
    const show = (opacity) => this.page.locator(hidden.join()).evaluateAll((elements, value) => {
      for (const element of elements) element.style.setProperty('opacity', value);
    }, opacity);
    await show('0');
    const picture = await this.page.locator('#map').screenshot();
    await show('');
    return decodePng(picture);
  }

  async text(selector) {
    return (await this.page.textContent(selector)).trim();
  }

  close() {
    return this.page.context().close();
  }
}

/** Where a place lies on the map: pixels from its left and upper edge. By the formula of the tiling. */
export function pixelOf(lon, lat, { center, zoom }, { width, height }) {
  const world = 256 * 2 ** zoom;
  const row = (degrees) => {
    const radians = (degrees * Math.PI) / 180;
    return ((1 - Math.log(Math.tan(radians) + 1 / Math.cos(radians)) / Math.PI) / 2) * world;
  };
  return [width / 2 + ((lon - center[0]) / 360) * world, height / 2 + row(lat) - row(center[1])];
}

/** Red, green, blue at a place of the map. */
export async function colourAt(map, lon, lat, view, options) {
  const pixels = await map.pixels(options);
  const [x, y] = pixelOf(lon, lat, view, pixels);
  return pixels.at(Math.floor(x), Math.floor(y));
}
