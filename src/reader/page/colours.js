/**
 * A colour for each person and chat: the same in every page, if no one else of the same chat has it.
 * palette.css has the colours.
 */

const colourCount = 10;

/**
 * @param {string} name
 * @returns {string} The class that sets --person to the colour.
 */
export function colourOf(name) {
  let hash = 2_166_136_261; // FNV-1a
  for (let i = 0; i < name.length; i += 1) {
    hash = Math.imul(hash ^ name.charCodeAt(i), 16_777_619);
  }
  return className((hash >>> 8) % colourCount);
}

/**
 * Different colours for people, as long as there are enough.
 *
 * @param {string[]} names
 * @returns {Map<string, string>} Classes by name.
 */
export function coloursOf(names) {
  const colours = new Map();
  const free = new Set(Array.from({ length: colourCount }, (_, number) => className(number)));
  for (const name of names) {
    const preferred = colourOf(name);
    const [next = preferred] = free;
    const colour = free.has(preferred) ? preferred : next;
    free.delete(colour);
    colours.set(name, colour);
  }
  return colours;
}

/** @param {number} number */
function className(number) {
  return `person-${number}`;
}

/**
 * One or two letters for the circle of a person or a chat: of the first and the last word, or of the
 * first two if the name ends with a number of others, like "+1". An e-mail address counts up to its host.
 *
 * @param {string} name
 */
export function initials(name) {
  const words = name.replace(/(\S)@\S+/g, '$1').match(/[\p{L}\p{N}][\p{L}\p{M}\p{N}]*/gu) ?? [];
  const letters = words.filter((word) => /^\p{L}/u.test(word)).map((word) => Array.from(word)[0]);
  if (letters.length === 0) return '#';
  const others = /\+\d+$/.test(name) ? letters.slice(1, 2) : letters.slice(1).slice(-1);
  return [letters[0], ...others].join('').toUpperCase();
}
