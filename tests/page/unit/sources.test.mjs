// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { matches } from '../../../apps/kxtile/serve/page/src/panels/sourceList.js';
import { Comparison } from '../../../apps/kxtile/serve/page/src/panels/comparison.js';
import { firstAddress } from '../../../apps/kxtile/serve/page/src/ui/links.js';
import { wholeView } from '../../../apps/kxtile/serve/page/src/start.js';
import { Sources } from '../../../apps/kxtile/serve/page/src/state/sources.js';
import { Store } from '../../../apps/kxtile/serve/page/src/state/store.js';

const source = (id, more = {}) => ({
  id, name: `Name of ${id}`, kind: 'service', datum: 'wgs84', attribution: 'Somebody', raw: `/${id}/raw/{z}/{x}/{y}`,
  center: [8, 47, 6], error: null, ...more,
});

describe('matches', () => {
  it('wants every word somewhere, in any case', () => {
    const city = source('city', { datum: 'gcj02', attribution: '© Somebody Else' });
    for (const search of ['', 'CITY', 'else name', 'gcj-02', 'service some']) assert.ok(matches(city, search), search);
    assert.ok(!matches(city, 'city nowhere'));
  });
});

describe('Sources', () => {
  const listed = () => [source('city'), source('other')];
  it('take over what changed, and keep the rest as it is', () => {
    const sources = new Sources(listed());
    const { list, byId } = sources;
    const [city] = list;
    assert.ok(sources.take([source('city'), source('other', { name: 'Another name' }), source('new')]));
    assert.deepEqual(list.map(({ name }) => name), ['Name of city', 'Another name', 'Name of new']);
    assert.equal(list[0], city);
    assert.deepEqual([...byId.values()], list);
    assert.ok(sources.take([source('new')]));
    assert.deepEqual([...byId.keys()], ['new']);
  });
  it('have not changed when they are listed again', () => {
    const sources = new Sources(listed());
    const before = [...sources.list];
    assert.equal(sources.take(listed()), false);
    assert.ok(before.every((one, i) => one === sources.list[i]));
    assert.ok(sources.take(listed().reverse()));
  });
});

describe('wholeView', () => {
  const sources = [source('broken', { error: 'no address' }), source('city')];
  it('begins with the first source that works, where it lies', () => {
    const view = wholeView({}, sources);
    assert.equal(view.left.id, 'city');
    assert.deepEqual([view.center, view.zoom], [[8, 47], 6]);
  });
  it('keeps what an address asks for, even of a source that there is not', () => {
    const left = { id: 'gone', raw: false, date: '' };
    const view = wholeView({ left, center: [1, 2], zoom: 3, right: left }, sources);
    assert.deepEqual([view.left, view.right, view.center, view.zoom], [left, left, [1, 2], 3]);
  });
  it('begins with none that cannot be used', () => {
    assert.equal(wholeView({}, [source('locked', { usable: false }), source('city', { usable: true })]).left.id, 'city');
  });
  it('begins without sources', () => assert.equal(wholeView({}, []).left.id, ''));
});

describe('Comparison', () => {
  const begin = (sources, view) => {
    const store = new Store(wholeView(view, sources));
    return { store, comparison: new Comparison(store, sources) };
  };
  it('begins with the raw tiles beside aligned ones of a shifted service', () => {
    const { store, comparison } = begin([source('city', { datum: 'gcj02' }), source('other')], {});
    comparison.toggle();
    assert.deepEqual(store.view.right, { id: 'city', raw: true, date: '' });
    assert.equal(comparison.chosen, 'right');
  });
  it('begins with another source where raw tiles show nothing else', () => {
    const { store, comparison } = begin([source('city'), source('broken', { error: 'x' }), source('other')], {});
    comparison.toggle();
    assert.equal(store.view.right.id, 'other');
  });
  it('fills the chosen side', () => {
    const { store, comparison } = begin([source('city'), source('other')], {});
    comparison.show({ id: 'other' });
    assert.equal(store.view.left.id, 'other');
    comparison.toggle();
    comparison.choose('left');
    comparison.show({ id: 'city' });
    assert.deepEqual([store.view.left.id, store.view.right.id], ['city', 'city']);
    assert.equal(comparison.current, store.view.left);
  });
  it('exchanges the sides', () => {
    const { store, comparison } = begin([source('a'), source('b')], {});
    comparison.toggle();
    comparison.exchange();
    assert.deepEqual([store.view.left.id, store.view.right.id], ['b', 'a']);
  });
});

describe('firstAddress', () => {
  it('finds web addresses and no other', () => {
    assert.equal(firstAddress('Terms: https://a.example/x?y=1.'), 'https://a.example/x?y=1');
    for (const text of ['', 'javascript:alert(1)', 'data:text/html,x', 'ftp://a.example']) assert.equal(firstAddress(text), '');
  });
});
