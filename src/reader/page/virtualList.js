import { element } from './dom.js';

const batch = 12; // rows that are created before their heights are measured
const maximumHeight = 8_000_000; // pixels; browsers limit elements to about 17 million
const settleDelay = 150; // milliseconds without a scroll event

/**
 * A scrolling list of any length with rows of any height, of which only those near the visible area
 * exist.
 *
 * The heights of rows that were never shown are unknown, so the scroll bar stands for indexes, not
 * for pixels: half-way down is half of the rows. While the user scrolls by pixels, rows are added at
 * both ends of the existing ones, which do not move. When scrolling pauses, settle() moves the
 * scroll bar to where it belongs, and the rows along with it, so that nothing visible moves.
 *
 * In a hidden viewport all heights are 0, so that no number of rows would fill it. The list keeps its
 * place then, and fills the viewport when that becomes visible.
 */
export class VirtualList {
  #viewport;
  #render;
  #sizer = element('div', { class: 'sizer' });
  #rows;
  #count = 0;
  #first = 0; // index of the first row that exists
  #top = 0; // of the first row, in pixels from the start of the sizer
  #height = 0; // of the sizer
  /** @type {ReturnType<typeof setTimeout> | undefined} */
  #settling;
  /** The row at the upper edge and its distance from it, to be kept when the width changes. */
  #anchor = { index: 0, offset: 0 };

  /** Called when other rows became visible. */
  onchange = () => {};

