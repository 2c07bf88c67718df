import { Kind } from './archive.js';

/**
 * Counting messages for the overview.
 *
 * @typedef {import('./archive.js').Chat} Chat
 * @typedef {import('./archive.js').Facts} Facts
 * @typedef {import('./dates.js').LocalClock} LocalClock
 *
 * @typedef {object} Place A message.
 * @property {Chat} chat
 * @property {number} entry
 *
 * @typedef {object} Month
 * @property {number} year
 * @property {number} month 0 is January.
 * @property {number} count
 *
 * @typedef {object} PersonCount
 * @property {number} person Index in Archive.people.
 * @property {number} count
 *
 * @typedef {object} Streak Days in a row with at least one message.
 * @property {number} first As LocalClock.day() counts.
 * @property {number} days
 */

const hoursPerWeek = 168;

/**
 * The longest of the streaks; the first of several. Nothing if there are no days.
 *
 * @param {Iterable<number>} days In any order, without repetitions.
 * @returns {Streak | undefined}
 */
export function longestStreak(days) {
  const sorted = Float64Array.from(days).sort();
  /** @type {Streak | undefined} */
  let longest;
  let began = 0;
  for (let i = 0; i < sorted.length; i += 1) {
    if (i > 0 && sorted[i] !== sorted[i - 1] + 1) began = i;
    const length = i - began + 1;
    if (!longest || length > longest.days) longest = { first: sorted[began], days: length };
  }
  return longest;
}

const longestChart = 1200; // months

/**
 * Counts by month, from the first month to the last. Months without messages are included, unless
 * dates are centuries apart.
 *
 * @param {Map<number, number>} days How many messages each day has; days since 1970.
 * @returns {Month[]}
 */
export function byMonth(days) {
  /** @type {Map<number, number>} */
  const months = new Map();
  for (const [day, count] of days) {
    const date = new Date(day * 86_400_000);
    const month = date.getUTCFullYear() * 12 + date.getUTCMonth();
    months.set(month, (months.get(month) ?? 0) + count);
  }
  const known = [...months.keys()].sort((a, b) => a - b);
  const span = known.length === 0 ? 0 : known[known.length - 1] - known[0] + 1;
  const shown = span > longestChart ? known : Array.from({ length: span }, (_, i) => known[0] + i);
  return shown.map((month) => ({
    year: Math.floor(month / 12),
    month: ((month % 12) + 12) % 12,
    count: months.get(month) ?? 0,
  }));
}

/**
 * The largest counts first.
 *
 * @param {Map<number, number>} counts By person.
 * @returns {PersonCount[]}
 */
export function ranked(counts) {
  return [...counts]
    .map(([person, count]) => ({ person, count }))
    .sort((a, b) => b.count - a.count || a.person - b.person);
}

/** Counts the messages and reactions of the chats that are added. System lines are not counted. */
export class Statistics {
  #clock;
  messages = 0;
  photos = 0;
  reactions = 0;
  /** @type {Map<number, number>} Messages by day. */
  days = new Map();
  /** @type {Map<number, number>} Messages by person, an index in Archive.people. */
  people = new Map();
  /** Messages by hour of the week; it begins on Monday. */
  hours = new Uint32Array(hoursPerWeek);
  /** @type {Map<number, number>} Reactions by person who gave them. */
  given = new Map();
  /** @type {Map<number, number>} Reactions by person who got them. */
  received = new Map();
  /** @type {Place | undefined} */
  first;
  /** @type {Place | undefined} */
  last;
  #firstTime = Infinity;
  #lastTime = -Infinity;

  /** @param {LocalClock} clock */
  constructor(clock) {
    this.#clock = clock;
  }

  /**
   * @param {Chat} chat
   * @param {Facts} facts Of the chat.
   */
  add(chat, facts) {
    for (let entry = 0; entry < facts.count; entry += 1) {
      if (facts.kind(entry) === Kind.message) this.#addMessage(chat, facts, entry);
    }
    const { entries, people } = facts.reactions;
    for (let i = 0; i < entries.length; i += 1) {
      this.reactions += 1;
      increase(this.given, people[i]);
      increase(this.received, facts.people[entries[i]]);
    }
  }

  /**
   * @param {Chat} chat
   * @param {Facts} facts
   * @param {number} entry
   */
  #addMessage(chat, facts, entry) {
    this.messages += 1;
    this.photos += Math.max(0, facts.attachments[entry] - 1);
    increase(this.people, facts.people[entry]);
    if (!facts.hasDate(entry)) return;
    const time = facts.times[entry];
    const local = this.#clock.local(time);
    const day = Math.floor(local / 86_400_000);
    const hour = Math.floor((local - day * 86_400_000) / 3_600_000);
    increase(this.days, day);
    this.hours[((((day + 3) % 7) + 7) % 7) * 24 + hour] += 1;
    if (time < this.#firstTime) {
      this.#firstTime = time;
      this.first = { chat, entry };
    }
    if (time >= this.#lastTime) {
      this.#lastTime = time;
      this.last = { chat, entry };
    }
  }

  /** The day with the most messages; the first of several. */
  get busiestDay() {
    let busiest = { day: 0, count: 0 };
    for (const [day, count] of this.days) {
      if (count > busiest.count || (count === busiest.count && day < busiest.day)) busiest = { day, count };
    }
    return busiest;
  }
}

/**
 * @param {Map<number, number>} counts
 * @param {number} key
 */
function increase(counts, key) {
  counts.set(key, (counts.get(key) ?? 0) + 1);
}
