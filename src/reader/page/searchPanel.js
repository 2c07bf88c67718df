import { numberText, counted, dateText } from './dates.js';
import { byId, element } from './dom.js';
import { marked } from './entry.js';
import { fold } from './fold.js';
import { follow, linkTo } from './router.js';
import { Hits } from './search.js';

/**
 * @typedef {import('./archive.js').Archive} Archive
 * @typedef {import('./chatList.js').ChatList} ChatList
 * @typedef {import('./search.js').Hit} Hit
 * @typedef {import('./search.js').Search} Search
 */

const shownAtOnce = 50; // hits in the list; more on demand
const textBefore = 30; // characters before the first occurrence in a hit's text
const typingPause = 60; // milliseconds

/** The search field, the number of hits, the buttons that step through them, and their list. */
export class SearchPanel {
  #archive;
  #chatList;
  #search;
  #field = byId('search', HTMLInputElement);
  #status = byId('hit-count', HTMLElement);
  #panel = byId('hits-panel', HTMLElement);
  #list = byId('hits', HTMLElement);
  #more = byId('more-hits', HTMLButtonElement);
  #hits = new Hits();
  #current = -1;
  #wanted = '';
  #running = new AbortController();
  /** @type {Promise<void>} */
  #finished = Promise.resolve();
  /** @type {ReturnType<typeof setTimeout> | undefined} */
  #typing;

  /** Called with the folded text when another one is searched for. */
  /** @type {(wanted: string) => void} */
  onsearch = () => {};

  /**
   * @param {Archive} archive
   * @param {ChatList} chatList
   * @param {Search} search
   */
  constructor(archive, chatList, search) {
    this.#archive = archive;
    this.#chatList = chatList;
    this.#search = search;
    this.#field.addEventListener('input', () => {
      this.#panel.setAttribute('aria-busy', 'true');
      clearTimeout(this.#typing);
      this.#typing = setTimeout(() => this.#start(), typingPause);
    });
    this.#field.addEventListener('keydown', (event) => this.#key(event));
    byId('next-hit', HTMLElement).addEventListener('click', () => this.#step(1));
    byId('previous-hit', HTMLElement).addEventListener('click', () => this.#step(-1));
    this.#more.addEventListener('click', () => void this.#showMore());
  }

  focus() {
    this.#field.focus();
    this.#field.select();
  }

  /** @param {KeyboardEvent} event */
  #key(event) {
    const isDown = event.key === 'ArrowDown' || (event.key === 'Enter' && !event.shiftKey);
    const isUp = event.key === 'ArrowUp' || (event.key === 'Enter' && event.shiftKey);
    if (event.key === 'Escape') this.#clear();
    else if (isDown || isUp) void this.#step(isDown ? 1 : -1);
    else return;
    event.preventDefault();
  }

