// SPDX-License-Identifier: MIT
import { firstLine, tileAddress } from '../state/gateway.js';
import { emptyTile, wordsTile } from './words.js';

/** A full gateway is asked again, as it says; this often and no longer than this. */
const kMostTries = 4;
const kLongestPauseMs = 5000;
const kMostRecords = 4000;

const kNoAnswer = 'The gateway does not answer. Is kxtile serve still running?';

/** What became of the tiles of one layer, by "z/x/y". */
export class TileRecords {
  constructor() {
    /** @type {Map<string, import('../types.js').TileRecord>} */
    this.byTile = new Map();
  }

  get({ z, x, y }) {
    return this.byTile.get(`${z}/${x}/${y}`);
  }

  set({ z, x, y }, record) {
    const key = `${z}/${x}/${y}`;
    // Written anew, a tile is the youngest; the oldest are forgotten.
    this.byTile.delete(key);
    this.byTile.set(key, record);
    if (this.byTile.size > kMostRecords) this.byTile.delete(this.byTile.keys().next().value);
  }

  clear() {
    this.byTile.clear();
  }
}

/** Waits; rejects as fetch does when the tile is no longer wanted. */
function pause(ms, signal) {
  return new Promise((resolve, reject) => {
    const timer = setTimeout(resolve, ms);
    signal?.addEventListener('abort', () => {
      clearTimeout(timer);
      reject(new DOMException('Aborted', 'AbortError'));
    });
  });
}

/** Fetches; a full gateway is asked again when it says to. */
async function fetchPatiently(address, signal) {
  for (let tries = 1; ; ++tries) {
    // Asked for anew each time, so that a tile says how the gateway has it now. It costs a 304.
    const answer = await fetch(address, { signal, cache: 'no-cache' });
    const seconds = Number(answer.headers.get('Retry-After') ?? NaN);
    if (answer.status !== 503 || !Number.isFinite(seconds) || tries === kMostTries) return answer;
    await pause(Math.min(kLongestPauseMs, Math.max(200, seconds * 1000)), signal);
  }
}

/** @param {number} status  of an answer without a tile: the gateway itself could not try */
const isBusy = (status) => status === 503 || status === 504;

/** A tile of twice the size; where there is none, a plain one, which may be there all the same. */
async function fetchTile(template, tile, isSharp, signal) {
  if (isSharp) {
    const answer = await fetchPatiently(tileAddress(template, tile, '@2x'), signal);
    if (answer.ok || isBusy(answer.status)) return { answer, isSharp };
  }
  return { answer: await fetchPatiently(tileAddress(template, tile), signal), isSharp: false };
}

function serverTime(headers) {
  const match = /(?:^|,)\s*tile\s*;[^,]*?dur=([\d.]+)/.exec(headers.get('Server-Timing') ?? '');
  return match ? Number(match[1]) : NaN;
}

/** @returns {Promise<import('../types.js').TileRecord & {image: CanvasImageSource}>} */
async function read({ answer, isSharp }) {
  const { status, headers } = answer;
  const known = { status, cache: headers.get('X-Cache') ?? '', ms: serverTime(headers), message: '', isSharp };
  if (!answer.ok) {
    const message = firstLine(await answer.text()) || answer.statusText || 'no reason given';
    return { ...known, message, image: wordsTile(titleOf(status), message, status === 404) };
  }
  const body = await answer.blob();
  if (status === 204 || body.size === 0) return { ...known, image: emptyTile() };
  // Pixels stay as they are: what is shown is what was served.
  return { ...known, image: await createImageBitmap(body, { colorSpaceConversion: 'none' }) };
}

/** By what the gateway means by them. */
const kTitles = {
  403: 'Not enabled',
  404: 'No tile here',
  502: 'The service failed',
  503: 'The gateway is busy',
  504: 'The service is too slow',
};

function titleOf(status) {
  return kTitles[status] ?? `No tile: status ${status}`;
}

function failed(error) {
  const isNetwork = error instanceof TypeError;
  const message = isNetwork ? kNoAnswer : `The tile is no picture that can be shown (${error.message}).`;
  return { status: 0, cache: '', ms: NaN, message, isSharp: false, image: wordsTile('No tile', message, false) };
}

/**
 * Loads tiles, and words in their place where there are none: a failure is shown where it is, not
 * covered by a coarser picture.
 * @param {string} template  relative to the gateway's root
 * @param {TileRecords} records  told of every tile
 * @param {(z: number) => boolean} isSharpAt  whether tiles of twice the size are wanted of a level
 */
export function makeLoader(template, records, isSharpAt) {
  return async (z, x, y, { signal } = {}) => {
    let outcome;
    try {
      outcome = await read(await fetchTile(template, { z, x, y }, isSharpAt(z), signal));
    } catch (error) {
      if (signal?.aborted) throw error;
      outcome = failed(error);
    }
    const { image, ...record } = outcome;
    records.set({ z, x, y }, record);
    return image;
  };
}
