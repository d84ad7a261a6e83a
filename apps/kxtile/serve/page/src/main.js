// SPDX-License-Identifier: MIT
import { MapView } from './map/mapView.js';
import { showScale } from './map/scaleBar.js';
import { ClientsPanel } from './panels/clientsPanel.js';
import { Comparison } from './panels/comparison.js';
import { Coordinates } from './panels/coordinates.js';
import { showCredits } from './panels/credits.js';
import { Drawer } from './panels/drawer.js';
import { ExtentPanel } from './panels/extentPanel.js';
import { GoTo } from './panels/goto.js';
import { KeysPanel } from './panels/keysPanel.js';
import { Notices } from './panels/notices.js';
import { Sheet } from './panels/sheet.js';
import { SideCards } from './panels/sideCards.js';
import { SourceList } from './panels/sourceList.js';
import { Swipe } from './panels/swipe.js';
import { listenForKeys } from './shortcuts.js';
import { wholeView } from './start.js';
import { parseView } from './state/address.js';
import { followSources } from './state/followSources.js';
import { fetchSources } from './state/gateway.js';
import { followAddress } from './state/history.js';
import { Sources } from './state/sources.js';
import { Store } from './state/store.js';
import { byId, debounce, h } from './ui/dom.js';
import { fillIcons } from './ui/icons.js';

/** How much of the map's left part is covered above and below, for labels that keep clear of it. */
function insets() {
  const map = byId('map').getBoundingClientRect();
  const bar = byId('topbar').getBoundingClientRect();
  const foot = Math.min(...['legend', 'scale'].map(byId).filter((element) => element.offsetHeight)
    .map((element) => element.getBoundingClientRect().top));
  return { above: Math.max(0, bar.bottom - map.top), below: Math.max(0, map.bottom - foot + 8) };
}

function makeDrawer({ store, mapView, comparison, sourceById, shortcuts, version }) {
  const redraw = () => drawer.redraw();
  const current = () => sourceById.get(comparison.current.id) ?? null;
  // An address may name a day of a source that has none.
  const date = () => (current()?.history ? comparison.current.date : '');
  const panels = {
    extent: new ExtentPanel(mapView, current, date, redraw),
    use: new ClientsPanel(current, date, redraw),
    keys: new KeysPanel(() => shortcuts, version),
  };
  const drawer = new Drawer({
    drawer: byId('drawer'), title: byId('drawer-title'), body: byId('drawer-body'), close: byId('drawer-close'),
  }, panels);
  drawer.onToggle((open) => {
    for (const name of Object.keys(panels)) byId(`open-${name}`).setAttribute('aria-expanded', String(open === name));
    document.body.classList.toggle('has-drawer', Boolean(open));
  });
  const follow = debounce(80, redraw);
  // Only one of the panels speaks of the extent; drawn anew, the others would lose what is selected.
  mapView.map.on('moveend', () => drawer.open === 'extent' && follow());
  store.subscribe((view, previous) => {
    if (view.left !== previous.left || view.right !== previous.right) follow();
  });
  return drawer;
}

function markShown(list, store) {
  const { left, right } = store.view;
  const marks = new Map([[left.id, right ? 'left' : 'shown']]);
  if (right) marks.set(right.id, marks.has(right.id) ? 'both' : 'right');
  list.mark(marks);
}

/** On a small screen the button that opens the sources says what is shown. */
function nameShown({ store, sourceById }) {
  const draw = () => {
    const { left, right } = store.view;
    const names = [left, right].filter(Boolean).map(({ id }) => sourceById.get(id)?.name ?? id);
    const text = [...new Set(names)].filter(Boolean).join(' | ') || 'Sources';
    byId('shown-name').textContent = text;
    byId('open-sources').setAttribute('aria-label', `${text}: choose among the sources`);
  };
  store.subscribe(draw);
  draw();
}

/** On a small screen the search is behind the sheet's button. */
function focusSearch(sheet) {
  if (byId('open-sources').offsetParent) sheet.show();
  byId('search').focus();
}

function makeShortcuts({ store, comparison, drawer, cards, sheet, coordinates, mapView }) {
  const toggle = (name) => store.update({ [name]: !store.view[name] }, { step: true });
  const leave = () => {
    if (drawer().close() || sheet.hide() || coordinates.release()) return;
    mapView.mark({ extent: null });
    document.activeElement?.blur();
  };
  return [
    { key: '/', name: 'Search the sources', run: () => focusSearch(sheet) },
    { key: 'g', name: 'Go to a place or a tile', run: () => byId('goto-input').select() },
    { key: 'm', name: 'To the map', run: () => byId('map').focus() },
    { key: 's', name: 'Swipe between two sides', run: () => comparison.toggle() },
    { key: 'x', name: 'Exchange the two sides', run: () => comparison.exchange() },
    { key: 'l', name: 'Graticule', run: () => toggle('graticule') },
    { key: 't', name: 'Tiles with their addresses', run: () => toggle('tiles') },
    { key: 'e', name: 'Commands for this view', run: () => drawer().toggle('extent') },
    { key: 'u', name: 'Use it in other programs', run: () => drawer().toggle('use') },
    { key: 'r', name: 'Ask for the tiles again', run: () => mapView.reload() },
    { key: '?', name: 'Keys', run: () => drawer().toggle('keys') },
    { key: 'a', name: 'Aligned tiles, or the raw ones of the service', run: () => comparison.changeForm() },
    { key: ',', name: 'Earlier picture', run: () => cards().step(-1) },
    { key: '.', name: 'Later picture', run: () => cards().step(1) },
    { key: 'c', name: 'Copy the coordinates (WGS 84)', run: () => coordinates.copy() },
    { key: 'Escape', name: 'Close, unpin', run: leave },
  ];
}

