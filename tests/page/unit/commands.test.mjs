// SPDX-License-Identifier: MIT
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { describe, it } from 'node:test';
import vm from 'node:vm';
import { kClients } from '../../../apps/kxtile/serve/page/src/text/clients.js';
import {
  argumentOf, countLevels, exportCommand, filesCommand, mosaicCommand, mosaicOfTilesCommand, mosaicSize, nameOfFile,
} from '../../../apps/kxtile/serve/page/src/text/commands.js';
import { markup, scriptText, shellWord } from '../../../apps/kxtile/serve/page/src/text/quote.js';

const kHostile = ["it's", '$(touch x)', '`id`', 'a b', '"', '\\', 'line\nline', '</script>', '-rf', '*', 'ä', '&amp;', '\u2028', '; exit'];
const kSource = {
  id: 'city', name: 'City', kind: 'service', tiles: '/city/{z}/{x}/{y}.png', minzoom: 0, maxzoom: 12,
  bounds: [-180, -85, 180, 85], attribution: 'Somebody <b>',
};

/** The words that a shell makes of a command. */
function words(command) {
  return execFileSync('sh', ['-c', `printf '%s\\0' ${command}`]).toString().split('\0').slice(0, -1);
}

/** The words of each call of kxtile that a shell makes of a text, without the program's name. */
function shellCalls(text) {
  const script = `kxtile() { printf '%s\\0' "$@" '\u0001'; }\n${text}`;
  return execFileSync('sh', ['-c', script]).toString().split('\u0001\0').slice(0, -1)
    .map((call) => call.split('\0').slice(0, -1));
}

describe('shellWord', () => {
  it('is one word with the same text in a shell', () => {
    for (const text of kHostile) assert.deepEqual(words(shellWord(text)), [text]);
  });
});

describe('scriptText', () => {
  it('is the same text in JavaScript, and ends no script of a page', () => {
    for (const text of kHostile) {
      assert.equal(vm.runInNewContext(scriptText(text)), text);
      assert.ok(!scriptText(text).includes('<'));
    }
  });
});

describe('markup', () => {
  it('has no tag and no quote', () => {
    assert.equal(markup(`<a href="x">'&'</a>`), '&lt;a href=&quot;x&quot;&gt;&#39;&amp;&#39;&lt;/a&gt;');
  });
});

