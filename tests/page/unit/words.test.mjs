// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { describe, it } from 'node:test';
import { wrap } from '../../../apps/kxtile/serve/page/src/map/words.js';

const measure = (text) => text.length;

describe('wrap', () => {
  it('breaks between words', () => {
    assert.deepEqual(wrap('the service answers nothing', 12, measure), ['the service', 'answers', 'nothing']);
  });
  it('breaks addresses behind slashes', () => {
    assert.deepEqual(wrap('see http://a.example/tiles', 17, measure), ['see http://', 'a.example/tiles']);
    assert.deepEqual(wrap('neither https:// nor', 14, measure), ['neither', 'https:// nor']);
  });
  it('breaks words that fit no line', () => {
    assert.deepEqual(wrap('abcdefghij', 4, measure), ['abcd', 'efgh', 'ij']);
  });
  it('loses nothing but blanks, whatever the text', () => {
    const texts = ['a  b\tc', 'x'.repeat(100), 'http://h/p?q=1&r=2 //// end', ' leading', 'ends ', '你好 世界', ''];
    for (const text of texts)
      for (const width of [1, 3, 10, 50]) {
        const lines = wrap(text, width, measure);
        assert.equal(lines.join('').replace(/\s/g, ''), text.replace(/\s/g, ''));
        assert.ok(lines.every((line) => line.length <= width), `${width}: ${JSON.stringify(lines)}`);
      }
  });
});
