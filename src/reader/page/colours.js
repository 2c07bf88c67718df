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
 * One or two letters for the circle of a person or a chat: of the first and the last word.
 *
 * @param {string} name
 */
export function initials(name) {
  const words = name.match(/[\p{L}\p{N}][\p{L}\p{M}\p{N}]*/gu) ?? [];
  if (!/\p{L}/u.test(name)) return '#';
  const first = Array.from(words[0] ?? '')[0] ?? '';
  const last = words.length > 1 ? (Array.from(words[words.length - 1])[0] ?? '') : '';
  return (first + last).toUpperCase();
}