describe('commands', () => {
  it('name source, bounds and levels as kxtile takes them', () => {
    assert.equal(filesCommand('city', [1.5, 2, 3, 4.25], [3, 7], 'tree'), 'kxtile files city --bounds 1.5,2,3,4.25 --levels 3-7 -o tree');
    assert.equal(filesCommand('city', [1, 2, 3, 4], [3, 3], 'tree'), 'kxtile files city --bounds 1,2,3,4 --levels 3 -o tree');
    assert.equal(exportCommand('city', [1, 2, 3, 4], [0, 5], 'city.pmtiles'), 'kxtile export city --bounds 1,2,3,4 --levels 0-5 -o city.pmtiles');
  });
  it('say --yes to more than 10000 tiles only where they are made of a file', () => {
    const world = [-180, -85, 180, 85];
    // 4^0 to 4^6 are 5461 tiles, with level 7 they are 21845.
    assert.ok(!words(filesCommand('a', world, [0, 6], 'a', true)).includes('--yes'));
    assert.ok(words(filesCommand('a', world, [0, 7], 'a', true)).includes('--yes'));
    assert.ok(words(exportCommand('a', world, [0, 7], 'a.mbtiles', true)).includes('--yes'));
    assert.ok(!words(exportCommand('a', world, [0, 7], 'a.mbtiles')).includes('--yes'));
  });
  it('name the tiles of the gateway in a form that definitions have', () => {
    assert.equal(argumentOf('http://127.0.0.1:8480', kSource, ''), 'http://127.0.0.1:8480/city/{$z}/{$x}/{$y}.png');
    assert.equal(argumentOf('http://h', kSource, '2019-09-08'), 'http://h/city/{$z}/{$x}/{$y}.png?date=2019-09-08');
  });
  it('keep whatever names a source one word', () => {
    for (const name of kHostile) {
      // A file that is called like an option is none.
      const file = name.startsWith('-') ? `./${name}` : name;
      const tree = words(filesCommand(name, [1, 2, 3, 4], [0, 1], name));
      assert.deepEqual([tree[2], tree.at(-1)], [name, file]);
      assert.equal(words(exportCommand(name, [1, 2, 3, 4], [0, 1], name)).at(-1), file);
      assert.equal(words(mosaicCommand(name, [1, 2, 3, 4], 1, name))[2], file);
      const [made, pictured] = shellCalls(mosaicOfTilesCommand(name, [1, 2, 3, 4], 1, name));
      assert.deepEqual([made[1], made.at(-1)], [name, `${file}-1.mbtiles`]);
      assert.deepEqual([pictured[1], pictured.at(-1)], [`${file}-1.mbtiles`, `${file}.png`]);
    }
  });
  it('ask for a mosaic in metres with the pixels of the level', () => {
    const line = words(mosaicCommand('city', [-180, 0, 180, 85.0511287798066], 2, 'city.png'));
    assert.deepEqual(line.slice(0, 3), ['kxtile', 'mosaic', 'city']);
    const bounds = line[line.indexOf('--bounds') + 1].split(',').map(Number);
    assert.ok(Math.abs(bounds[0] + 20037508.343) < 0.01 && Math.abs(bounds[3] - 20037508.343) < 0.01);
    // The world is 1024 pixels wide at level 2; kxtile takes what is a millionth of a pixel short.
    const pixels = (bounds[2] - bounds[0]) / Number(line[line.indexOf('--resolution') + 1]);
    assert.ok(pixels > 1024 - 1e-6 && pixels < 1024.001, String(pixels));
    assert.deepEqual(mosaicSize([-180, 0, 180, 85.0511287798066], 2), [1024, 512]);
    // kxtile mosaic made 282 x 778 pixels of these.
    assert.deepEqual(mosaicSize([-83.48, -1.556, -58.69, 55.394], 4), [282, 778]);
  });
  it('ask for no finer pixels than a level has', () => {
    for (let z = 0; z <= 22; ++z) {
      const line = words(mosaicCommand('city', [1, 2, 3, 4], z, 'city.png'));
      // Published: 156543.03392804097 metres at level 0, half of it at each further one.
      const wanted = Number(line[line.indexOf('--resolution') + 1]) / (156543.03392804097 / 2 ** z);
      assert.ok(wanted > 1 + 1e-9 && wanted < 1 + 1e-8, `level ${z}: ${wanted}`);
    }
  });
  it('fetch the tiles of a service before they make its picture', () => {
    const calls = shellCalls(mosaicOfTilesCommand('http://h/city', [1, 2, 3, 4], 7, 'city'));
    assert.deepEqual(calls.map(([name]) => name), ['export', 'mosaic']);
    assert.equal(calls[0][calls[0].indexOf('--levels') + 1], '7');
  });
  it('make another file of each day, and none that is called as a source is', () => {
    assert.equal(nameOfFile(kSource, ''), 'city-cut');
    assert.equal(nameOfFile(kSource, '2019-09-08'), 'city-2019-09-08-cut');
  });
  it('count the tiles of every level', () => {
    assert.deepEqual(countLevels([-180, -85, 180, 85], [0, 2]),
      { levels: [{ z: 0, count: 1 }, { z: 1, count: 4 }, { z: 2, count: 16 }], total: 21 });
  });
});

describe('recipes', () => {
  const recipesOf = (id, source, date = '') =>
    kClients.find((client) => client.id === id).recipes('http://127.0.0.1:8480', source, date);

  it('point at the tiles with levels and attribution', () => {
    const [{ text }] = recipesOf('leaflet', kSource);
    const layers = [];
    const L = { tileLayer: (url, options) => ({ addTo: () => layers.push({ url, options }) }) };
    vm.runInNewContext(text, { L, map: {} });
    assert.equal(layers[0].url, 'http://127.0.0.1:8480/city/{z}/{x}/{y}.png');
    assert.equal(layers[0].options.maxNativeZoom, 12);
    assert.equal(layers[0].options.attribution, 'Somebody &lt;b&gt;');
  });
  it('carry the day of a picture of the past', () => {
    for (const client of ['qgis', 'leaflet', 'openlayers'])
      assert.match(recipesOf(client, kSource, '2019-09-08')[0].text, /\{y\}\.png\?date=2019-09-08/);
    const [raster, cut] = recipesOf('gdal', kSource, '2019-09-08').map(({ text }) => words(text));
    assert.equal(raster[1], 'http://127.0.0.1:8480/city.xml?date=2019-09-08');
    assert.equal(cut.at(-1), 'city-2019-09-08-cut.tif');
  });
  it('are left out where they would show another day', () => {
    for (const { id } of kClients) {
      const texts = recipesOf(id, kSource, '2019-09-08').map(({ text }) => text);
      assert.ok(texts.length > 0 && texts.every((text) => text.includes('?date=2019-09-08')), texts.join('\n'));
    }
  });
  it('stay texts, whatever a source is called', () => {
    for (const id of kHostile) {
      const source = { ...kSource, id, attribution: id };
      for (const { text } of recipesOf('gdal', source)) assert.equal(words(text)[0], text.split(' ')[0]);
      const ran = [];
      vm.runInNewContext(recipesOf('leaflet', source)[0].text, { L: { tileLayer: () => ({ addTo: () => ran.push(1) }) }, map: 0 });
      assert.equal(ran.length, 1);
    }
  });
});
