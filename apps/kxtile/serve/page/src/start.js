// SPDX-License-Identifier: MIT
// Which view the page begins with.

const kWorld = { center: [10, 25], zoom: 2 };

/**
 * A whole view out of what an address asks for: what it leaves open is taken from the source.
 * @param {Partial<import('./types.js').View>} asked
 * @param {import('./types.js').Source[]} sources
 * @returns {import('./types.js').View}
 */
export function wholeView(asked, sources) {
  const usual = sources.find(({ error, usable }) => !error && usable !== false) ?? sources[0];
  const left = asked.left ?? { id: usual?.id ?? '', raw: false, date: '' };
  const source = sources.find(({ id }) => id === left.id);
  const [lon, lat, zoom] = source?.center ?? [...kWorld.center, kWorld.zoom];
  return {
    center: asked.center ?? [lon, lat],
    zoom: asked.zoom ?? zoom,
    left,
    right: asked.right ?? null,
    split: asked.split ?? 0.5,
    graticule: asked.graticule ?? false,
    tiles: asked.tiles ?? false,
  };
}
