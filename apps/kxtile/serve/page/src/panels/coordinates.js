// SPDX-License-Identifier: MIT
import { fetchDatums } from '../state/gateway.js';
import { tileAt, toLat, toLon, toX, toY } from '../text/mercator.js';
import { copyButton } from '../ui/copyButton.js';
import { byId, debounce } from '../ui/dom.js';

const kQuietMs = 90;
const kNames = { wgs84: 'WGS 84', gcj02: 'GCJ-02', bd09: 'BD-09' };
const kDatums = Object.keys(kNames);
const kNoNumbers = '–';

const turned = (lon) => ((((lon + 180) % 360) + 360) % 360) - 180;
const write = ([lon, lat]) => `${lon.toFixed(6)}, ${lat.toFixed(6)}`;

/**
 * The place under the pointer on three datums; after a click the place that was clicked, until Escape
 * or another click on it; without a pointer the middle of the map.
 */
export class Coordinates {
  /** @param {import('../map/mapView.js').MapView} mapView */
  constructor(mapView) {
    this.mapView = mapView;
    this.held = null;
    this.pointer = null;
    this.bar = byId('coordinates');
    this.kind = byId('place-kind');
    this.tile = byId('place-tile');
    this.fault = byId('place-fault');
    this.outputs = Object.fromEntries(kDatums.map((datum) => [datum, byId(`at-${datum}`)]));
    for (const datum of kDatums) {
      this.outputs[datum].after(copyButton(`Copy ${kNames[datum]}`, () => this.outputs[datum]));
    }
    byId('release').addEventListener('click', () => this.release());
    this.askDatums = debounce(kQuietMs, (place) => this.ask(place));
    this.listen();
    this.show();
  }

  listen() {
    const { map } = this.mapView;
    map.on('pointermove', (event) => {
      // A finger has no place while it is not down.
      if (event.originalEvent.pointerType === 'touch') return;
      this.pointer = event.coordinate;
      this.show();
    });
    map.getViewport().addEventListener('pointerleave', () => {
      this.pointer = null;
      this.show();
    });
    map.on('singleclick', (event) => this.hold(event.coordinate));
    map.on('moveend', () => this.show());
    this.mapView.onTile(() => this.showTile());
  }

  /** Longitude and latitude of WGS 84 that are shown. */
  place() {
    const at = this.held ?? this.pointer;
    return at ? [turned(toLon(at[0])), toLat(at[1])] : this.mapView.place().center;
  }

  /** @param {number[]} metres */
  hold(metres) {
    this.held = metres;
    this.mapView.mark({ point: metres });
    this.show();
  }

  /** @param {number} lon degrees  @param {number} lat degrees */
  holdDegrees(lon, lat) {
    this.hold([toX(lon), toY(lat)]);
  }

  copy() {
    this.outputs.wgs84.nextElementSibling.click();
  }

  release() {
    if (!this.held) return false;
    this.held = null;
    this.mapView.mark({ point: null });
    this.show();
    return true;
  }

  show() {
    const place = this.place();
    this.kind.textContent = this.held ? 'Pinned' : this.pointer ? 'Pointer' : 'Map centre';
    this.bar.classList.toggle('held', Boolean(this.held));
    byId('release').hidden = !this.held;
    this.showTile();
    const key = write(place);
    if (key === this.shown) return;
    this.shown = key;
    this.outputs.wgs84.textContent = key;
    this.bar.classList.add('waiting');
    this.askDatums(place);
  }

  /** The tile under the place, and why it is missing when it is. */
  showTile() {
    const [lon, lat] = this.place();
    const side = this.sideAt();
    const level = side ? side.layer.levelAt(this.mapView.view.getResolution()) : 0;
    const tile = tileAt(lon, lat, level);
    const record = side?.layer.records.get(tile);
    this.tile.textContent = `${tile.z}/${tile.x}/${tile.y}${record?.message ? `: ${record.message}` : ''}`;
    this.tile.title = this.tile.textContent;
    // Of the tile that is pointed at; that of the middle is nobody's question.
    this.fault.hidden = !record?.message || !(this.held ?? this.pointer);
    this.fault.textContent = this.fault.hidden ? '' : `${tile.z}/${tile.x}/${tile.y}: ${record.message}`;
  }

  /** The side of the map that the place is on. */
  sideAt() {
    const sides = this.mapView.shownSides();
    const at = this.held ?? this.pointer;
    const pixel = at && this.mapView.map.getPixelFromCoordinate(at);
    const part = pixel ? pixel[0] / this.mapView.map.getSize()[0] : 0.5;
    return sides.find(({ to }) => part <= to) ?? sides.at(-1);
  }

  async ask(place) {
    this.abort?.abort();
    this.abort = new AbortController();
    const { signal } = this.abort;
    const key = write(place);
    try {
      const datums = await fetchDatums(place, signal);
      if (key !== this.shown) return;
      for (const datum of ['gcj02', 'bd09']) this.outputs[datum].textContent = write(datums[datum]);
    } catch (error) {
      if (signal.aborted) return;
      for (const datum of ['gcj02', 'bd09']) this.outputs[datum].textContent = kNoNumbers;
    }
    this.bar.classList.remove('waiting');
  }
}
