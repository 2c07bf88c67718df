import { inflated, NumberReader } from './unpack.js';

/**
 * The packed chats of the page. PageWriter.h describes how they are packed.
 *
 * An entry is what has a place in a conversation: a message, a system line, or a reaction whose
 * message is not in the page. All other reactions belong to their message's entry.
 *
 * @typedef {object} Person
 * @property {string} name
 * @property {boolean} isMe
 *
 * @typedef {object} PackedChat
 * @property {string} guid
 * @property {string} title
 * @property {number} entries
 * @property {number} messages
 * @property {number} first Milliseconds since 1970 UTC.
 * @property {number} last
 * @property {number[]} blocks How many entries each block of texts has.
 *
 * @typedef {object} PackedArchive
 * @property {Person[]} people
 * @property {PackedChat[]} chats
 */

/** The kinds of entries. */
export const Kind = Object.freeze({ message: 0, system: 1, reaction: 2 });

/** The kinds of reactions, in the order of their numbers. */
export const reactionKinds = Object.freeze([
  { symbol: '❤️', name: 'love' },
  { symbol: '👍', name: 'like' },
  { symbol: '👎', name: 'dislike' },
  { symbol: '😂', name: 'laugh' },
  { symbol: '‼️', name: 'emphasis' },
  { symbol: '❓', name: 'question' },
  { symbol: '✨', name: 'reaction' },
]);

const noReply = 0;
const missingReply = 1;

/** Everything about the entries of one chat except their texts, by index of the entry. */
export class Facts {
  #kinds;
  #replies;
  /** @type {boolean | undefined} */
  #hasRepeatedRows;

  /**
   * @param {Uint8Array} bytes
   * @param {number} count How many entries there are.
   */
  constructor(bytes, count) {
    const numbers = new NumberReader(bytes);
    this.count = count;
    /** Milliseconds since 1970 UTC, ascending. */
    this.times = numbers.differences(new Float64Array(count));
    /** The number at the end of the record's id. */
    this.rows = numbers.differences(new Float64Array(count));
    /** Index in Archive.people. */
    this.people = numbers.column(new Uint32Array(count));
    this.#kinds = numbers.column(new Uint8Array(count));
    /** 0: none, 1: one or more of unknown kind, n + 1: n photos. */
    this.attachments = numbers.column(new Uint32Array(count));
    this.#replies = numbers.column(new Uint32Array(count));
    const reactions = numbers.next();
    this.reactions = {
      /** Index of the entry reacted to, ascending. */
      entries: numbers.differences(new Float64Array(reactions)),
      people: numbers.column(new Uint32Array(reactions)),
      kinds: numbers.column(new Uint8Array(reactions)),
    };
  }

  /** Whether a row occurs twice. It may, in files that come from different databases. */
  get hasRepeatedRows() {
    this.#hasRepeatedRows ??= new Set(this.rows).size < this.count;
    return this.#hasRepeatedRows;
  }

  /** @param {number} index */
  kind(index) {
    return this.#kinds[index] & 3;
  }