  /**
   * @param {HTMLElement} viewport The element that scrolls.
   * @param {HTMLElement} rows The element for the rows.
   * @param {(index: number) => HTMLElement} render Creates a row.
   */
  constructor(viewport, rows, render) {
    this.#viewport = viewport;
    this.#rows = rows;
    this.#render = render;
    this.#sizer.append(rows);
    viewport.replaceChildren(this.#sizer);
    viewport.addEventListener('scroll', () => this.#scrolled(), { passive: true });
    new ResizeObserver(() => this.#resized()).observe(viewport);
  }

  /** The index of the first visible row. */
  get firstVisible() {
    return this.#anchor.index;
  }

  /** How many pixels of that row are above the visible area. */
  get hiddenPart() {
    return -this.#anchor.offset;
  }

  /**
   * Starts a new list, and shows one of its rows.
   *
   * @param {number} count How many rows it has.
   * @param {number} index Of the row to show.
   * @param {'start' | 'center' | 'end' | number} block Where; a number is its distance from the upper edge.
   */
  reset(count, index, block) {
    this.#count = count;
    this.#height = 0;
    this.show(index, block);
  }

  /**
   * Scrolls to a row.
   *
   * @param {number} index
   * @param {'start' | 'center' | 'end' | number} block As in reset().
   */
  show(index, block) {
    this.#keepFocus([this.#rows]);
    this.#rows.replaceChildren();
    this.#first = index;
    if (this.#count === 0) return;
    this.#rows.append(this.#render(index));
    if (this.#height === 0) this.#estimateHeight();
    const room = this.#viewport.clientHeight - this.#rows.offsetHeight;
    this.#viewport.scrollTop = (index / this.#count) * this.#range;
    this.#moveTo(this.#viewport.scrollTop + distanceFor(block, room));
    this.#fill();
    this.#closeGaps();
    this.#settle();
    this.#noteAnchor();
  }

  /**
   * Creates the existing rows anew, in their places. A row that would be the same stays, and with it
   * the text that is selected in it. The keyboard focus stays in its row.
   */
  refresh() {
    const { index, offset } = this.#anchor;
    for (const [i, row] of [...this.#rows.children].entries()) {
      const fresh = this.#render(this.#first + i);
      if (!row.isEqualNode(fresh)) replaceRow(row, fresh);
    }
    this.#keep(index, offset);
  }

  /**
   * The element of a row, if it exists.
   *
   * @param {number} index
   * @returns {HTMLElement | undefined}
   */
  row(index) {
    const found = this.#rows.children[index - this.#first];
    return found instanceof HTMLElement ? found : undefined;
  }

  get #end() {
    return this.#first + this.#rows.children.length;
  }

  get #isHidden() {
    return this.#viewport.clientHeight === 0;
  }

  /** The highest value of scrollTop. */
  get #range() {
    return Math.max(0, this.#height - this.#viewport.clientHeight);
  }

  #estimateHeight() {
    const usual = Math.min(Math.max(this.#rows.offsetHeight, 40), 80);
    this.#setHeight(Math.min(this.#count * usual, maximumHeight));
  }

  /** @param {number} height */
  #setHeight(height) {
    this.#height = height;
    this.#sizer.style.setProperty('height', `${height}px`);
  }

  /** @param {number} top */
  #moveTo(top) {
    this.#top = top;
    this.#rows.style.setProperty('transform', `translateY(${top}px)`);
  }

  #scrolled() {
    if (this.#isHidden) return; // an event of before
    const from = this.#viewport.scrollTop - this.#top;
    const page = this.#viewport.clientHeight;
    if (from > this.#rows.offsetHeight + page || from < -2 * page) this.#jump();
    else this.#fill();
    if (this.#isAtLimit()) this.#settle();
    this.#noteAnchor();
    clearTimeout(this.#settling);
    this.#settling = setTimeout(() => this.#settle(), settleDelay);
    this.onchange();
  }

  /** Shows the rows for a place on the scroll bar that is far from the existing rows. */
  #jump() {
    const share = this.#range === 0 ? 0 : this.#viewport.scrollTop / this.#range;
    const index = Math.min(Math.floor(share * this.#count), this.#count - 1);
    this.#keepFocus([this.#rows]);
    this.#rows.replaceChildren(this.#render(index));
    this.#first = index;
    this.#moveTo(this.#viewport.scrollTop + share * this.#viewport.clientHeight);
    this.#fill();
    this.#closeGaps();
  }

  /** Adds rows until they reach beyond the visible area, and removes those far from it. */
  #fill() {
    if (this.#isHidden) return;
    const page = this.#viewport.clientHeight;
    const from = this.#viewport.scrollTop - page;
    const to = this.#viewport.scrollTop + 2 * page;
    while (this.#end < this.#count && this.#top + this.#rows.offsetHeight < to) this.#append();
    while (this.#first > 0 && this.#top > from) this.#prepend();
    this.#prune(from - page, to + page);
  }

  #append() {
    const to = Math.min(this.#end + batch, this.#count);
    const added = [];
    for (let i = this.#end; i < to; i += 1) added.push(this.#render(i));
    this.#rows.append(...added);
  }

  #prepend() {
    const from = Math.max(0, this.#first - batch);
    const added = [];
    for (let i = from; i < this.#first; i += 1) added.push(this.#render(i));
    const before = this.#rows.offsetHeight;
    this.#rows.prepend(...added);
    this.#first = from;
    this.#moveTo(this.#top - (this.#rows.offsetHeight - before));
  }

  /**
   * @param {number} from In pixels from the start of the sizer.
   * @param {number} to
   */
  #prune(from, to) {
    const rows = /** @type {HTMLElement[]} */ ([...this.#rows.children]);
    const tops = rows.map((row) => this.#top + row.offsetTop);
    const before = this.#rows.offsetHeight;
    const above = tops.findIndex((_, i) => i + 1 >= rows.length || tops[i + 1] > from);
    let below = rows.length;
    while (below > above + 1 && tops[below - 1] > to) below -= 1;
    if (above <= 0 && below === rows.length) return;
    const bottom = below < rows.length ? tops[below] : this.#top + before;
    const removed = [...rows.slice(0, Math.max(above, 0)), ...rows.slice(below)];
    this.#keepFocus(removed);
    for (const row of removed) row.remove();
    this.#first += Math.max(above, 0);
    this.#moveTo(bottom - this.#rows.offsetHeight);
  }

  /**
   * Moves the keyboard focus out of elements that will be removed, so that keys still scroll.
   *
   * @param {Element[]} removed
   */
  #keepFocus(removed) {
    if (removed.some((each) => each.contains(document.activeElement))) {
      this.#viewport.focus({ preventScroll: true });
    }
  }

  /** Moves the rows if the list ends inside the visible area. */
  #closeGaps() {
    const { scrollTop, clientHeight } = this.#viewport;
    const bottom = this.#top + this.#rows.offsetHeight;
    if (this.#end === this.#count && bottom < scrollTop + clientHeight) {
      this.#moveTo(scrollTop + clientHeight - this.#rows.offsetHeight);
      this.#fill();
    }
    if (this.#first === 0 && this.#top > scrollTop) this.#moveTo(scrollTop);
  }

  /** Whether the scroll bar has reached an end that the rows have not, or the other way round. */
  #isAtLimit() {
    const { scrollTop } = this.#viewport;
    const above = scrollTop - this.#top;
    const below = this.#top + this.#rows.offsetHeight - scrollTop - this.#viewport.clientHeight;
    const isAtStart = scrollTop <= 0 ? this.#first > 0 || above > 0 : this.#first === 0 && above < 0;
    const isAtEnd =
      scrollTop >= this.#range - 1
        ? this.#end < this.#count || below > 1
        : this.#end === this.#count && below < 0;
    return isAtStart || isAtEnd;
  }

  /** Moves the scroll bar to where it belongs. Nothing visible moves. */
  #settle() {
    clearTimeout(this.#settling);
    if (this.#count === 0 || this.#isHidden) return;
    this.#closeGaps();
    const before = this.#viewport.scrollTop;
    let wanted = this.#place() * this.#range;
    if (this.#first === 0 && this.#end === this.#count) {
      this.#setHeight(this.#rows.offsetHeight);
      wanted = before - this.#top;
    }
    this.#viewport.scrollTop = wanted;
    this.#moveTo(this.#top + this.#viewport.scrollTop - before);
  }

  /**
   * The position of the scroll bar, from 0 to 1, at which the rows are where they are now. At a
   * position p, the point at p of the visible height shows the point at p of all rows.
   */
  #place() {
    const rows = /** @type {HTMLElement[]} */ ([...this.#rows.children]);
    const tops = rows.map((row) => this.#top + row.offsetTop - this.#viewport.scrollTop);
    tops.push(this.#top + this.#rows.offsetHeight - this.#viewport.scrollTop);
    const page = this.#viewport.clientHeight;
    let [low, high] = [0, 1];
    for (let i = 0; i < 40; i += 1) {
      const middle = (low + high) / 2;
      if ((this.#first + fractionalIndex(tops, middle * page)) / this.#count > middle) low = middle;
      else high = middle;
    }
    return low < 1e-9 ? 0 : high;
  }

  #noteAnchor() {
    const { scrollTop } = this.#viewport;
    const rows = /** @type {HTMLElement[]} */ ([...this.#rows.children]);
    const found = rows.findIndex(
      (row) => this.#top + row.offsetTop + row.offsetHeight > scrollTop + 1, // rounding
    );
    const row = Math.max(found, 0);
    const offset = this.#top + (rows[row]?.offsetTop ?? 0) - scrollTop;
    this.#anchor = { index: this.#first + row, offset };
  }

  #resized() {
    if (this.#count > 0) this.#keep(this.#anchor.index, this.#anchor.offset);
  }

  /**
   * Moves the rows so that one has this distance from the upper edge. A hidden viewport gets them
   * from #resized() when it becomes visible.
   *
   * @param {number} index
   * @param {number} offset
   */
  #keep(index, offset) {
    if (this.#isHidden) return;
    const row = this.row(index);
    if (row) this.#moveTo(this.#viewport.scrollTop + offset - row.offsetTop);
    this.#fill();
    this.#settle();
    this.#noteAnchor();
  }
}

/**
 * Replaces a row. The element of the same class gets the keyboard focus if it was in the row, or the
 * row itself if there is none.
 *
 * @param {Element} row
 * @param {HTMLElement} fresh
 */
function replaceRow(row, fresh) {
  const focused = row.contains(document.activeElement) ? document.activeElement : undefined;
  row.replaceWith(fresh);
  if (!focused) return;
  const [same] = focused === row ? [] : fresh.getElementsByClassName(focused.className);
  (same instanceof HTMLElement ? same : fresh).focus({ preventScroll: true });
}

/**
 * The distance of a row from the upper edge.
 *
 * @param {'start' | 'center' | 'end' | number} block
 * @param {number} room The visible height without the row's.
 */
function distanceFor(block, room) {
  if (typeof block === 'number') return block;
  if (block === 'end') return room;
  return block === 'start' ? 0 : Math.max(room * 0.4, 0);
}

/**
 * The index at a height, with the fraction of the row that is above it.
 *
 * @param {number[]} tops Of all rows, and the end of the last one.
 * @param {number} y
 */
function fractionalIndex(tops, y) {
  const count = tops.length - 1;
  if (y <= tops[0]) return 0;
  for (let i = 0; i < count; i += 1) {
    if (y < tops[i + 1]) return i + (y - tops[i]) / (tops[i + 1] - tops[i]);
  }
  return count;
}
