// SPDX-License-Identifier: MIT
// Elements out of data. Texts become text nodes, never markup, whoever wrote them.

/**
 * @param {string} tag
 * @param {Record<string, any>} [attributes]  `on` is an object of listeners; null and false are left out
 * @param {...(Node|string|null|false)} children
 * @returns {HTMLElement}
 */
export function h(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (name === 'on') {
      for (const [event, listener] of Object.entries(value)) element.addEventListener(event, listener);
    } else if (value !== null && value !== undefined && value !== false) {
      element.setAttribute(name, value === true ? '' : value);
    }
  }
  element.append(...children.filter((child) => child !== null && child !== undefined && child !== false));
  return element;
}

/** The element of the page with an id, which is in index.html. */
export function byId(id) {
  const element = document.getElementById(id);
  if (!element) throw new Error(`index.html has no #${id}`);
  return element;
}

/**
 * Changes what an element holds; the focus stays on the child with the same data-key, where a number
 * is selected as after the tab key.
 * @param {() => void} change
 */
export function keepFocus(element, change) {
  const key = element.contains(document.activeElement) ? document.activeElement.dataset.key : '';
  change();
  if (!key) return;
  const focused = element.querySelector(`[data-key="${CSS.escape(key)}"]`);
  focused?.focus({ preventScroll: true });
  if (focused?.type === 'number') focused.select();
}

/** Replaces what an element holds, keeping the focus. */
export function replace(element, ...children) {
  keepFocus(element, () => element.replaceChildren(...children.filter(Boolean)));
}

/** Phones and windows as small; what is asked here is asked in css/small.css, too. */
export const smallScreen = () => matchMedia('(max-width: 760px), (max-height: 480px)');

/** Calls a function once things have been quiet for a while. */
export function debounce(ms, action) {
  let timer = 0;
  return (...values) => {
    clearTimeout(timer);
    timer = setTimeout(() => action(...values), ms);
  };
}