  /** @param {number} index */
  hasDate(index) {
    return (this.#kinds[index] & 4) === 0;
  }

  /** @param {number} index */
  isOutgoing(index) {
    return (this.#kinds[index] & 8) !== 0;
  }

  /**
   * The entry that this one replies to, 'missing' if that is not in the page, or nothing.
   *
   * @param {number} index
   */
  replyTarget(index) {
    const packed = this.#replies[index];
    if (packed === noReply) return undefined;
    if (packed === missingReply) return 'missing';
    const zigzag = packed - 2;
    return index + (zigzag % 2 === 0 ? zigzag / 2 : -(zigzag + 1) / 2);
  }

  /**
   * The reactions to an entry, in order.
   *
   * @param {number} index
   * @returns {{ person: number, kind: number }[]}
   */
  reactionsTo(index) {
    const { entries, people, kinds } = this.reactions;
    const found = [];
    for (let at = firstAtLeast(entries, index); entries[at] === index; at += 1) {
      found.push({ person: people[at], kind: kinds[at] });
    }
    return found;
  }

  /**
   * The entry with this row, and this time if it is given; nothing if there is none.
   *
   * @param {number} row
   * @param {number} [time]
   */
  find(row, time) {
    const index = this.rows.findIndex(
      (each, i) => each === row && (time === undefined || this.times[i] === time),
    );
    return index < 0 ? undefined : index;
  }

  /**
   * The first entry at this time or after it, or the last entry.
   *
   * @param {number} time
   */
  atTime(time) {
    return Math.min(firstAtLeast(this.times, time), this.count - 1);
  }
}

/**
 * The index of the first of these ascending numbers that is at least `least`.
 *
 * @param {{ [index: number]: number, readonly length: number }} numbers
 * @param {number} least
 */
export function firstAtLeast(numbers, least) {
  let from = 0;
  let to = numbers.length;
  while (from < to) {
    const middle = (from + to) >>> 1;
    if (numbers[middle] < least) from = middle + 1;
    else to = middle;
  }
  return from;
}

/** Separates the texts of a block. No text contains it. */
export const separator = '\0';

/** The texts of some consecutive entries. */
export class TextBlock {
  /** @type {string[] | undefined} */
  #texts;

  /** @param {Uint8Array} bytes */
  constructor(bytes) {
    /** All texts, with separators between them. */
    this.joined = new TextDecoder('utf-8', { ignoreBOM: true }).decode(bytes);
  }

  /** @param {number} index Within the block. */
  text(index) {
    this.#texts ??= this.joined.split(separator);
    return this.#texts[index];
  }
}

/** A title of which nothing is visible: blanks, and characters that only join or direct others. */
const blankTitle = /^[\s\p{Cc}\p{Default_Ignorable_Code_Point}]*$/u;

/** One chat. Its facts and texts are unpacked when they are first needed. */
export class Chat {
  /** @type {Promise<Facts> | undefined} */
  #facts;
  /** @type {(TextBlock | undefined)[]} */
  #texts = [];
  #elements;

  /**
   * @param {PackedChat} packed
   * @param {number} number The number of the chat in the ids of its elements.
   * @param {(id: string) => string} elements Reads the element with an id.
   */
  constructor(packed, number, elements) {
    this.number = number;
    this.guid = packed.guid;
    this.title = blankTitle.test(packed.title) ? packed.guid : packed.title;
    this.entries = packed.entries;
    this.messages = packed.messages;
    this.first = packed.first;
    this.last = packed.last;
    this.isGroup = packed.guid.includes(';+;');
    this.blockSizes = packed.blocks;
    /** The index of the first entry of each block. */
    this.blockStarts = packed.blocks.map(() => 0);
    for (let i = 1; i < packed.blocks.length; i += 1) {
      this.blockStarts[i] = this.blockStarts[i - 1] + packed.blocks[i - 1];
    }
    this.#elements = elements;
  }

  /** @returns {Promise<Facts>} */
  facts() {
    this.#facts ??= inflated(this.#elements(`facts-${this.number}`)).then(
      (bytes) => new Facts(bytes, this.entries),
    );
    return this.#facts;
  }

  /**
   * Unpacks a block, and does not keep it.
   *
   * @param {number} block
   */
  async readBlock(block) {
    return new TextBlock(await inflated(this.#elements(`texts-${this.number}-${block}`)));
  }

  /** @param {number} index Of an entry. */
  blockOf(index) {
    return firstAtLeast(this.blockStarts, index + 1) - 1;
  }

  /**
   * Unpacks the blocks of these entries and keeps them for text().
   *
   * @param {number} from
   * @param {number} to Exclusive.
   */
  async loadTexts(from, to) {
    const last = this.blockOf(Math.min(to, this.entries) - 1);
    for (let block = this.blockOf(Math.max(from, 0)); block <= last; block += 1) {
      this.#texts[block] ??= await this.readBlock(block);
    }
  }

  /** Forgets all texts. */
  unloadTexts() {
    this.#texts = [];
  }

  /**
   * The text of an entry, or nothing if its block is not loaded.
   *
   * @param {number} index
   */
  text(index) {
    const block = this.blockOf(index);
    return this.#texts[block]?.text(index - this.blockStarts[block]);
  }
}

/** All chats of the page, newest first. */
export class Archive {
  /**
   * @param {PackedArchive} packed
   * @param {(id: string) => string} elements Reads the element with an id.
   */
  constructor(packed, elements) {
    this.people = packed.people;
    this.chats = packed.chats
      .map((chat, number) => new Chat(chat, number, elements))
      .sort((a, b) => b.last - a.last);
    this.messages = this.chats.reduce((sum, chat) => sum + chat.messages, 0);
  }

  /** The archive in this page. */
  static ofPage() {
    const read = (/** @type {string} */ id) => document.getElementById(id)?.textContent ?? '';
    return new Archive(JSON.parse(read('archive')), read);
  }
}
