// SPDX-License-Identifier: MIT
import { replace, h } from '../ui/dom.js';
import { linked } from '../ui/links.js';

/** Keeps the attributions of what is shown on the map. */
export function showCredits(element, store, sources) {
  const draw = () => {
    const { left, right } = store.view;
    const texts = [left, right].map((side) => (side && sources.get(side.id)?.attribution) || '');
    const unique = [...new Set(texts)].filter(Boolean);
    element.hidden = !unique.length;
    replace(element, ...unique.map((text) => h('span', {}, ...linked(text))));
  };
  store.subscribe(draw);
  draw();
}
