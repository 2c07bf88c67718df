import { firstAtLeast, separator } from './archive.js';
import { breathe } from './dom.js';
import { fold } from './fold.js';

/**
 * @typedef {import('./archive.js').Archive} Archive
 * @typedef {import('./archive.js').Chat} Chat
 * @typedef {import('./archive.js').TextBlock} TextBlock
 *
 * @typedef {object} Hit
 * @property {Chat} chat
 * @property {number} entry
 */

const longestTask = 12; // milliseconds without a chance for the browser to paint

/** A block's texts, folded. One indexOf() passes over all of them. */
export class FoldedBlock {
  #text;
  #starts;

  /**
   * @param {TextBlock} block
   * @param {number} count How many texts there are.
   */
  constructor(block, count) {
    this.#text = fold(block.joined);
    this.#starts = new Uint32Array(count);
    for (let i = 1; i < count; i += 1) {
      this.#starts[i] = this.#text.indexOf(separator, this.#starts[i - 1]) + 1;
    }
  }

  /**
   * Adds the indexes of the texts with an occurrence.
   *
   * @param {string} wanted Folded.
   * @param {number} firstIndex Of the block in the chat.
   * @param {number[]} found
   */
  search(wanted, firstIndex, found) {
    const starts = this.#starts;
    let next = 0;
    let at = this.#text.indexOf(wanted);
    while (at >= 0) {
      while (next < starts.length && starts[next] <= at) next += 1;
      found.push(firstIndex + next - 1);
      if (next === starts.length) return;
      at = this.#text.indexOf(wanted, starts[next]);
    }
  }
}

/** What a search has found so far: hits by chat, the newest first. */
export class Hits {
  /** @type {{ chat: Chat, entries: number[], before: number }[]} */
  #groups = [];
  count = 0;

  /**
   * @param {Chat} chat
   * @param {number[]} entries Ascending.
   */
  add(chat, entries) {
    if (entries.length === 0) return;
    this.#groups.push({ chat, entries, before: this.count });
    this.count += entries.length;
  }

  /**
   * @param {number} index
   * @returns {Hit | undefined}
   */
  at(index) {
    if (index < 0 || index >= this.count) return undefined;
    const group = this.#groups[firstAtLeast(this.#groups.map((each) => each.before), index + 1) - 1];
    return { chat: group.chat, entry: group.entries[group.entries.length - 1 - (index - group.before)] };
  }
}

/**
 * Searches the texts of all chats. Folding all texts takes seconds for a million messages, so this
 * is done in idle time; a search that comes earlier folds what is missing.
 */
export class Search {
  #chats;
  /** @type {Map<Chat, (FoldedBlock | undefined)[]>} */
  #folded = new Map();

  /** @param {Archive} archive */
  constructor(archive) {
    this.#chats = archive.chats;
    for (const chat of this.#chats) this.#folded.set(chat, []);
  }

  /** Folds all texts, one block in each idle period. */
  async prepare() {
    for (const chat of this.#chats) {
      for (let block = 0; block < chat.blockSizes.length; block += 1) {
        await idle();
        await this.#block(chat, block);
      }
    }
  }

  /**
   * Finds all entries whose text has `text` as a part. Returns nothing if it was aborted.
   *
   * @param {string} text
   * @param {AbortSignal} signal
   * @param {(hits: Hits) => void} progress Called from time to time with the hits so far.
   * @returns {Promise<Hits | undefined>}
   */
  async find(text, signal, progress) {
    const wanted = fold(text);
    const hits = new Hits();
    let began = performance.now();
    for (const chat of this.#chats) {
      /** @type {number[]} */
      const found = [];
      for (let block = 0; block < chat.blockSizes.length; block += 1) {
        const folded = this.#folded.get(chat)?.[block] ?? (await this.#block(chat, block));
        folded.search(wanted, chat.blockStarts[block], found);
        if (performance.now() - began > longestTask) {
          progress(hits);
          await breathe();
          began = performance.now();
        }
        if (signal.aborted) return undefined;
      }
      hits.add(chat, found);
    }
    return hits;
  }

  /**
   * @param {Chat} chat
   * @param {number} block
   */
  async #block(chat, block) {
    const blocks = this.#folded.get(chat) ?? [];
    const folded =
      blocks[block] ?? new FoldedBlock(await chat.readBlock(block), chat.blockSizes[block]);
    blocks[block] = folded;
    return folded;
  }
}

/** Waits until the browser has nothing else to do. */
function idle() {
  return new Promise((resolve) => {
    if ('requestIdleCallback' in globalThis) requestIdleCallback(resolve, { timeout: 1000 });
    else setTimeout(resolve, 20); // Safari
  });
}
