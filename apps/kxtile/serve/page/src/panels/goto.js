// SPDX-License-Identifier: MIT
import { describePlace, parsePlace } from '../text/place.js';
import { tileExtent, toLat, toLon } from '../text/mercator.js';
import { announce } from '../ui/copyButton.js';
import { smallScreen } from '../ui/dom.js';

/** From farther away than this a coordinate is gone to at this level. */
const kCloseEnough = 12;

/** The field that goes to a coordinate or a tile. */
export class GoTo {
  /**
   * @param {{form: HTMLFormElement, input: HTMLInputElement, hint: HTMLElement}} elements
   * @param {import('../state/store.js').Store} store
   * @param {import('../map/mapView.js').MapView} mapView
   * @param {import('./coordinates.js').Coordinates} coordinates
   */
  constructor(elements, store, mapView, coordinates) {
    Object.assign(this, { elements, store, mapView, coordinates });
    this.usual = elements.hint.textContent;
    // What it takes, the hint says as soon as one types.
    if (smallScreen().matches) elements.input.placeholder = 'Go to…';
    elements.form.addEventListener('submit', (event) => {
      event.preventDefault();
      this.go();
    });
    elements.input.addEventListener('input', () => this.preview());
  }

  preview() {
    const { input, hint } = this.elements;
    const place = input.value.trim() ? parsePlace(input.value) : null;
    hint.textContent = place && place.kind !== 'error' ? describePlace(place) : this.usual;
    this.elements.form.classList.remove('refused');
    input.removeAttribute('aria-invalid');
  }

  go() {
    const place = parsePlace(this.elements.input.value);
    if (place.kind === 'error') return this.refuse(place.message);
    if (place.kind === 'tile') this.goToTile(place);
    else this.goToPoint(place);
    announce(`Went to ${describePlace(place)}.`);
    this.elements.input.blur();
    this.mapView.map.getTargetElement().focus();
  }

  refuse(message) {
    this.elements.form.classList.add('refused');
    this.elements.hint.textContent = message;
    this.elements.input.setAttribute('aria-invalid', 'true');
  }

  goToPoint({ lon, lat }) {
    const zoom = Math.max(this.store.view.zoom, kCloseEnough);
    this.mapView.mark({ extent: null });
    this.store.update({ center: [lon, lat], zoom }, { step: true });
    this.coordinates.holdDegrees(lon, lat);
  }

  /** Shows a tile with a frame around it; the plane's ends stay outside of what a view may be. */
  goToTile(tile) {
    const extent = tileExtent(tile);
    const center = [toLon((extent[0] + extent[2]) / 2), toLat((extent[1] + extent[3]) / 2)];
    this.coordinates.release();
    this.mapView.mark({ extent });
    this.store.update({ center, zoom: tile.z }, { step: true });
  }
}
