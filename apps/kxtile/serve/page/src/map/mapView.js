// SPDX-License-Identifier: MIT
import OlMap from 'ol/Map.js';
import View from 'ol/View.js';
import { kHalf, toLat, toLon, toX, toY } from '../text/mercator.js';
import { bordersLayer } from './bordersLayer.js';
import { degreesLayer, graticuleLayer } from './graticuleLayer.js';
import { interactions, isCalm } from './interactions.js';
import { markLayer } from './markLayer.js';
import { followPixelRatio, isDense } from './sharpness.js';
import { SideLayer } from './sideLayer.js';

const kDeepest = 24;
const kNames = ['left', 'right'];

const turned = (lon) => ((((lon + 180) % 360) + 360) % 360) - 180;

function isClose([lon, lat], zoom, other) {
  const step = 360 / (256 * 2 ** zoom);
  return zoom === other.zoom && Math.abs(lon - other.center[0]) < step / 2 &&
    Math.abs(lat - other.center[1]) < step / 2;
}

/** The map: what the store says is shown, and where the visitor moves it, the store hears. */
export class MapView {
  /**
   * @param {HTMLElement} target
   * @param {import('../state/store.js').Store} store
   * @param {Map<string, import('../types.js').Source>} sources  by id
   * @param {() => {above: number, below: number}} insets  what controls cover of the map
   */
  constructor(target, store, sources, insets) {
    this.store = store;
    this.sources = sources;
    /** @type {{left: ?SideLayer, right: ?SideLayer}} */
    this.sides = { left: null, right: null };
    this.marks = { point: null, extent: null };
    /** @type {(() => void)[]} */
    this.tileListeners = [];
    this.graticule = graticuleLayer();
    this.degrees = degreesLayer(insets);
    this.borders = bordersLayer(() => this.shownSides(), () => this.store.view.graticule);
    this.markings = markLayer(() => this.marks);
    const { center, zoom } = store.view;
    this.view = new View({
      center: [toX(center[0]), toY(center[1])],
      zoom,
      maxZoom: kDeepest,
      enableRotation: false,
      // Level 0 is a tile, too: the world may be smaller than the map, and is repeated beside itself.
      multiWorld: true,
      extent: [-Infinity, -kHalf, Infinity, kHalf],
      constrainOnlyCenter: true,
      // Whole levels only: a pixel of the screen is a pixel of a tile.
      constrainResolution: true,
    });
    this.map = new OlMap({
      target,
      view: this.view,
      controls: [],
      layers: [this.graticule, this.borders, this.degrees, this.markings],
      interactions: interactions(),
      maxTilesLoading: 12,
    });
    this.map.on('moveend', () => this.tellMove());
    this.map.on('loadstart', () => target.setAttribute('aria-busy', 'true'));
    this.map.on('rendercomplete', () => target.setAttribute('aria-busy', 'false'));
    store.subscribe((view) => this.show(view));
    this.show(store.view);
    followPixelRatio(() => {
      this.map.setPixelRatio(devicePixelRatio);
      this.show(this.store.view);
    });
  }

  /** The sides with the part of the map's width that each has. */
  shownSides() {
    const { right, split } = this.store.view;
    const shown = right ? [['left', 0, split], ['right', split, 1]] : [['left', 0, 1]];
    return shown.flatMap(([name, from, to]) =>
      this.sides[name] ? [{ name, layer: this.sides[name], from, to }] : []);
  }

  /** @param {import('../types.js').View} view */
  show(view) {
    for (const name of kNames) this.showSide(name, view[name]);
    this.graticule.setVisible(view.graticule);
    this.degrees.setVisible(view.graticule);
    this.borders.setVisible(view.tiles);
    if (!isClose(view.center, view.zoom, this.place())) this.move(view.center, view.zoom);
    this.map.render();
  }

  showSide(name, side) {
    const source = side && this.sources.get(side.id);
    const current = this.sides[name];
    if (source && current?.shows(source, side, isDense(devicePixelRatio))) return;
    if (current) this.map.removeLayer(current.layer);
    this.sides[name] = source ? this.makeSide(name, source, side) : null;
  }

  makeSide(name, source, side) {
    const made = new SideLayer(source, side, isDense(devicePixelRatio));
    made.layer.on('prerender', ({ context, frameState }) => {
      this.clip(name, context);
      context.imageSmoothingEnabled = !made.hasSquares(frameState.viewState.resolution / frameState.pixelRatio);
    });
    made.layer.on('postrender', (event) => event.context.restore());
    for (const event of ['tileloadend', 'tileloaderror']) {
      made.tiles.on(event, () => {
        this.borders.changed();
        for (const listener of this.tileListeners) listener();
      });
    }
    // The left one below: the right one covers it from the split on.
    this.map.getLayers().insertAt(name === 'left' || !this.sides.left ? 0 : 1, made.layer);
    return made;
  }

  /** Leaves of a side's layer the part that it has of the map. */
  clip(name, context) {
    const { right, split } = this.store.view;
    const { width, height } = context.canvas;
    const middle = right ? Math.round(split * width) : width;
    context.save();
    context.beginPath();
    if (name === 'left') context.rect(0, 0, middle, height);
    else context.rect(middle, 0, width - middle, height);
    context.clip();
  }

  /** Longitude and latitude of the middle, and the level. */
  place() {
    const [x, y] = this.view.getCenter();
    return { center: [turned(toLon(x)), toLat(y)], zoom: this.view.getZoom() };
  }

  move([lon, lat], zoom) {
    this.view.cancelAnimations();
    this.view.setCenter([toX(lon), toY(lat)]);
    this.view.setZoom(zoom);
  }

  tellMove() {
    const place = this.place();
    const { center, zoom } = this.store.view;
    if (!isClose(center, zoom, place)) this.store.update(place);
  }

  zoomBy(levels) {
    this.view.cancelAnimations();
    this.view.animate({ zoom: Math.round(this.view.getZoom()) + levels, duration: isCalm() ? 0 : 200 });
  }

  /** West, south, east, north of what is in view, in metres. */
  extent() {
    return this.view.calculateExtent(this.map.getSize());
  }

  /** @param {{point?: ?number[], extent?: ?number[]}} marks  metres */
  mark(marks) {
    this.marks = { ...this.marks, ...marks };
    this.markings.changed();
  }

  /** @param {() => void} listener  called whenever a tile has come or failed */
  onTile(listener) {
    this.tileListeners.push(listener);
  }

  reload() {
    for (const { layer } of this.shownSides()) layer.reload();
  }
}
