// SPDX-License-Identifier: MIT
import { inflateSync } from 'node:zlib';

const kSignature = '89504e470d0a1a0a';
/** Bytes of a pixel by colour type; other types are not met here. */
const kBytes = { 0: 1, 2: 3, 3: 1, 6: 4 };

function* chunksOf(png) {
  for (let at = 8; at < png.length;) {
    const length = png.readUInt32BE(at);
    yield { type: png.toString('latin1', at + 4, at + 8), data: png.subarray(at + 8, at + 8 + length) };
    at += 12 + length;
  }
}

function paeth(left, up, corner) {
  const guess = left + up - corner;
  const [a, b, c] = [Math.abs(guess - left), Math.abs(guess - up), Math.abs(guess - corner)];
  if (a <= b && a <= c) return left;
  return b <= c ? up : corner;
}

/** Undoes the filters of all rows. */
function unfilter(raw, width, height, bytes) {
  const stride = width * bytes;
  const out = Buffer.alloc(stride * height);
  for (let row = 0; row < height; ++row) {
    const filter = raw[row * (stride + 1)];
    for (let i = 0; i < stride; ++i) {
      const at = row * stride + i;
      const left = i >= bytes ? out[at - bytes] : 0;
      const up = row ? out[at - stride] : 0;
      const corner = row && i >= bytes ? out[at - stride - bytes] : 0;
      const add = [0, left, up, (left + up) >> 1, paeth(left, up, corner)][filter];
      out[at] = raw[row * (stride + 1) + 1 + i] + add;
    }
  }
  return out;
}

/**
 * Decodes a PNG of 8 bits a channel without interlacing, which screenshots and tiles are.
 * @returns {{width: number, height: number, at: (x: number, y: number) => number[]}} red, green, blue
 */
export function decodePng(png) {
  if (png.toString('hex', 0, 8) !== kSignature) throw new Error('this is no PNG');
  const chunks = [...chunksOf(png)];
  const header = chunks.find(({ type }) => type === 'IHDR').data;
  const [width, height] = [header.readUInt32BE(0), header.readUInt32BE(4)];
  const [depth, colours, , , interlace] = header.subarray(8, 13);
  const bytes = kBytes[colours];
  if (depth !== 8 || interlace || !bytes) throw new Error(`PNG of depth ${depth}, type ${colours} is not read here`);
  const packed = Buffer.concat(chunks.filter(({ type }) => type === 'IDAT').map(({ data }) => data));
  const pixels = unfilter(inflateSync(packed), width, height, bytes);
  const palette = chunks.find(({ type }) => type === 'PLTE')?.data;
  return {
    width,
    height,
    at(x, y) {
      const first = pixels[(y * width + x) * bytes];
      if (colours === 3) return [...palette.subarray(first * 3, first * 3 + 3)];
      return colours === 0 ? [first, first, first] : [...pixels.subarray((y * width + x) * bytes).subarray(0, 3)];
    },
  };
}
