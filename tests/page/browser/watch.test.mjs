// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { after, before, describe, it } from 'node:test';
import { MapPage, until } from '../support/browser.mjs';
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

  const listed = async (wanted) =>
    (await (await fetch(`${watching.address}/sources.json`)).json()).sources.find(({ id }) => id === wanted);
  /** As when the page's tab is come back to. */
  const comeBack = (map) => map.page.evaluate(() => document.dispatchEvent(new Event('visibilitychange')));

  it('is seen to serve other tiles of a source that is listed as before', async () => {
    const real = definitionsOf(world.origin.address);
    const map = await MapPage.open(world.browser, watching.address, '#5/31/116&left=graticule');
    const { state, ...before } = await listed('graticule');
    const [x, y] = [600, 300];
    const isPaper = (colour) => Math.min(...colour) > 180;
    assert.ok(isPaper((await map.pixels()).at(x, y)));
    await watching.define('graticule', { ...real.graticule, url: real.marble.url });
    await until(async () => (await listed('graticule')).state !== state);
    const { state: changed, ...after } = await listed('graticule');
    assert.deepEqual(after, before);
    assert.match(changed, /./);
    const asked = map.page.waitForRequest((request) => request.url().includes('/graticule/5/'));
    await comeBack(map);
    await asked;
    await map.settle();
    assert.ok(!isPaper((await map.pixels()).at(x, y)), String((await map.pixels()).at(x, y)));
    assert.deepEqual(map.faults, []);
    await map.close();
    await watching.define('graticule', real.graticule);
    await until(async () => (await listed('graticule')).state === state);
  });

  it('is seen to go on with a source whose definition broke, and why', async () => {
    const real = definitionsOf(world.origin.address);
    const map = await MapPage.open(world.browser, watching.address, '#5/31/116&left=marble');
    await watching.define('marble', { 'no [ key': 1 });
    await until(async () => (await listed('marble')).error);
    await comeBack(map);
    await map.page.waitForSelector('#notices .fault');
    await map.settle();
    const [red, , blue] = (await map.pixels()).at(900, 300);
    assert.ok(blue > red, 'the sea is shown');
    assert.equal(await map.page.locator('#notices button').count(), 0);
    await map.close();
    await watching.define('marble', real.marble);
    await until(async () => !(await listed('marble')).error);
  });

  it('is seen to list other sources', async () => {
    const map = await MapPage.open(world.browser, watching.address, '#3/31/116&left=marble');
    const real = definitionsOf(world.origin.address);
    assert.equal(await map.text('.card-name'), marble.name);
    await watching.define('marble', { ...real.marble, name: 'Another marble', attribution: 'Somebody else' });
    await until(async () => (await listed('marble')).name === 'Another marble');
    await comeBack(map);
    await map.page.waitForFunction(() => document.querySelector('.card-name').textContent === 'Another marble');
    assert.deepEqual(await map.page.locator('#sources .source-name').evaluateAll((names) => names.map((name) => name.firstChild.textContent)),
      ['Another marble', graticule.name]);
    assert.equal(await map.text('#credits'), 'Somebody else');
    assert.deepEqual(map.faults, []);
    await map.close();
  });
});
