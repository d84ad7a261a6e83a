// SPDX-License-Identifier: MIT
// A tile that is words: what a source says where its picture is missing.

const kEdge = 256;
const kSharpness = 2;
const kPadding = 16;
const kLineHeight = 16;
const kMostLines = 11;
/** Below the corner where the borders of tiles have their words. */
const kTop = 48;
const kFont = '12px system-ui, sans-serif';

const kLight = { ground: '#f3efec', stripe: '#eae3df', line: '#cdbfb8', head: '#9b2c1f', text: '#43372f' };
const kDark = { ground: '#231c1a', stripe: '#2a2220', line: '#4b3a35', head: '#ff9d8c', text: '#dccfc8' };
const kQuietLight = { ground: '#eef1f4', stripe: '#e7ebef', line: '#cfd6de', head: '#5b6676', text: '#5b6676' };
const kQuietDark = { ground: '#151b23', stripe: '#19202a', line: '#2b3542', head: '#9aa7b8', text: '#9aa7b8' };

function colours(isQuiet) {
  const isDark = matchMedia('(prefers-color-scheme: dark)').matches;
  if (isQuiet) return isDark ? kQuietDark : kQuietLight;
  return isDark ? kDark : kLight;
}

/**
 * Breaks a text into lines that fit: between words and behind slashes, where a word still fits no
 * line, inside of it.
 */
export function wrap(text, width, measure) {
  const lines = [''];
  const add = (piece) => {
    const fits = measure(lines.at(-1) + piece) <= width;
    if (fits) lines[lines.length - 1] += piece;
    return fits;
  };
  for (const piece of text.match(/\s*[^\s/]*\/*/g) ?? []) {
    if (add(piece)) continue;
    const word = piece.trimStart();
    lines.push('');
    if (add(word)) continue;
    for (const character of word) if (!add(character)) lines.push(character);
  }
  return lines.filter(Boolean);
}

function drawGround(context, { ground, stripe, line }) {
  context.fillStyle = ground;
  context.fillRect(0, 0, kEdge, kEdge);
  context.strokeStyle = stripe;
  context.lineWidth = 6;
  for (let x = -kEdge; x < kEdge; x += 32) {
    context.beginPath();
    context.moveTo(x, kEdge + 8);
    context.lineTo(x + kEdge + 16, -8);
    context.stroke();
  }
  context.strokeStyle = line;
  context.lineWidth = 1;
  context.strokeRect(0.5, 0.5, kEdge - 1, kEdge - 1);
}

function drawText(context, title, message, { head, text }) {
  context.textBaseline = 'top';
  context.font = `600 ${kFont}`;
  context.fillStyle = head;
  context.fillText(title, kPadding, kTop);
  context.font = kFont;
  context.fillStyle = text;
  const width = kEdge - 2 * kPadding;
  const lines = wrap(message, width, (line) => context.measureText(line).width);
  if (lines.length > kMostLines) lines.splice(kMostLines - 1, Infinity, '…');
  lines.forEach((line, i) => context.fillText(line, kPadding, kTop + 22 + i * kLineHeight));
}

/**
 * @param {string} title    short
 * @param {string} message  in words, one line
 * @param {boolean} isQuiet for what is no fault: a place without a tile
 * @returns {HTMLCanvasElement}
 */
export function wordsTile(title, message, isQuiet) {
  const canvas = document.createElement('canvas');
  canvas.width = canvas.height = kEdge * kSharpness;
  const context = canvas.getContext('2d');
  context.scale(kSharpness, kSharpness);
  const palette = colours(isQuiet);
  drawGround(context, palette);
  drawText(context, title, message, palette);
  return canvas;
}

/** A tile without anything. */
export function emptyTile() {
  const canvas = document.createElement('canvas');
  canvas.width = canvas.height = 1;
  return canvas;
}
