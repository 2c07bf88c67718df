import { coloursOf } from './colours.js';
import { counted, dateText, isoDay } from './dates.js';
import { breathe, byId, element } from './dom.js';
import { dayText, entryElement } from './entry.js';
import { linkToOverview } from './router.js';
import { VirtualList } from './virtualList.js';

/**
 * @typedef {import('./archive.js').Archive} Archive
 * @typedef {import('./archive.js').Chat} Chat
 * @typedef {import('./archive.js').Facts} Facts
 * @typedef {import('./entry.js').Context} Context
 *
 * @typedef {object} ReadingPlace Where the user was: kept in the browser's history.
 * @property {string} guid
 * @property {number} row Of the first visible entry, see Facts.find().
 * @property {number} time
 * @property {number} hidden How many pixels of it are above the visible area.
 */

const yearPause = 1000; // milliseconds after which a date that is outside of the chat counts as complete
const scrollPause = 200; // milliseconds without scrolling after which the place is kept
const dayPause = 1200; // milliseconds without scrolling after which the floating day fades
const labelHeight = 40; // pixels from the upper edge to below the floating day
const nearby = 400; // entries before and after the visible one whose texts are loaded at first

/** The conversation of one chat at a time. */
export class Conversation {
  #people;
  #viewport = byId('viewport', HTMLElement);
  #feed = element('div', { role: 'feed', class: 'feed', id: 'feed' });
  #date = byId('date', HTMLInputElement);
  #day = byId('current-day', HTMLElement);
  /** @type {ReturnType<typeof setTimeout> | undefined} */
  #typing;
  #list;
  /** @type {Context | undefined} */
  #context;
  /** @type {ReturnType<typeof setTimeout> | undefined} */
  #keeping;
  /** @type {ReturnType<typeof setTimeout> | undefined} */
  #fading;
  #fragment = ''; // of the address when the chat was shown
  #wanted = '';
  #latest = Symbol('nothing'); // call of show()
  /** @type {number | undefined} */
  #current;

