// SPDX-License-Identifier: MIT
import { h } from './dom.js';
import { icon } from './icons.js';

const kThanksMs = 1600;

/** Copies where the clipboard's own operation is not there: pages that are not on loopback or TLS. */
function copyBySelection(text) {
  const area = h('textarea', { class: 'offscreen', 'aria-hidden': 'true', tabindex: '-1' });
  area.value = text;
  document.body.append(area);
  area.select();
  const isDone = document.execCommand('copy');
  area.remove();
  return isDone;
}

async function copy(text) {
  try {
    await navigator.clipboard.writeText(text);
    return true;
  } catch {
    return copyBySelection(text);
  }
}

/** Says something to those who hear the page. */
export function announce(text) {
  document.getElementById('announcer').textContent = text;
}

/**
 * @param {string} what  for the label: "Copy the command"
 * @param {() => string} text
 */
export function copyButton(what, text) {
  const button = h('button', {
    type: 'button', class: 'icon-button copy', 'aria-label': what, title: what, 'data-key': what,
  }, icon('copy'));
  button.addEventListener('click', async () => {
    const isDone = await copy(text());
    announce(isDone ? 'Copied.' : 'The browser did not allow copying.');
    button.focus();
    button.replaceChildren(icon(isDone ? 'check' : 'warning'));
    button.classList.toggle('done', isDone);
    setTimeout(() => {
      button.replaceChildren(icon('copy'));
      button.classList.remove('done');
    }, kThanksMs);
  });
  return button;
}

/** A text to copy, with its button. */
export function copyBlock(label, text) {
  return h('div', { class: 'copy-block' },
    h('pre', { tabindex: '0', 'aria-label': label }, h('code', {}, text)),
    copyButton(`Copy: ${label}`, () => text));
}
