// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { describePlace, parsePlace } from '../../../apps/kxtile/serve/page/src/text/place.js';

function assertPoint(text, lon, lat) {
  const place = parsePlace(text);
  assert.equal(place.kind, 'point', `${text}: ${place.message}`);
  assert.ok(Math.abs(place.lon - lon) < 1e-9, `${text}: longitude ${place.lon}`);
  assert.ok(Math.abs(place.lat - lat) < 1e-9, `${text}: latitude ${place.lat}`);
}

describe('parsePlace', () => {
  it('takes longitude first without letters', () => {
    assertPoint('8.5, 47.25', 8.5, 47.25);
    assertPoint('8.5 47.25', 8.5, 47.25);
    assertPoint('8.5;47.25', 8.5, 47.25);
    assertPoint(' -70.5 , -33.25 ', -70.5, -33.25);
  });
  it('takes latitude first where only the second number can be a longitude', () => {
    assertPoint('31.25, 121.5', 121.5, 31.25);
    assertPoint('121.5, 31.25', 121.5, 31.25);
  });
  it('follows letters in either order', () => {
    for (const text of ['31.25N 121.5E', '121.5E 31.25N', 'N31.25 E121.5', 'e 121.5, n 31.25', '31.25° N, 121.5° E'])
      assertPoint(text, 121.5, 31.25);
    assertPoint('33.5S 70.25W', -70.25, -33.5);
  });
  it('lets one letter say which number is which', () => assertPoint('47.25N, 8.5', 8.5, 47.25));
  it('reads minutes and seconds', () => {
    assertPoint('31°13′48″N 121°28′30″E', 121 + 28 / 60 + 30 / 3600, 31 + 13 / 60 + 48 / 3600);
    assertPoint('31°13\'48.5"N, 121°28\'E', 121 + 28 / 60, 31 + 13 / 60 + 48.5 / 3600);
    assertPoint('-0°30′, 10°', -0.5, 10);
  });
  it('reads a tile as level, column, row', () => {
    assert.deepEqual(parsePlace('12/3430/1673'), { kind: 'tile', z: 12, x: 3430, y: 1673 });
    assert.deepEqual(parsePlace(' 0/0/0 '), { kind: 'tile', z: 0, x: 0, y: 0 });
  });
  it('finds the tile at the end of an address', () => {
    for (const address of ['http://127.0.0.1:8480/city/5/26/12.png', '/city/raw/5/26/12', '5/26/12@2x.webp',
      'http://127.0.0.1:8480/city/5/26/12.jpg?date=2019-09-08'])
      assert.deepEqual(parsePlace(address), { kind: 'tile', z: 5, x: 26, y: 12 });
  });
  it('says what a level has when a tile is not on it', () => {
    assert.match(parsePlace('3/8/0').message, /Level 3 has columns and rows 0 to 7/);
    assert.match(parsePlace('3/0/8').message, /0 to 7/);
    assert.match(parsePlace('31/0/0').message, /end at 30/);
  });
  it('refuses what is no place and says why', () => {
    for (const text of ['', 'Paris', '5', '1,2,3', '12a, 5', '1e3, 4', '0x10, 3', 'N S', '--5, 4', '5,'])
      assert.equal(parsePlace(text).kind, 'error', text);
    assert.match(parsePlace('10N 20N').message, /same axis/);
    assert.match(parsePlace('100N 20E').message, /90°/);
    assert.match(parsePlace('181, 5').message, /180°/);
    assert.match(parsePlace('91, 95').message, /90°/);
    assert.equal(parsePlace('10°70′N 5E').kind, 'error');
    assert.equal(parsePlace('-10S, 5E').kind, 'error');
  });
  it('answers at once for long texts', () => {
    for (const text of ['1'.repeat(50000), '1 '.repeat(20000), '1/'.repeat(20000), 'N'.repeat(20000), '°'.repeat(20000)])
      assert.equal(parsePlace(text).kind, 'error');
  });
});

describe('describePlace', () => {
  it('names sides by letters', () => {
    assert.equal(describePlace(parsePlace('-70.5, -33.25')), '33.250000° S, 70.500000° W');
    assert.match(describePlace(parsePlace('3/6/2')), /level 3, column 6, row 2/);
  });
});
