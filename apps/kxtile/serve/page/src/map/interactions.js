// SPDX-License-Identifier: MIT
import Kinetic from 'ol/Kinetic.js';
import DragPan from 'ol/interaction/DragPan.js';
import KeyboardPan from 'ol/interaction/KeyboardPan.js';
import KeyboardZoom from 'ol/interaction/KeyboardZoom.js';
import { defaults } from 'ol/interaction/defaults.js';

/** Whether a visitor wants nothing to move by itself. */
export const isCalm = () => matchMedia('(prefers-reduced-motion: reduce)').matches;

/** What the map does with pointers and keys; without turning, and calmly for who wants that. */
export function interactions() {
  const duration = isCalm() ? 0 : undefined;
  const all = defaults({
    altShiftDragRotate: false, pinchRotate: false, dragPan: false, keyboard: false, zoomDuration: duration,
  });
  // A dragged map glides on a little. Pinching comes before it.
  all.insertAt(0, new DragPan({ kinetic: isCalm() ? undefined : new Kinetic(-0.005, 0.05, 100) }));
  all.push(new KeyboardPan({ duration }));
  all.push(new KeyboardZoom({ duration }));
  return all;
}
