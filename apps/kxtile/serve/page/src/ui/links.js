// SPDX-License-Identifier: MIT
import { h } from './dom.js';

const kAddress = /https?:\/\/[^\s<>"']+[^\s<>"'.,;:!?)\]]/g;

/** A text of a source, with the web addresses in it as links; no other scheme becomes one. */
export function linked(text) {
  const nodes = [];
  let end = 0;
  for (const match of text.matchAll(kAddress)) {
    if (match.index > end) nodes.push(text.slice(end, match.index));
    nodes.push(outerLink(match[0], match[0]));
    end = match.index + match[0].length;
  }
  if (end < text.length) nodes.push(text.slice(end));
  return nodes;
}

/** The first web address in a text, empty where there is none. */
export function firstAddress(text) {
  return text.match(kAddress)?.[0] ?? '';
}

export function outerLink(address, text) {
  return h('a', { href: address, target: '_blank', rel: 'noopener noreferrer' }, text);
}
