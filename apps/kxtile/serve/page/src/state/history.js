// SPDX-License-Identifier: MIT
import { formatView, parseView } from './address.js';

/** Panning is one entry in the history, however many moves it takes. */
const kSettleMs = 250;

/**
 * Keeps the address bar and the view the same: what the view becomes is written there, what a
 * visitor types there or comes back to with the back button becomes the view.
 * @param {import('./store.js').Store} store
 * @param {(view: object) => object} mend  makes a whole view of what an address asks for
 */
export function followAddress(store, mend) {
  let timer = 0;
  const write = (method, view) => {
    clearTimeout(timer);
    timer = 0;
    const hash = formatView(view);
    if (hash !== location.hash) history[method](null, '', hash);
  };
  store.subscribe((view, previous, step) => {
    if (step) {
      // What is not written yet belongs to the entry that is left.
      if (timer) write('replaceState', previous);
      write('pushState', view);
    } else {
      clearTimeout(timer);
      timer = setTimeout(() => write('replaceState', store.view), kSettleMs);
    }
  });
  const read = () => {
    clearTimeout(timer);
    store.update(mend(parseView(location.hash)));
  };
  // A typed address and the back button both arrive here.
  addEventListener('hashchange', read);
  write('replaceState', store.view);
}
