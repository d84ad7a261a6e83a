// SPDX-License-Identifier: MIT
// The view as text for the address bar, behind the #, and back.

const kSplit = 0.5;

/** Digits behind the point that tell neighbouring pixels of a level apart. */
export function digitsAt(zoom) {
  return Math.min(8, Math.max(2, Math.ceil(Math.log10((256 * 2 ** zoom) / 360)) + 1));
}

/** @param {import('../types.js').Side} side */
function formatSide({ id, raw, date }) {
  return [encodeURIComponent(id), raw ? 'raw' : '', date].join('~').replace(/~+$/, '');
}

/** @returns {?import('../types.js').Side} null for what names no source */
function parseSide(text) {
  const [id, form = '', date = ''] = text.split('~');
  if (!id) return null;
  return {
    id: decodeOrKeep(id),
    raw: form === 'raw',
    date: /^\d{4}-\d{2}-\d{2}$/.test(date) ? date : '',
  };
}

function decodeOrKeep(text) {
  try {
    return decodeURIComponent(text);
  } catch {
    return text;
  }
}

/**
 * @param {import('../types.js').View} view
 * @returns {string} for instance "#5/31.230/121.470&left=city~raw"
 */
export function formatView(view) {
  const digits = digitsAt(view.zoom);
  const zoom = Number(view.zoom.toFixed(2));
  const [lon, lat] = view.center.map((degrees) => degrees.toFixed(digits));
  const parts = [`${zoom}/${lat}/${lon}`, `left=${formatSide(view.left)}`];
  if (view.right) parts.push(`right=${formatSide(view.right)}`, `split=${Math.round(view.split * 100)}`);
  const shown = ['graticule', 'tiles'].filter((name) => view[name]);
  if (shown.length) parts.push(`show=${shown.join(',')}`);
  return `#${parts.join('&')}`;
}

/** @returns {{center?: number[], zoom?: number}} empty for what is no place */
function parsePlace(text) {
  const numbers = text.split('/').map(Number);
  if (numbers.length !== 3 || !text || !numbers.every(Number.isFinite)) return {};
  const [zoom, lat, lon] = numbers;
  if (zoom < 0 || zoom > 30 || Math.abs(lat) > 90 || Math.abs(lon) > 180) return {};
  return { zoom, center: [lon, lat] };
}

function parseSplit(text) {
  const percent = Number(text);
  return text !== '' && percent >= 0 && percent <= 100 ? percent / 100 : kSplit;
}

/**
 * What an address asks for. Whatever in it does not make sense is left out, so that the page starts
 * with what is usual there.
 * @param {string} hash
 * @returns {Partial<import('../types.js').View>}
 */
export function parseView(hash) {
  const [place, ...pairs] = hash.replace(/^#/, '').split('&');
  const named = new Map(pairs.map((pair) => {
    const at = pair.indexOf('=');
    return at < 0 ? [pair, ''] : [pair.slice(0, at), pair.slice(at + 1)];
  }));
  const shown = (named.get('show') ?? '').split(',');
  /** @type {Partial<import('../types.js').View>} */
  const view = {
    ...parsePlace(place),
    right: parseSide(named.get('right') ?? ''),
    split: parseSplit(named.get('split') ?? ''),
    graticule: shown.includes('graticule'),
    tiles: shown.includes('tiles'),
  };
  const left = parseSide(named.get('left') ?? '');
  if (left) view.left = left;
  return view;
}
