// SPDX-License-Identifier: MIT
// How other programs take a source: texts to copy.
import { nameOfFile } from './commands.js';
import { markup, scriptText, shellWord } from './quote.js';

/** @typedef {{title: string, note: string, text: string}} Recipe */

/** The day of a picture of the past, behind an address; what takes no day shows another picture. */
const dayOf = (date) => (date ? `?date=${date}` : '');

/** The address as programs write it. */
const template = (root, source, date) => root + source.tiles + dayOf(date);

/** @returns {Recipe[]} */
function forQgis(root, source, date) {
  const connection = {
    title: 'XYZ connection',
    note: `Browser panel, XYZ Tiles, New Connection; levels ${source.minzoom} to ${source.maxzoom}.`,
    text: template(root, source, date),
  };
  if (date) return [connection];
  return [
    connection,
    {
      title: 'All sources at once',
      note: 'Save this file, then XYZ Tiles, Load Connections.',
      text: `${root}/qgis.xml`,
    },
    {
      title: 'WMTS connection',
      note: 'Browser panel, WMS/WMTS, New Connection.',
      text: `${root}/wmts/1.0.0/WMTSCapabilities.xml`,
    },
  ];
}

/** @returns {Recipe[]} */
function forGdal(root, source, date) {
  const description = `${root}/${encodeURIComponent(source.id)}.xml${dayOf(date)}`;
  const file = `${nameOfFile(source, date)}.tif`;
  const wmts = `WMTS:${root}/wmts/1.0.0/WMTSCapabilities.xml,layer=${source.id}`;
  const [west, south, east, north] = source.bounds;
  return [
    {
      title: 'As a raster',
      note: 'The description that GDAL and programs built on it open.',
      text: `gdalinfo ${shellWord(description)}`,
    },
    {
      title: 'A cut of it as a GeoTIFF',
      note: 'Put in your own extent: west, north, east, south.',
      text: `gdal_translate -projwin ${[west, north, east, south].join(' ')} -projwin_srs EPSG:4326 ` +
        `-outsize 1024 0 ${shellWord(description)} ${shellWord(file)}`,
    },
    ...(date ? [] : [{ title: 'Through WMTS', note: 'Every source is a layer.', text: `gdalinfo ${shellWord(wmts)}` }]),
  ];
}

/** @returns {Recipe[]} */
function forLeaflet(root, source, date) {
  const text = [
    `L.tileLayer(${scriptText(template(root, source, date))}, {`,
    `  minZoom: ${source.minzoom},`,
    `  maxNativeZoom: ${source.maxzoom},`,
    `  attribution: ${scriptText(markup(source.attribution))},`,
    '}).addTo(map);',
  ].join('\n');
  return [{ title: 'Tile layer', note: 'Web Mercator, rows from the north: no option is needed for that.', text }];
}

/** @returns {Recipe[]} */
function forOpenLayers(root, source, date) {
  const text = [
    "import TileLayer from 'ol/layer/Tile.js';",
    "import XYZ from 'ol/source/XYZ.js';",
    '',
    'const layer = new TileLayer({',
    '  source: new XYZ({',
    `    url: ${scriptText(template(root, source, date))},`,
    `    minZoom: ${source.minzoom},`,
    `    maxZoom: ${source.maxzoom},`,
    `    attributions: ${scriptText(markup(source.attribution))},`,
    '  }),',
    '});',
  ].join('\n');
  return [
    { title: 'Tile layer', note: 'For a map in the usual projection, EPSG:3857.', text },
    {
      title: 'TileJSON',
      note: 'Also read by MapLibre, Cesium and others.',
      text: `${root}/${encodeURIComponent(source.id)}.json${dayOf(date)}`,
    },
  ];
}

export const kClients = [
  { id: 'qgis', name: 'QGIS', recipes: forQgis },
  { id: 'gdal', name: 'GDAL', recipes: forGdal },
  { id: 'leaflet', name: 'Leaflet', recipes: forLeaflet },
  { id: 'openlayers', name: 'OpenLayers', recipes: forOpenLayers },
];