  /** @param {Archive} archive */
  constructor(archive) {
    this.#people = archive.people;
    this.#list = new VirtualList(this.#viewport, this.#feed, (index) => this.#row(index));
    this.#list.onchange = () => this.#scrolled();
    this.#viewport.addEventListener('keydown', (event) => this.#key(event));
    this.#date.addEventListener('change', () => this.#typedDate());
    addEventListener('click', () => this.#keepPlace(), { capture: true }); // before a link is followed
    addEventListener('pagehide', () => this.#keepPlace());
  }

  /** The chat that is shown, and its facts. */
  get context() {
    return this.#context;
  }

  /**
   * Shows a chat: where the user left this entry of the browser's history, at an entry of the chat, or
   * at its end. The texts of the others follow in idle time. A later call takes precedence, also if this
   * one has to wait longer for its texts.
   *
   * @param {Chat} chat
   * @param {number} [row] Of the entry, see Facts.find().
   * @param {number} [time]
   */
  async show(chat, row, time) {
    clearTimeout(this.#typing);
    const call = Symbol('this call');
    this.#latest = call;
    const place = placeIn(chat);
    const facts = await chat.facts();
    if (this.#latest !== call) return;
    const entry = row === undefined ? undefined : facts.find(row, time);
    const kept = place && facts.find(place.row, place.time);
    const index = kept ?? entry ?? facts.count - 1;
    await chat.loadTexts(index - nearby, index + nearby);
    if (this.#latest !== call) return;
    this.#open(chat, facts);
    this.#current = entry;
    const block = entry === undefined ? 'end' : 'center';
    this.#list.reset(facts.count, index, place && kept !== undefined ? -place.hidden : block);
    this.#fragment = location.hash;
    this.#viewport.setAttribute('aria-label', `Conversation: ${chat.title}`);
    this.#scrolled();
    if (entry !== undefined) this.#focus(entry);
    void this.#loadRest(chat);
  }

  /**
   * Marks a text wherever it occurs in the conversation.
   *
   * @param {string} wanted Folded; empty to mark nothing.
   */
  mark(wanted) {
    this.#wanted = wanted;
    if (!this.#context || this.#context.wanted === wanted) return;
    this.#context = { ...this.#context, wanted };
    this.#list.refresh();
  }

  /**
   * Elements for all entries, for printing.
   *
   * @returns {HTMLElement[]}
   */
  allEntries() {
    if (!this.#context) return [];
    const context = { ...this.#context, wanted: '', isWhole: true };
    return Array.from({ length: context.facts.count }, (_, index) => entryElement(context, index));
  }

  /** Loads the texts that are not loaded yet. */
  async loadAll() {
    const chat = this.#context?.chat;
    if (chat) await chat.loadTexts(0, chat.entries);
  }

  /**
   * @param {Chat} chat
   * @param {Facts} facts
   */
  #open(chat, facts) {
    if (this.#context?.chat === chat) return;
    this.#context?.chat.unloadTexts();
    const people = this.#people;
    const colours = coloursOf([...new Set(facts.people)].map((person) => people[person].name));
    this.#context = { chat, facts, people, colours, wanted: this.#wanted, isWhole: false };
    byId('title', HTMLElement).textContent = chat.title;
    byId('subtitle', HTMLElement).textContent = summary(chat);
    byId('open-overview', HTMLAnchorElement).href = linkToOverview(chat);
    this.#feed.setAttribute('aria-label', `Messages of ${chat.title}`);
    this.#date.min = isoDay(chat.first);
    this.#date.max = isoDay(chat.last);
  }

  /** @param {number} index Of the entry that gets the keyboard focus. */
  #focus(index) {
    if (!isSideInUse()) this.#list.row(index)?.focus({ preventScroll: true });
  }

  /** @param {number} index */
  #row(index) {
    if (!this.#context) throw new Error('A row was asked for before a chat was opened.');
    const row = entryElement(this.#context, index);
    if (index === this.#current) row.classList.add('current');
    return row;
  }

  /**
   * Loads the blocks one by one, with pauses. Quotations of entries far away appear then, too.
   *
   * @param {Chat} chat
   */
  async #loadRest(chat) {
    for (const [block, start] of chat.blockStarts.entries()) {
      if (this.#context?.chat !== chat) return;
      await chat.loadTexts(start, start + chat.blockSizes[block]);
      await breathe();
    }
    if (this.#context?.chat === chat && this.#feed.querySelector('.pending, a.quotation')) this.#list.refresh();
    else if (this.#context?.chat !== chat) chat.unloadTexts();
  }

  /** Updates the date field and the floating day, and loads texts that are now needed. */
  #scrolled() {
    if (!this.#context) return;
    const { chat, facts } = this.#context;
    const index = Math.min(this.#list.firstVisible, facts.count - 1);
    this.#day.textContent = dayText(facts, index);
    this.#showFloatingDay();
    if (!this.#date.matches(':focus-within')) this.#date.value = isoDay(facts.times[index]);
    if (this.#feed.querySelector('.pending')) void this.#loadVisible(chat, index);
    clearTimeout(this.#keeping);
    this.#keeping = setTimeout(() => this.#keepPlace(), scrollPause);
  }

  /** Shows the floating day while the list scrolls, unless a day's own heading is there. */
  #showFloatingDay() {
    const edge = this.#viewport.getBoundingClientRect().top;
    const isCovered = Array.from(this.#feed.querySelectorAll('.day')).some((heading) => {
      const { top, bottom } = heading.getBoundingClientRect();
      return bottom > edge && top < edge + labelHeight;
    });
    this.#day.classList.toggle('moving', !isCovered);
    clearTimeout(this.#fading);
    this.#fading = setTimeout(() => this.#day.classList.remove('moving'), dayPause);
  }

  /** Keeps the place in the browser's history, so that Back and a reload return to it. */
  #keepPlace() {
    clearTimeout(this.#keeping);
    const isShown = this.#context && location.hash === this.#fragment && this.#viewport.clientHeight > 0;
    if (!this.#context || !isShown) return;
    const { chat, facts } = this.#context;
    const index = Math.min(this.#list.firstVisible, facts.count - 1);
    /** @type {ReadingPlace} */
    const place = { guid: chat.guid, row: facts.rows[index], time: facts.times[index], hidden: this.#list.hiddenPart };
    history.replaceState(place, '');
  }

  /**
   * @param {Chat} chat
   * @param {number} index
   */
  async #loadVisible(chat, index) {
    await chat.loadTexts(index - nearby, index + nearby);
    if (this.#context?.chat === chat && this.#feed.querySelector('.pending')) this.#list.refresh();
  }

  /**
   * Home and End: the scroll bar alone would take the browser only to where it believes the ends are.
   *
   * @param {KeyboardEvent} event
   */
  #key(event) {
    if (!this.#context || event.ctrlKey || event.altKey || event.metaKey || event.shiftKey) return;
    if (event.key === 'Home') this.#list.show(0, 'start');
    else if (event.key === 'End') this.#list.show(this.#context.facts.count - 1, 'end');
    else return;
    event.preventDefault();
    this.#scrolled();
  }

  /**
   * Jumps to the day in the date field, which changes with every digit that is typed: the first
   * digits of a year make years like 0002 and 0020. So a day outside of the chat has to wait.
   */
  #typedDate() {
    const { value, min, max } = this.#date;
    const pause = value < min || value > max ? yearPause : 0;
    clearTimeout(this.#typing);
    this.#typing = setTimeout(() => this.#showDay(this.#date.valueAsDate), pause);
  }

  /** @param {Date | null} day Midnight UTC of the day. */
  #showDay(day) {
    if (!this.#context || !day || Number.isNaN(day.getTime())) return;
    const { facts } = this.#context;
    const midnight = new Date(day.getUTCFullYear(), day.getUTCMonth(), day.getUTCDate());
    const index = facts.atTime(midnight.getTime());
    this.#list.show(index, 'start');
    this.#scrolled();
  }
}

/**
 * Where the user left the current entry of the browser's history, if that was in this chat.
 *
 * @param {Chat} chat
 * @returns {ReadingPlace | undefined}
 */
function placeIn(chat) {
  return history.state?.guid === chat.guid ? history.state : undefined;
}

/** Whether the keyboard focus is in the visible list of chats and hits, where it stays. */
function isSideInUse() {
  const side = document.activeElement?.closest('.side');
  return side instanceof HTMLElement && side.offsetParent !== null;
}

/** @param {Chat} chat */
export function summary(chat) {
  const days = [dateText('day', chat.first), dateText('day', chat.last)];
  const span = days[0] === days[1] ? days[0] : days.join(' – ');
  return `${counted(chat.messages, 'message')}, ${span}`;
}

