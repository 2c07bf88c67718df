/**
 * Comparing texts without regard to case, accents and the shape of quotation marks.
 */

/** Accents of Latin, Greek and Cyrillic, Hebrew points and Arabic vowel signs; they can be left out. */
const accents = /[\u0300-\u036f\u0591-\u05c7\u064b-\u065f]+/g;

/**
 * @param {string} text
 * @returns {string} Equal for texts that differ only in case, accents and quotation marks.
 */
export function fold(text) {
  return text
    .toLowerCase()
    .normalize('NFD')
    .replace(accents, '')
    .replace(/[‘’]/g, "'")
    .replace(/[“”]/g, '"')
    .replace(/ς/g, 'σ');
}

/**
 * Where a folded text occurs in a text, as pairs of a start and an end.
 *
 * @param {string} text
 * @param {string} wanted Folded, not empty.
 * @returns {[number, number][]}
 */
export function occurrences(text, wanted) {
  let folded = '';
  /** @type {number[]} Where in `text` the character is from which each folded one came. */
  const origins = [];
  let at = 0;
  for (const character of text) {
    const added = fold(character);
    for (let i = 0; i < added.length; i += 1) origins.push(at);
    folded += added;
    at += character.length;
  }
  /** @type {[number, number][]} */
  const found = [];
  let from = folded.indexOf(wanted);
  while (from >= 0) {
    const end = from + wanted.length;
    found.push([origins[from], endOfCharacter(text, origins[end - 1])]);
    from = folded.indexOf(wanted, end);
  }
  return found;
}

/**
 * The end of the character at an index, with the accents that follow it.
 *
 * @param {string} text
 * @param {number} at
 */
function endOfCharacter(text, at) {
  const accented = /.\p{M}*/suy;
  accented.lastIndex = at;
  accented.test(text);
  return Math.max(accented.lastIndex, at + 1);
}
