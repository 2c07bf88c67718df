import { counted, dateText } from './dates.js';
import { byId, element, svgElement } from './dom.js';
import { circle } from './entry.js';
import { fold } from './fold.js';
import { linkToChat, linkToOverview } from './router.js';

/**
 * @typedef {import('./archive.js').Archive} Archive
 * @typedef {import('./archive.js').Chat} Chat
 */

/** The list of chats, which a text filters by title. */
export class ChatList {
  #list = byId('chats', HTMLElement);
  #rows;

  /** @param {Archive} archive */
  constructor(archive) {
    const overview = row(linkToOverview(), chartSymbol(), 'Overview', 'Months, people and habits');
    this.#rows = [
      { chat: undefined, title: 'overview', element: overview },
      ...archive.chats.map((chat) => ({ chat, title: fold(chat.title), element: chatRow(chat) })),
    ];
    this.#list.append(...this.#rows.map((each) => each.element));
  }

  /**
   * Shows only the chats whose title has `wanted` as a part.
   *
   * @param {string} wanted Folded; empty for all.
   * @returns {number} How many chats are shown.
   */
  filter(wanted) {
    let shown = 0;
    for (const { title, element: item } of this.#rows) {
      item.hidden = !title.includes(wanted);
      if (!item.hidden) shown += 1;
    }
    this.#list.hidden = shown === 0;
    return shown;
  }

  /**
   * Marks the row of what is shown.
   *
   * @param {Chat | 'overview' | undefined} current
   */
  mark(current) {
    for (const { chat, element: item } of this.#rows) {
      const isCurrent = current === 'overview' ? chat === undefined : chat !== undefined && chat === current;
      const link = item.firstElementChild;
      if (!isCurrent) link?.removeAttribute('aria-current');
      else {
        link?.setAttribute('aria-current', 'page');
        item.scrollIntoView({ block: 'nearest' });
      }
    }
  }
}

/** @param {Chat} chat */
function chatRow(chat) {
  const when = `${counted(chat.messages, 'message')}, last ${dateText('day', chat.last)}`;
  return row(linkToChat(chat), circle(chat.title), chat.title, when);
}

/**
 * @param {string} href
 * @param {Node} picture
 * @param {string} title
 * @param {string} subtitle
 */
function row(href, picture, title, subtitle) {
  const texts = element(
    'span',
    { class: 'texts' },
    element('span', { class: 'title', dir: 'auto' }, title),
    element('span', { class: 'subtitle' }, subtitle),
  );
  return element('li', {}, element('a', { href, class: 'row', title }, picture, texts));
}

function chartSymbol() {
  const bars = svgElement(
    'svg',
    { viewBox: '0 0 24 24', 'aria-hidden': 'true' },
    svgElement('path', { d: 'M6 19v-6M12 19V5M18 19v-9', class: 'stroke' }),
  );
  return element('span', { class: 'circle overview' }, bars);
}
