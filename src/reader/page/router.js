/**
 * The fragment of the page's address says what the page shows:
 *
 *     #/                              the chats, or the newest chat if there is room for both
 *     #/overview                      the overview of all chats
 *     #/<guid>                        a chat
 *     #/<guid>/overview               the overview of a chat
 *     #/<guid>/<row>                  a message of the chat: the number at the end of its id
 *     #/<guid>/<row>@<milliseconds>   the same, if several messages have that number
 *
 * A part that is a guid is percent-encoded.
 *
 * @typedef {import('./archive.js').Chat} Chat
 * @typedef {import('./archive.js').Facts} Facts
 *
 * @typedef {object} Route
 * @property {'chats' | 'chat' | 'overview'} view
 * @property {string} [guid]
 * @property {number} [row]
 * @property {number} [time]
 */

/** @type {Route} */
const start = { view: 'chats' };

/**
 * @param {string} fragment With the "#".
 * @returns {Route}
 */
export function routeOf(fragment) {
  const [, first, second] = fragment.split('/');
  if (!first) return start;
  if (first === 'overview') return { view: 'overview' };
  const guid = decodedOrNothing(first);
  if (guid === undefined) return start;
  if (second === 'overview') return { view: 'overview', guid };
  const place = /^(-?\d+)(?:@(-?\d+))?$/.exec(second ?? '');
  if (!place) return { view: 'chat', guid };
  const time = place[2] === undefined ? undefined : Number(place[2]);
  return { view: 'chat', guid, row: Number(place[1]), time };
}

/** @param {string} text */
function decodedOrNothing(text) {
  try {
    return decodeURIComponent(text);
  } catch {
    return undefined; // not what encodeURIComponent() writes
  }
}

/** @param {Chat} chat */
export function linkToChat(chat) {
  return `#/${encodeURIComponent(chat.guid)}`;
}

/**
 * Shows what a link leads to, also if the address names it already and the user has scrolled away from
 * it. The browser fires no event then, and the history has the place to which the user scrolled.
 *
 * @param {string} link A fragment with the "#".
 */
export function follow(link) {
  if (location.hash !== link) {
    location.hash = link;
    return;
  }
  history.replaceState(null, '');
  dispatchEvent(new Event('hashchange'));
}

/** @param {Chat} [chat] All chats if it is left out. */
export function linkToOverview(chat) {
  return chat ? `${linkToChat(chat)}/overview` : '#/overview';
}

/**
 * @param {Chat} chat
 * @param {Facts} facts
 * @param {number} index
 */
export function linkTo(chat, facts, index) {
  const row = facts.rows[index];
  const isFirst = !facts.hasRepeatedRows || facts.find(row) === index;
  return `${linkToChat(chat)}/${row}${isFirst ? '' : `@${facts.times[index]}`}`;
}
