// SPDX-License-Identifier: MIT
// What most tests of the page begin with: kxorigin, a gateway of its sources, and a browser.
import assert from 'node:assert/strict';
import { after, before } from 'node:test';
import { kLaptop, launch, MapPage } from './browser.mjs';
import { startGateway, startOrigin } from './programs.mjs';
import { definitionsOf } from './sources.mjs';

/** Whether a fault is the browser's line about an answer with a status that is meant to be. */
export const isBadAnswer = (fault) => /the server responded with a status of 50\d/.test(fault);

/**
 * Starts them before the tests of a file and ends them behind these.
 * @returns {{origin: object, gateway: object, browser: object}} filled once the tests run
 */
export function startWorld() {
  const world = {
    origin: null,
    gateway: null,
    browser: null,
    /** Opens the page at an address' hash. */
    open: (hash, options = kLaptop) => MapPage.open(world.browser, world.gateway.address, hash, options),
    /**
     * Opens the page, runs, and finds that nothing went wrong on it.
     * @param {string} hash
     * @param {(map: MapPage) => Promise<void>} run
     * @param {{options?: object, allowed?: (fault: string) => boolean}} [more]  options of the
     *        browser's context; faults that are meant to be
     */
    async on(hash, run, { options = kLaptop, allowed = () => false } = {}) {
      const map = await world.open(hash, options);
      try {
        await run(map);
        assert.deepEqual(map.faults.filter((fault) => !allowed(fault)), []);
      } finally {
        await map.close();
      }
    },
    served: async (path) => (await fetch(world.gateway.address + path)).json(),
  };
  before(async () => {
    world.origin = await startOrigin();
    world.gateway = await startGateway(definitionsOf(world.origin.address));
    world.browser = await launch();
  });
  after(async () => {
    await world.browser?.close();
    await world.gateway?.stop();
    await world.origin?.stop();
  });
  return world;
}
