// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { after, before, describe, it } from 'node:test';
import { MapPage } from '../support/browser.mjs';
import { startGateway } from '../support/programs.mjs';
import { definitionsOf } from '../support/sources.mjs';
import { startWorld } from '../support/world.mjs';

const world = startWorld();

describe('a gateway that watches its definitions', () => {
  let watching;
  const { marble, graticule } = definitionsOf('http://127.0.0.1:9');
  before(async () => {
    const real = definitionsOf(world.origin.address);
    watching = await startGateway({ marble: real.marble, graticule: real.graticule }, ['--watch']);
  });
  after(() => watching?.stop());

  it('is seen to list other sources', async () => {
    const map = await MapPage.open(world.browser, watching.address, '#3/31/116&left=marble');
    const real = definitionsOf(world.origin.address);
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
