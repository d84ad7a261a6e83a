// SPDX-License-Identifier: MIT
// How long a round number of metres is on the map.

/** Pixels; so long that the shortest bar, 2 where 5 is too much, has room for its words. */
const kLongest = 160;

/**
 * The longest round length that a bar has room for.
 * @param {number} metresPerPixel  on the ground
 * @returns {{text: string, pixels: number}}
 */
export function scaleOf(metresPerPixel) {
  const most = metresPerPixel * kLongest;
  const power = 10 ** Math.floor(Math.log10(most));
  const metres = [5, 2, 1].map((step) => step * power).find((length) => length <= most);
  const text = metres >= 1000 ? `${metres / 1000} km` : metres >= 1 ? `${metres} m` : `${Number((metres * 100).toFixed(2))} cm`;
  return { text, pixels: metres / metresPerPixel };
}

/** Keeps a bar at the length that holds in the middle of the map. */
export function showScale(element, mapView) {
  const update = () => {
    const { center } = mapView.place();
    const resolution = mapView.view.getResolution();
    const onGround = resolution * Math.cos((center[1] * Math.PI) / 180);
    const { text, pixels } = scaleOf(onGround);
    element.textContent = text;
    element.setAttribute('aria-label', `Scale: ${text}`);
    element.style.setProperty('width', `${pixels.toFixed(1)}px`);
  };
  mapView.map.on('moveend', update);
  update();
}