function bindToolbar(store, comparison, drawer, mapView) {
  byId('toggle-swipe').addEventListener('click', () => comparison.toggle());
  for (const name of ['graticule', 'tiles'])
    byId(`toggle-${name}`).addEventListener('click', () => store.update({ [name]: !store.view[name] }, { step: true }));
  for (const name of ['extent', 'use', 'keys'])
    byId(`open-${name}`).addEventListener('click', () => drawer.toggle(name));
  byId('zoom-in').addEventListener('click', () => mapView.zoomBy(1));
  byId('zoom-out').addEventListener('click', () => mapView.zoomBy(-1));
  const draw = ({ right, graticule, tiles, zoom }) => {
    byId('toggle-swipe').setAttribute('aria-pressed', String(Boolean(right)));
    byId('toggle-graticule').setAttribute('aria-pressed', String(graticule));
    byId('toggle-tiles').setAttribute('aria-pressed', String(tiles));
    byId('legend').hidden = !tiles;
    byId('zoom-level').textContent = String(Number(zoom.toFixed(1)));
  };
  store.subscribe(draw);
  draw(store.view);
}

/** Everything of the page, once the sources are known. */
function begin({ sources: listed, version }) {
  const known = new Sources(listed);
  const { list: sources, byId: sourceById } = known;
  const mend = (asked) => wholeView(asked, sources);
  const store = new Store(mend(parseView(location.hash)));
  followAddress(store, mend);
  const mapView = new MapView(byId('map'), store, sourceById, insets);
  const comparison = new Comparison(store, sources);
  const sheet = new Sheet({
    sheet: byId('sidebar'), open: byId('open-sources'), close: byId('close-sources'),
    covered: [byId('stage'), byId('drawer'), byId('skip')],
  });
  const coordinates = new Coordinates(mapView);

  const list = new SourceList({ list: byId('sources'), search: byId('search'), count: byId('source-count') },
    sources, (source) => {
      comparison.show(source);
      sheet.hide();
    });
  store.subscribe((view, previous) => {
    if (view.left !== previous.left || view.right !== previous.right) markShown(list, store);
  });
  markShown(list, store);
  const cards = new SideCards({ cards: byId('sides'), dates: byId('map-dates') }, store, sourceById, comparison, mapView);
  new Notices(byId('notices'), store, mapView);
  const describe = ({ id, raw, date }) =>
    ({ name: sourceById.get(id)?.name ?? id, form: [raw ? 'raw' : '', date].filter(Boolean).join(' · ') });
  new Swipe({
    frame: byId('map'), handle: byId('swipe'), line: byId('swipe-line'), left: byId('swipe-left'), right: byId('swipe-right'),
  }, store, describe);
  new GoTo({ form: byId('goto'), input: byId('goto-input'), hint: byId('goto-hint') }, store, mapView, coordinates);
  showCredits(byId('credits'), store, sourceById);
  showScale(byId('scale'), mapView);
  nameShown({ store, sourceById });

  const shortcuts = makeShortcuts({ store, comparison, drawer: () => drawer, cards: () => cards, sheet, coordinates, mapView });
  const drawer = makeDrawer({ store, mapView, comparison, sourceById, shortcuts, version });
  comparison.onChoice(() => drawer.redraw());
  bindToolbar(store, comparison, drawer, mapView);
  listenForKeys(shortcuts);
  followSources(known, () => {
    // A page that began without a source begins now.
    store.update(store.view.left.id ? {} : mend({}));
    markShown(list, store);
    cards.draw();
    drawer.redraw();
  });
  byId('version').textContent = version;
  byId('topbar').inert = false;
  document.body.dataset.state = 'ready';
}

/** Without the list there is nothing to show, but why. */
function fail(error) {
  document.body.dataset.state = 'failed';
  byId('map').setAttribute('aria-busy', 'false');
  const why = error instanceof TypeError ? 'The gateway does not answer. Is kxtile serve still running?' : `The gateway says: ${error.message}`;
  byId('start-failure').replaceChildren(
    h('strong', {}, 'The list of sources did not come.'), h('span', {}, why),
    h('button', { type: 'button', class: 'quiet-button', on: { click: () => location.reload() } }, 'Try again'));
}

fillIcons();
fetchSources().then(begin, fail);
