// SPDX-License-Identifier: MIT
// What the gateway is asked for beside tiles.

/** The gateway's address, without a slash at the end. */
export const root = new URL('.', document.baseURI).href.replace(/\/$/, '');

/**
 * @param {string} template  relative to the gateway's root
 * @param {string} size      "@2x" for a tile of twice the size
 */
export function tileAddress(template, { z, x, y }, size = '') {
  return root + template.replace('{z}', z).replace('{x}', x).replace('{y}', y + size);
}

async function ask(path, signal, cache = 'default') {
  const answer = await fetch(root + path, { signal, cache, headers: { Accept: 'application/json' } });
  if (!answer.ok) throw new Error(firstLine(await answer.text()) || `status ${answer.status}`);
  return answer.json();
}

/** The words of an error answer: one line, of bounded length. */
export function firstLine(text) {
  const line = text.trim().split('\n', 1)[0].trim();
  return line.length > 400 ? `${line.slice(0, 399)}…` : line;
}

/** @returns {Promise<{sources: import('../types.js').Source[], version: string}>} */
export async function fetchSources(signal) {
  const { sources, version } = await ask('/sources.json', signal, 'no-cache');
  if (!Array.isArray(sources)) throw new Error('its list of sources has another form');
  return { sources, version: String(version ?? '') };
}

const place = ([lon, lat]) => `${lon.toFixed(7)},${lat.toFixed(7)}`;

/**
 * @param {number[]} at  longitude, latitude of WGS 84
 * @returns {Promise<Record<string, number[]>>} longitude, latitude by datum
 */
export function fetchDatums(at, signal) {
  return ask(`/locate.json?at=${place(at)}`, signal);
}

/** @returns {Promise<string[]>} days that a history source has pictures of, the oldest first */
export async function fetchDates(id, at, zoom, signal) {
  const path = `/${encodeURIComponent(id)}/dates.json?at=${place(at)}&zoom=${zoom}`;
  const { dates } = await ask(path, signal);
  return [...new Set(dates)].filter((day) => /^\d{4}-\d{2}-\d{2}$/.test(day)).sort();
}
