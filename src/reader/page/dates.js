/**
 * Dates in local time, as English texts. Times are milliseconds since 1970 UTC.
 */

const locale = globalThis.navigator?.languages?.find((each) => each.startsWith('en')) ?? 'en';
const formats = {
  time: new Intl.DateTimeFormat(locale, { hour: 'numeric', minute: '2-digit' }),
  day: new Intl.DateTimeFormat(locale, { dateStyle: 'medium' }),
  longDay: new Intl.DateTimeFormat(locale, { dateStyle: 'full' }),
  month: new Intl.DateTimeFormat(locale, { month: 'long', year: 'numeric' }),
  moment: new Intl.DateTimeFormat(locale, { dateStyle: 'full', timeStyle: 'medium' }),
};

/**
 * @param {keyof typeof formats} format
 * @param {number} time
 */
export function dateText(format, time) {
  return formats[format].format(time);
}

const number = new Intl.NumberFormat(locale);

/** @param {number} value */
export function numberText(value) {
  return number.format(value);
}

const share = new Intl.NumberFormat(locale, { style: 'percent' });

/** @param {number} part Of 1. */
export function percentText(part) {
  return share.format(part);
}

/**
 * "1 message" or "2 messages".
 *
 * @param {number} count
 * @param {string} noun
 */
export function counted(count, noun) {
  return `${numberText(count)} ${noun}${count === 1 ? '' : 's'}`;
}

const msPerDay = 86_400_000;
const msPerQuarter = 900_000; // clocks change at full quarters of an hour

/** Converts many times that are close to each other: remembers the offset of a quarter of an hour. */
export class LocalClock {
  #quarter = NaN;
  #offset = 0;

  /**
   * The time as if the local clock showed UTC.
   *
   * @param {number} time
   */
  local(time) {
    const quarter = Math.floor(time / msPerQuarter);
    if (quarter !== this.#quarter) {
      this.#quarter = quarter;
      this.#offset = new Date(time).getTimezoneOffset() * 60_000;
    }
    return time - this.#offset;
  }

  /**
   * The number of the local day; 0 is 1 January 1970, a Thursday.
   *
   * @param {number} time
   */
  day(time) {
    return Math.floor(this.local(time) / msPerDay);
  }
}

/**
 * A time in the middle of a local day.
 *
 * @param {number} day As LocalClock.day() counts.
 */
export function noonOf(day) {
  const date = new Date(day * msPerDay);
  return new Date(date.getUTCFullYear(), date.getUTCMonth(), date.getUTCDate(), 12).getTime();
}

/**
 * The local day as a date field writes it, "2024-05-06".
 *
 * @param {number} time
 */
export function isoDay(time) {
  return new Date(new LocalClock().local(time)).toISOString().slice(0, 10);
}
