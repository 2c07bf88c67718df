import { dateText } from './dates.js';
import { breathe, byId, element } from './dom.js';
import { summary } from './conversation.js';

/** @typedef {import('./conversation.js').Conversation} Conversation */

/**
 * Prints a chat whole, though its list on the screen has only a few rows: before printing, all rows
 * are created in an element that only exists on paper.
 */
export class Printing {
  #conversation;
  #paper = byId('paper', HTMLElement);

  /** @param {Conversation} conversation */
  constructor(conversation) {
    this.#conversation = conversation;
    byId('print', HTMLElement).addEventListener('click', () => void this.print());
    addEventListener('beforeprint', () => this.#fill());
    addEventListener('afterprint', () => this.#paper.replaceChildren());
  }

  /** Opens the browser's print dialog when all texts are there. */
  async print() {
    await this.#conversation.loadAll();
    await breathe();
    print();
  }

  /** Creates the rows, unless the overview is shown, which prints as it is. */
  #fill() {
    const context = this.#conversation.context;
    if (!context || document.body.dataset.view === 'overview') return;
    const entries = this.#conversation.allEntries();
    const feed = element('div', { class: 'feed' }, ...entries);
    const isWhole = !feed.querySelector('.pending');
    const note = 'Some texts are not here yet. Wait a moment, then print again.';
    this.#paper.replaceChildren(
      element('h1', { dir: 'auto' }, context.chat.title),
      element('p', { class: 'printed' }, `${summary(context.chat)}. Printed ${dateText('day', Date.now())}.`),
      ...(isWhole ? [] : [element('p', { class: 'warning' }, note)]),
      feed,
    );
  }
}
