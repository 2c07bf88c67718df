import { counted, dateText, LocalClock, noonOf, numberText, percentText } from './dates.js';
import { breathe, byId, element, guide } from './dom.js';
import { coloursOf } from './colours.js';
import { attachmentText } from './entry.js';
import { figure, hourSpan, monthChart, monthName, personChart, weekChart, weekdays } from './charts.js';
import { linkTo } from './router.js';
import { byMonth, longestStreak, ranked, Statistics } from './statistics.js';

/**
 * @typedef {import('./archive.js').Archive} Archive
 * @typedef {import('./archive.js').Chat} Chat
 * @typedef {import('./statistics.js').Place} Place
 * @typedef {import('./statistics.js').PersonCount} PersonCount
 */

const shownPeople = 12; // in a chart; the table has all

/** The overview of one chat or of all: when, who, how often. */
export class Overview {
  #archive;
  #view = byId('overview', HTMLElement);
  #shown = Symbol('nothing');
  /** @type {Map<string, string>} */
  #colours = new Map();

  /** @param {Archive} archive */
  constructor(archive) {
    this.#archive = archive;
  }

  /** @param {Chat} [chat] All chats if it is left out. */
  async show(chat) {
    const shown = Symbol('this call');
    this.#shown = shown;
    const title = chat?.title ?? 'All chats';
    this.#view.setAttribute('aria-label', `Overview: ${title}`);
    this.#view.replaceChildren(element('p', { class: 'wait', role: 'status' }, 'Counting…'));
    this.#view.scrollTop = 0;
    const statistics = new Statistics(new LocalClock());
    for (const each of chat ? [chat] : this.#archive.chats) {
      statistics.add(each, await each.facts());
      await breathe();
      if (this.#shown !== shown) return;
    }
    if (statistics.messages === 0) {
      this.#view.replaceChildren(hero(title, statistics));
      return;
    }
    this.#colours = coloursOf(ranked(statistics.people).map(({ person }) => this.#name(person)));
    const ends = [
      await this.#quoted('The first message', statistics.first),
      await this.#quoted('The last message', statistics.last),
    ];
    if (this.#shown !== shown) return;
    this.#view.replaceChildren(
      hero(title, statistics),
      tiles(statistics, chat ? undefined : this.#archive.chats.length),
      ...(statistics.days.size > 0 ? [months(statistics)] : []),
      this.#people(statistics),
      ...(statistics.days.size > 0 ? [week(statistics)] : []),
      ...this.#reactions(statistics),
      element('div', { class: 'pair' }, ...ends.flat()),
    );
  }

  /** @param {Statistics} statistics */
  #people(statistics) {
    const people = ranked(statistics.people);
    const [most] = people;
    const summary = `Most messages are from ${this.#nameOrYou(most.person)}: ${percent(most.count, statistics.messages)}.`;
    return figure('Who writes', summary, this.#bars(people, summary), {
      head: ['Person', 'Messages'],
      rows: people.map(({ person, count }) => [this.#name(person), count]),
    });
  }

  /** @param {Statistics} statistics */
  #reactions(statistics) {
    if (statistics.reactions === 0) return [];
    const given = ranked(statistics.given);
    const received = ranked(statistics.received);
    const rows = [...new Set([...given, ...received].map((each) => each.person))].map((person) => [
      this.#name(person),
      statistics.given.get(person) ?? 0,
      statistics.received.get(person) ?? 0,
    ]);
    const summary = `Most were given by ${this.#nameOrYou(given[0].person)}, and most received by ${this.#nameOrYou(received[0].person)}.`;
    const charts = element(
      'div',
      { class: 'sides' },
      element('div', {}, element('h4', {}, 'Given'), this.#bars(given, `Reactions given. ${summary}`)),
      element('div', {}, element('h4', {}, 'Received'), this.#bars(received, `Reactions received. ${summary}`)),
    );
    const title = counted(statistics.reactions, 'reaction');
    return [figure(title, summary, charts, { head: ['Person', 'Given', 'Received'], rows })];
  }

  /**
   * @param {PersonCount[]} people
   * @param {string} label
   */
  #bars(people, label) {
    const bars = people.slice(0, shownPeople).map(({ person, count }) => {
      const { name, isMe } = this.#archive.people[person];
      return { label: name, count, colour: isMe ? 'person-me' : (this.#colours.get(name) ?? '') };
    });
    return personChart(bars, label);
  }

  /** @param {number} person Named in a sentence. */
  #nameOrYou(person) {
    return this.#archive.people[person].isMe ? 'you' : this.#name(person);
  }

  /** @param {number} person */
  #name(person) {
    return this.#archive.people[person].name;
  }

  /**
   * @param {string} title
   * @param {Place | undefined} place
   */
  async #quoted(title, place) {
    if (!place) return [];
    const { chat, entry } = place;
    const facts = await chat.facts();
    const block = chat.blockOf(entry);
    const text = (await chat.readBlock(block)).text(entry - chat.blockStarts[block]).trim();
    const shown = text.length > 280 ? `${text.slice(0, 280)}…` : text;
    const name = this.#name(facts.people[entry]);
    return [
      element(
        'section',
        { class: 'card quoted' },
        element('h3', {}, title),
        element('blockquote', { class: facts.isOutgoing(entry) ? 'own' : 'other', dir: 'auto' }, shown || attachmentText(facts.attachments[entry]) || 'Message without text'),
        element('p', {}, element('bdi', {}, name), `, ${dateText('longDay', facts.times[entry])}`),
        element('a', { href: linkTo(chat, facts, entry) }, 'Read on from there'),
      ),
    ];
  }
}

/**
 * @param {string} title
 * @param {Statistics} statistics
 */
function hero(title, statistics) {
  const days = [...statistics.days.keys()];
  const first = days.reduce((a, b) => Math.min(a, b), Infinity);
  const last = days.reduce((a, b) => Math.max(a, b), -Infinity);
  const span = days.length === 0 ? '' : `${dateText('day', noonOf(first))} – ${dateText('day', noonOf(last))}`;
  return element(
    'header',
    { class: 'hero' },
    guide('hero-guide'),
    element('h2', { dir: 'auto' }, title),
    element('p', { class: 'big' }, numberText(statistics.messages)),
    element('p', {}, statistics.messages === 1 ? 'message' : 'messages', span ? `, ${span}` : ''),
  );
}

/**
 * @param {Statistics} statistics
 * @param {number} [chats]
 */
function tiles(statistics, chats) {
  const streak = longestStreak(statistics.days.keys());
  const busiest = statistics.busiestDay;
  const list = element('dl', { class: 'tiles' });
  if (streak) {
    list.append(
      tile('Longest streak', counted(streak.days, 'day'), `from ${dateText('day', noonOf(streak.first))}`),
      tile('Busiest day', counted(busiest.count, 'message'), dateText('day', noonOf(busiest.day))),
      tile('Days with messages', numberText(statistics.days.size), `about ${numberText(Math.round(statistics.messages / statistics.days.size))} on each`),
    );
  }
  if (chats !== undefined) list.append(tile('Chats', numberText(chats), `with ${counted(statistics.people.size, 'person').replace(/persons$/, 'people')}`));
  else list.append(tile('Photos', numberText(statistics.photos), `and ${counted(statistics.reactions, 'reaction')}`));
  return list;
}

/**
 * @param {string} name
 * @param {string} value
 * @param {string} note
 */
function tile(name, value, note) {
  return element(
    'div',
    { class: 'card tile' },
    element('dt', {}, name),
    element('dd', { class: 'figure' }, value),
    element('dd', { class: 'note' }, note),
  );
}

/** @param {Statistics} statistics */
function months(statistics) {
  const counts = byMonth(statistics.days);
  const best = counts.reduce((a, b) => (b.count > a.count ? b : a), { year: 0, month: 0, count: 0 });
  const summary = `Most in ${monthName(best.year, best.month)}: ${counted(best.count, 'message')}.`;
  return figure('Month by month', summary, monthChart(counts, `Messages by month. ${summary}`), {
    head: ['Month', 'Messages'],
    rows: counts.map(({ year, month, count }) => [monthName(year, month), count]),
  });
}

/** @param {Statistics} statistics */
function week({ hours }) {
  const best = hours.indexOf(Math.max(...hours));
  const day = weekdays[Math.floor(best / 24)];
  const summary = `Busiest on ${day}s from ${hourSpan(best % 24)}.`;
  const rows = Array.from({ length: 24 }, (_, hour) => [
    hourSpan(hour),
    ...weekdays.map((_day, weekday) => hours[weekday * 24 + hour]),
  ]);
  return figure('Around the week', summary, weekChart(hours, `Messages by weekday and hour. ${summary}`), {
    head: ['Hour', ...weekdays],
    rows,
  });
}

/**
 * @param {number} part
 * @param {number} whole
 */
function percent(part, whole) {
  return percentText(part / Math.max(1, whole));
}
