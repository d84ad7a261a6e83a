// SPDX-License-Identifier: MIT

/** Whether keys belong to what has the focus. */
function isTyping(element) {
  return element instanceof HTMLElement &&
    (element.isContentEditable || ['INPUT', 'TEXTAREA', 'SELECT'].includes(element.tagName));
}

/**
 * @typedef {{key: string, name: string, run: () => void}} Shortcut
 * @param {Shortcut[]} shortcuts  Escape works while typing, too; the others do not
 */
export function listenForKeys(shortcuts) {
  addEventListener('keydown', (event) => {
    if (event.ctrlKey || event.altKey || event.metaKey || event.defaultPrevented) return;
    const shortcut = shortcuts.find(({ key }) => key === event.key);
    if (!shortcut || (isTyping(event.target) && event.key !== 'Escape')) return;
    event.preventDefault();
    shortcut.run();
  });
}
