// SPDX-License-Identifier: MIT
import { fetchSources } from './gateway.js';

/** A gateway takes changed definitions while the page is open; this often it is asked for its list. */
const kAskAgainMs = 10000;

/**
 * Looks for changes of the list, now and then and when the page comes into view again.
 * @param {import('./sources.js').Sources} sources
 * @param {() => void} changed
 */
export function followSources(sources, changed) {
  const look = async () => {
    if (document.hidden) return;
    let answer;
    try {
      answer = await fetchSources(AbortSignal.timeout(kAskAgainMs));
    } catch {
      // What was listed stays; where the gateway is gone, the tiles say so.
      return;
    }
    if (sources.take(answer.sources)) changed();
  };
  setInterval(look, kAskAgainMs);
  document.addEventListener('visibilitychange', look);
}
