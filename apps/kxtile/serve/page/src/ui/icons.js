// SPDX-License-Identifier: MIT

/** Strokes on a square of 20. */
const kStrokes = {
  swipe: 'M3 4h14v12H3zM10 2v16M6.5 8 4.8 10l1.7 2M13.5 8l1.7 2-1.7 2',
  graticule: 'M10 2.5a7.5 7.5 0 1 0 0 15 7.5 7.5 0 1 0 0-15zM2.5 10h15M10 2.5c-4 4-4 11 0 15M10 2.5c4 4 4 11 0 15',
  tiles: 'M3 3h14v14H3zM3 7.7h14M3 12.3h14M7.7 3v14M12.3 3v14',
  extent: 'M2.5 4h15v12h-15zM5.5 8 8 10l-2.5 2M10 12.5h4.5',
  use: 'M8.2 11.8l3.6-3.6M7.5 9 5.4 11a2.6 2.6 0 0 0 3.6 3.6l2-2M12.5 11l2.1-2A2.6 2.6 0 0 0 11 5.4l-2 2',
  keys: 'M2.5 5.5h15v9h-15zM5.5 8.5h.01M8.5 8.5h.01M11.5 8.5h.01M14.5 8.5h.01M6.5 11.7h7',
  layers: 'M10 3.5l7 3.7-7 3.7-7-3.7zM3.4 10.8l6.6 3.5 6.6-3.5M3.4 14l6.6 3.5 6.6-3.5',
  close: 'M5 5l10 10M15 5 5 15',
  copy: 'M7.5 7.5h9v9h-9zM13 7.5v-4H3.5V13h4',
  check: 'M4 10.5l4 4 8-9',
  plus: 'M10 4v12M4 10h12',
  minus: 'M4 10h12',
  previous: 'M12.5 4.5 7 10l5.5 5.5',
  next: 'M7.5 4.5 13 10l-5.5 5.5',
  grip: 'M7.5 5.5 3 10l4.5 4.5M12.5 5.5 17 10l-4.5 4.5',
  exchange: 'M3.5 7h12l-3-3M16.5 13h-12l3 3',
  warning: 'M10 3.2 17.8 16.5H2.2zM10 8v4M10 14.2v.01',
  search: 'M8.7 3.5a5.2 5.2 0 1 0 0 10.4 5.2 5.2 0 1 0 0-10.4zM12.6 12.6 17 17',
  pin: 'M10 17.5c4-4.3 5.5-7 5.5-9.3a5.5 5.5 0 0 0-11 0c0 2.3 1.5 5 5.5 9.3zM10 6.5a1.7 1.7 0 1 0 0 3.4 1.7 1.7 0 1 0 0-3.4z',
};

const kSvg = 'http://www.w3.org/2000/svg';

/** A picture that says nothing to those who do not see it: what holds it has a label. */
export function icon(name) {
  const svg = document.createElementNS(kSvg, 'svg');
  svg.setAttribute('viewBox', '0 0 20 20');
  svg.setAttribute('class', 'icon');
  svg.setAttribute('aria-hidden', 'true');
  const path = document.createElementNS(kSvg, 'path');
  path.setAttribute('d', kStrokes[name]);
  svg.append(path);
  return svg;
}

/** Puts icons into the elements of index.html that ask for one. */
export function fillIcons() {
  for (const element of document.querySelectorAll('[data-icon]')) element.prepend(icon(element.dataset.icon));
}
