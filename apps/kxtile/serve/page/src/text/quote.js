// SPDX-License-Identifier: MIT
// Texts from outside inside texts for other programs.

/** One word of a shell command, whatever is in it. */
export function shellWord(text) {
  return /^[A-Za-z0-9_@%+=:,./-]+$/.test(text) ? text : `'${text.replaceAll("'", "'\\''")}'`;
}

/** A file's name as a word of a shell command: one that begins like an option is none for that. */
export function fileWord(name) {
  return shellWord(name.startsWith('-') ? `./${name}` : name);
}

/** A text in JavaScript that may stand in a page: no quote, tag or line ends it. */
export function scriptText(text) {
  return JSON.stringify(text).replace(/[<\u2028\u2029]/g, (character) =>
    `\\u${character.charCodeAt(0).toString(16).padStart(4, '0')}`);
}

/**
 * A text as markup that shows it, for libraries that take an attribution as markup.
 * @param {string} text
 */
export function markup(text) {
  const entities = { '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;', "'": '&#39;' };
  return text.replace(/[&<>"']/g, (character) => entities[character]);
}
