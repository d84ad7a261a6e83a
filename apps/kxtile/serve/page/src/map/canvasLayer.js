// SPDX-License-Identifier: MIT
import Layer from 'ol/layer/Layer.js';

/**
 * A layer that is drawn anew for every frame: `draw(context, frame)` gets a cleared canvas in CSS
 * pixels and where the map lies on it.
 * @typedef {object} Frame
 * @property {number} width    pixels
 * @property {number} height   pixels
 * @property {number} resolution  metres a pixel
 * @property {number[]} extent    metres
 * @property {(x: number) => number} toColumn  pixels from the left edge, of metres
 * @property {(y: number) => number} toRow     pixels from the top edge, of metres
 *
 * @param {(context: CanvasRenderingContext2D, frame: Frame) => void} draw
 * @param {string} className
 */
export function canvasLayer(draw, className) {
  const canvas = document.createElement('canvas');
  canvas.className = className;
  const context = canvas.getContext('2d');
  return new Layer({
    render(frameState) {
      const { size: [width, height], pixelRatio, extent } = frameState;
      const { resolution, center } = frameState.viewState;
      canvas.width = Math.round(width * pixelRatio);
      canvas.height = Math.round(height * pixelRatio);
      context.scale(pixelRatio, pixelRatio);
      draw(context, {
        width,
        height,
        resolution,
        extent,
        toColumn: (x) => (x - center[0]) / resolution + width / 2,
        toRow: (y) => (center[1] - y) / resolution + height / 2,
      });
      return canvas;
    },
  });
}
