// SPDX-License-Identifier: MIT
import { h } from './dom.js';
import { icon } from './icons.js';

const kThanksMs = 1600;
/** As long as it takes to read what to do, and to do it. */
const kHintMs = 6000;

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

/** What is left to do once a text is selected. */
function selectedHint() {
  if (matchMedia('(pointer: coarse)').matches) return 'Selected. Choose Copy.';
  return /Mac/.test(navigator.platform) ? 'Selected. Press ⌘C.' : 'Selected. Press Ctrl+C.';
}

/** Shows beside a button for a while how it ended. */
function show(button, name, hint) {
  clearTimeout(button.timer);
  button.replaceChildren(icon(name), ...(hint ? [h('span', { class: 'copy-hint' }, hint)] : []));
  button.classList.toggle('done', name === 'check');
  button.timer = setTimeout(() => {
    button.replaceChildren(icon('copy'));
    button.classList.remove('done');
  }, hint ? kHintMs : kThanksMs);
}

/**
 * Where a browser lets no page copy, the text is selected for its visitor to copy.
 * @param {string} what  for the label: "Copy the command"
 * @param {() => HTMLElement} element  that holds the text
 */
export function copyButton(what, element) {
  const button = h('button', {
    type: 'button', class: 'icon-button copy', 'aria-label': what, title: what, 'data-key': what,
  }, icon('copy'));
  button.addEventListener('click', async () => {
    const isDone = await copy(element().textContent);
    button.focus();
    if (!isDone) getSelection().selectAllChildren(element());
    const hint = isDone ? '' : selectedHint();
    announce(hint || 'Copied.');
    show(button, isDone ? 'check' : 'copy', hint);
  });
  return button;
}

/** A text to copy, with its button. */
export function copyBlock(label, text) {
  const code = h('code', {}, text);
  return h('div', { class: 'copy-block' },
    h('pre', { tabindex: '0', 'aria-label': label }, code),
    copyButton(`Copy: ${label}`, () => code));
}
