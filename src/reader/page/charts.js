import { counted, dateText, numberText } from './dates.js';
import { element, svgElement } from './dom.js';

/**
 * Charts as plain SVG, each with the table of its numbers behind it.
 *
 * @typedef {import('./statistics.js').Month} Month
 *
 * @typedef {object} Table
 * @property {string[]} head
 * @property {(string | number)[][]} rows
 *
 * @typedef {object} Bar
 * @property {string} label
 * @property {number} count
 * @property {string} colour The class for the colour of the person, see colours.js.
 */

export const weekdays = Object.freeze(['Monday', 'Tuesday', 'Wednesday', 'Thursday', 'Friday', 'Saturday', 'Sunday']);

/**
 * A chart with its heading and its table.
 *
 * @param {string} title
 * @param {string} summary One sentence that says what the chart shows.
 * @param {Element} chart
 * @param {Table} table
 */
export function figure(title, summary, chart, table) {
  const details = element('details', {}, element('summary', {}, 'Show as a table'), tableElement(title, table));
  return element(
    'figure',
    { class: 'card' },
    element('figcaption', {}, element('h3', {}, title), element('p', {}, summary)),
    chart,
    details,
  );
}

/**
 * @param {string} title
 * @param {Table} table
 */
function tableElement(title, { head, rows }) {
  const cells = (/** @type {(string | number)[]} */ row) =>
    row.map((cell, i) =>
      i === 0
        ? element('th', { scope: 'row', dir: 'auto' }, String(cell))
        : element('td', {}, typeof cell === 'number' ? numberText(cell) : cell),
    );
  return element(
    'table',
    {},
    element('caption', { class: 'unseen' }, title),
    element('thead', {}, element('tr', {}, ...head.map((each) => element('th', { scope: 'col' }, each)))),
    element('tbody', {}, ...rows.map((row) => element('tr', {}, ...cells(row)))),
  );
}

/**
 * @param {number} width
 * @param {number} height
 * @param {string} label
 * @param {SVGElement[]} shapes
 */
function picture(width, height, label, shapes) {
  return svgElement('svg', { viewBox: `0 0 ${width} ${height}`, role: 'img', 'aria-label': label, class: 'chart' }, ...shapes);
}

/**
 * @param {SVGElement} shape
 * @param {string} text Shown when the pointer is on the shape.
 */
function withTip(shape, text) {
  shape.append(svgElement('title', {}, text));
  return shape;
}

/**
 * A column for each month.
 *
 * @param {Month[]} months
 * @param {string} label
 */
export function monthChart(months, label) {
  const [width, height, base] = [720, 190, 160];
  const most = Math.max(1, ...months.map((each) => each.count));
  const step = width / months.length;
  const gap = step > 6 ? Math.min(step * 0.25, 10) : step * 0.1;
  /** @type {SVGElement[]} */
  const shapes = [svgElement('line', { x1: 0, x2: width, y1: base + 0.5, y2: base + 0.5, class: 'axis' })];
  for (const [i, { year, month, count }] of months.entries()) {
    const tall = (count / most) * (base - 22);
    const bar = svgElement('rect', { x: i * step + gap / 2, y: base - tall, width: step - gap, height: tall, rx: Math.min(4, (step - gap) / 2), class: 'column' });
    shapes.push(withTip(bar, `${monthName(year, month)}: ${counted(count, 'message')}`));
  }
  shapes.push(...monthLabels(months, step, height));
  const best = months.findIndex((each) => each.count === most);
  shapes.push(svgElement('text', { x: clamp(best * step + step / 2, 30, width - 30), y: 14, class: 'value' }, numberText(most)));
  return picture(width, height, label, shapes);
}

/**
 * The years below the columns, or the months if there are few.
 *
 * @param {Month[]} months
 * @param {number} step
 * @param {number} y
 */
function monthLabels(months, step, y) {
  const labels = [];
  const isShort = months.length <= 14;
  const years = months.length / 12;
  for (const [i, { year, month }] of months.entries()) {
    if (!isShort && (month !== 0 || year % Math.ceil(years / 14) !== 0)) continue;
    const text = isShort ? monthName(year, month).slice(0, 3) : String(year);
    labels.push(svgElement('text', { x: (i + 0.5) * step, y: y - 8, class: 'tick' }, text));
  }
  return labels;
}

/**
 * @param {number} year
 * @param {number} month
 */
export function monthName(year, month) {
  return dateText('month', new Date(year, month, 15).getTime());
}

/**
 * A bar for each person.
 *
 * @param {Bar[]} bars
 * @param {string} label
 */
export function personChart(bars, label) {
  const most = Math.max(1, ...bars.map((each) => each.count));
  const list = element('div', { class: 'bars', role: 'img', 'aria-label': label });
  for (const { label: name, count, colour } of bars) {
    const rect = svgElement('rect', { width: `${(count / most) * 100}%`, height: '100%', rx: 7 });
    const bar = svgElement('svg', { class: `meter ${colour}`, 'aria-hidden': 'true' }, rect);
    list.append(
      element('span', { class: 'bar-name', dir: 'auto' }, name),
      bar,
      element('span', { class: 'bar-count' }, numberText(count)),
    );
  }
  return list;
}

/**
 * A square for each hour of the week, darker the more messages it has.
 *
 * @param {Uint32Array} hours From Monday, 0 o'clock.
 * @param {string} label
 */
export function weekChart(hours, label) {
  const [left, size, top] = [46, 28, 22];
  const most = Math.max(1, ...hours);
  const shapes = [];
  for (let hour = 0; hour < 24; hour += 3) {
    shapes.push(svgElement('text', { x: left + hour * size + size / 2 - 1, y: 14, class: 'tick' }, String(hour)));
  }
  for (const [day, name] of weekdays.entries()) {
    const y = top + day * size;
    shapes.push(svgElement('text', { x: 0, y: y + size / 2 + 3, class: 'tick start' }, name.slice(0, 3)));
    for (let hour = 0; hour < 24; hour += 1) {
      const count = hours[day * 24 + hour];
      const level = count === 0 ? 0 : Math.ceil((count / most) * 6);
      const square = svgElement('rect', { x: left + hour * size, y, width: size - 3, height: size - 3, rx: 6, class: `level-${level}` });
      shapes.push(withTip(square, `${name}, ${hourSpan(hour)}: ${counted(count, 'message')}`));
    }
  }
  return picture(left + 24 * size, top + 7 * size, label, shapes);
}

/** @param {number} hour */
export function hourSpan(hour) {
  const [from, to] = [0, 59].map((minute) => dateText('time', new Date(2024, 0, 1, hour, minute).getTime()));
  return `${from} to ${to}`;
}

/**
 * @param {number} value
 * @param {number} least
 * @param {number} most
 */
function clamp(value, least, most) {
  return Math.min(Math.max(value, least), most);
}