  #clear() {
    this.#field.value = '';
    this.#start();
  }

  /** Searches for the text in the field. */
  #start() {
    clearTimeout(this.#typing);
    const wanted = fold(this.#field.value.trim());
    if (wanted !== this.#wanted) {
      this.#wanted = wanted;
      this.#finished = this.#find();
    }
    const finished = this.#finished;
    void finished.then(() => {
      if (finished === this.#finished) this.#panel.setAttribute('aria-busy', 'false');
    });
  }

  async #find() {
    this.#running.abort();
    const running = new AbortController();
    this.#running = running;
    this.#current = -1;
    this.#chatList.filter(this.#wanted);
    this.onsearch(this.#wanted);
    this.#panel.hidden = this.#wanted === '';
    this.#status.textContent = '';
    this.#list.replaceChildren();
    this.#hits = new Hits();
    if (this.#wanted === '') return;
    const hits = await this.#search.find(this.#wanted, running.signal, (some) => {
      this.#status.textContent = `Searching… ${counted(some.count, 'message')}`;
    });
    if (!hits) return;
    this.#hits = hits;
    this.#list.replaceChildren();
    this.#showCount();
    await this.#showMore();
  }

  #showCount() {
    const { count } = this.#hits;
    if (this.#current >= 0) {
      this.#status.textContent = `${numberText(this.#current + 1)} of ${counted(count, 'message')}`;
    } else {
      this.#status.textContent = count === 0 ? 'No messages' : counted(count, 'message');
    }
  }

  /** @param {1 | -1} direction */
  async #step(direction) {
    this.#start();
    await this.#finished;
    const { count } = this.#hits;
    if (count === 0) return;
    this.#current =
      this.#current < 0 && direction < 0 ? count - 1 : (this.#current + direction + count) % count;
    this.#showCount();
    await this.#open(this.#current);
  }

  /** @param {number} index */
  async #open(index) {
    const hit = this.#hits.at(index);
    if (!hit) return;
    const facts = await hit.chat.facts();
    if (index !== this.#current) return; // the user has gone on
    follow(linkTo(hit.chat, facts, hit.entry));
    this.#markCurrent();
  }

  #markCurrent() {
    for (const [index, item] of [...this.#list.children].entries()) {
      const link = item.firstElementChild;
      if (index !== this.#current) link?.removeAttribute('aria-current');
      else {
        link?.setAttribute('aria-current', 'true');
        item.scrollIntoView({ block: 'nearest' });
      }
    }
  }

  /** Adds the next hits to the list. */
  async #showMore() {
    const hits = this.#hits;
    const from = this.#list.children.length;
    const to = Math.min(from + shownAtOnce, hits.count);
    const items = [];
    for (let index = from; index < to; index += 1) items.push(await this.#item(hits, index));
    if (hits !== this.#hits || from !== this.#list.children.length) return; // another search began
    this.#list.append(...items);
    this.#more.hidden = to >= hits.count;
  }

  /**
   * @param {Hits} hits
   * @param {number} index
   */
  async #item(hits, index) {
    const { chat, entry } = /** @type {Hit} */ (hits.at(index));
    const facts = await chat.facts();
    const text = await textOf({ chat, entry });
    const person = this.#archive.people[facts.people[entry]].name;
    const link = element(
      'a',
      { href: linkTo(chat, facts, entry), class: 'hit' },
      element('span', { class: 'title', dir: 'auto' }, person === chat.title ? person : `${person} · ${chat.title}`),
      element('span', { class: 'when' }, dateText('day', facts.times[entry])),
      element('span', { class: 'excerpt', dir: 'auto' }, ...marked(excerpt(text, this.#wanted), this.#wanted)),
    );
    link.addEventListener('click', () => {
      this.#current = index;
      this.#showCount();
      this.#markCurrent();
    });
    return element('li', {}, link);
  }
}

/** @type {{ chat: unknown, block: number, texts: Promise<import('./archive.js').TextBlock> } | undefined} */
let lastBlock;

/**
 * The text of an entry. Remembers its block, because the next hit is often in the same one.
 *
 * @param {Hit} hit
 */
async function textOf({ chat, entry }) {
  const block = chat.blockOf(entry);
  if (lastBlock?.chat !== chat || lastBlock.block !== block) {
    lastBlock = { chat, block, texts: chat.readBlock(block) };
  }
  return (await lastBlock.texts).text(entry - chat.blockStarts[block]);
}

/**
 * A short part of a text, with the first occurrence of what is searched for.
 *
 * @param {string} text
 * @param {string} wanted Folded.
 */
export function excerpt(text, wanted) {
  const line = text.replace(/\s+/g, ' ');
  const at = Math.max(0, fold(line).indexOf(wanted)); // about there, if folding changed the length
  const from = at <= textBefore ? 0 : line.lastIndexOf(' ', at - textBefore / 2);
  const start = from <= 0 && at > textBefore ? at - textBefore : Math.max(from, 0);
  return (start > 0 ? '…' : '') + line.slice(start, start + 160).trim();
}
