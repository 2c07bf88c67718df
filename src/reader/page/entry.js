import { Kind, reactionKinds } from './archive.js';
import { colourOf, initials } from './colours.js';
import { counted, dateText, LocalClock, numberText } from './dates.js';
import { element } from './dom.js';
import { occurrences } from './fold.js';
import { linkTo } from './router.js';

/**
 * @typedef {import('./archive.js').Chat} Chat
 * @typedef {import('./archive.js').Facts} Facts
 * @typedef {import('./archive.js').Person} Person
 *
 * @typedef {object} Context What an entry is shown in.
 * @property {Chat} chat
 * @property {Facts} facts
 * @property {Person[]} people
 * @property {Map<string, string>} colours Classes by name.
 * @property {string} wanted What is searched for, folded; empty if nothing is.
 * @property {boolean} isWhole Whether long texts are shown to their end.
 */

const runPause = 5 * 60_000; // milliseconds after which the same person begins a new run
const longText = 4000; // characters of a text that are shown at first
const clock = new LocalClock();

/**
 * The element of an entry: a heading, if a day begins with it, and the message or the line.
 *
 * @param {Context} context
 * @param {number} index
 */
export function entryElement(context, index) {
  const { facts } = context;
  const article = element('article', {
    'aria-posinset': index + 1,
    'aria-setsize': facts.count,
    'data-index': index,
    tabindex: -1,
  });
  if (beginsDay(facts, index)) article.append(dayHeading(facts, index));
  if (!continuesRun(facts, index + 1)) article.classList.add('last');
  if (index === facts.count - 1) article.classList.add('final');
  article.append(facts.kind(index) === Kind.message ? message(context, index) : line(context, index));
  article.setAttribute('aria-label', label(context, index));
  return article;
}

/**
 * @param {Facts} facts
 * @param {number} index
 */
export function dayText(facts, index) {
  return facts.hasDate(index) ? dateText('longDay', facts.times[index]) : 'Without a date';
}

/**
 * The person and the time of an entry, for screen readers.
 *
 * @param {Context} context
 * @param {number} index
 */
function label({ facts, people }, index) {
  const time = facts.hasDate(index) ? dateText('moment', facts.times[index]) : 'without a date';
  return `${people[facts.people[index]].name}, ${time}`;
}

/**
 * @param {Facts} facts
 * @param {number} index
 */
function beginsDay(facts, index) {
  if (index === 0) return true;
  if (facts.hasDate(index) !== facts.hasDate(index - 1)) return true;
  return clock.day(facts.times[index]) !== clock.day(facts.times[index - 1]);
}

/**
 * @param {Facts} facts
 * @param {number} index
 */
function dayHeading(facts, index) {
  return element('h3', { class: 'day' }, dayText(facts, index));
}

/**
 * Whether an entry continues the run of messages that the one before it belongs to.
 *
 * @param {Facts} facts
 * @param {number} index
 */
function continuesRun(facts, index) {
  return (
    index > 0 &&
    index < facts.count &&
    facts.kind(index) === Kind.message &&
    facts.kind(index - 1) === Kind.message &&
    facts.people[index] === facts.people[index - 1] &&
    facts.isOutgoing(index) === facts.isOutgoing(index - 1) &&
    facts.times[index] - facts.times[index - 1] < runPause &&
    !beginsDay(facts, index)
  );
}

/**
 * @param {Context} context
 * @param {number} index
 */
function message(context, index) {
  const { chat, facts, people, colours } = context;
  const person = people[facts.people[index]];
  const isOwn = facts.isOutgoing(index);
  const isFirst = !continuesRun(facts, index);
  const isLast = !continuesRun(facts, index + 1);
  const given = reactions(context, index);
  const body = element('div', { class: 'body' });
  if (isFirst && chat.isGroup && !isOwn) body.append(nameOf(person, colours));
  const spoken = element('div', { class: 'spoken' }, bubble(context, index), timeLink(context, index));
  body.append(...quotation(context, index), spoken, ...given);
  const row = element('div', { class: `message ${isOwn ? 'own' : 'other'}${given.length > 0 ? ' reacted' : ''}` });
  if (chat.isGroup && !isOwn) row.append(isLast ? circle(person.name, colours.get(person.name)) : element('span', { class: 'circle none' }));
  row.append(body);
  return row;
}

/**
 * @param {Person} person
 * @param {Map<string, string>} colours
 */
function nameOf({ name }, colours) {
  return element('div', { class: `name ${colours.get(name)}`, dir: 'auto' }, name);
}

/**
 * A circle with the initials of a person or chat, in its colour.
 *
 * @param {string} name
 * @param {string} [colour] Its class; by default that of the name.
 */
export function circle(name, colour = colourOf(name)) {
  return element('span', { class: `circle ${colour}`, 'aria-hidden': 'true' }, initials(name));
}

/**
 * The message that this one replies to, as a link.
 *
 * @param {Context} context
 * @param {number} index
 */
function quotation({ chat, facts, people }, index) {
  const target = facts.replyTarget(index);
  if (target === undefined) return [];
  if (target === 'missing') {
    return [element('div', { class: 'quotation' }, 'Reply to a message that is not in this page')];
  }
  const name = people[facts.people[target]].name;
  const text = (chat.text(target) ?? '').slice(0, 200).trim() || attachmentText(facts.attachments[target]);
  const link = element(
    'a',
    { class: 'quotation', href: linkTo(chat, facts, target), title: 'Go to the message' },
    element('strong', { dir: 'auto' }, name),
    ' ',
    element('span', { dir: 'auto' }, text || 'Message without text'),
  );
  return [link];
}

/**
 * @param {Context} context
 * @param {number} index
 */
function bubble(context, index) {
  const { chat, facts, wanted } = context;
  const text = chat.text(index);
  const box = element('div', { class: 'bubble' });
  if (text === undefined) {
    box.classList.add('pending');
    return box;
  }
  const attached = attachmentText(facts.attachments[index]);
  if (attached) box.append(element('span', { class: 'attachment' }, attached));
  if (text.trim() !== '') box.append(textElement(text, wanted, context.isWhole));
  else if (!attached) box.append(element('em', {}, 'Message without text'));
  if (isOnlyEmoji(text) && !attached) box.classList.add('large');
  return box;
}

/** @param {number} attachments As in Facts. */
export function attachmentText(attachments) {
  if (attachments === 0) return '';
  return attachments === 1 ? 'Attachment' : counted(attachments - 1, 'photo');
}

/** @param {string} text */
function isOnlyEmoji(text) {
  return text.length < 30 && /^(?:\p{Extended_Pictographic}(?:\p{M}|\p{Emoji_Modifier}|\u200d)*\s*){1,3}$/u.test(text.trim());
}

/**
 * A text with what is searched for marked, and of a very long text only the beginning.
 *
 * @param {string} text
 * @param {string} wanted
 * @param {boolean} isWhole
 */
function textElement(text, wanted, isWhole) {
  const shown = isWhole || text.length <= longText ? text : text.slice(0, longText);
  const paragraph = element('p', { dir: 'auto' }, ...marked(shown, wanted));
  if (shown !== text) paragraph.append('… ', showAllButton(paragraph, text));
  return paragraph;
}

/**
 * @param {HTMLElement} paragraph
 * @param {string} text
 */
function showAllButton(paragraph, text) {
  const button = element('button', { type: 'button' }, `Show all ${numberText(text.length)} characters`);
  button.addEventListener('click', () => paragraph.replaceChildren(text));
  return button;
}

/**
 * A text in pieces, with each occurrence of a folded text in a mark element.
 *
 * @param {string} text
 * @param {string} wanted
 * @returns {(Node | string)[]}
 */
export function marked(text, wanted) {
  if (wanted === '') return [text];
  const pieces = [];
  let end = 0;
  for (const [from, to] of occurrences(text, wanted)) {
    pieces.push(text.slice(end, from), element('mark', {}, text.slice(from, to)));
    end = to;
  }
  return [...pieces, text.slice(end)];
}

/**
 * @param {Context} context
 * @param {number} index
 */
function reactions({ facts, people }, index) {
  const given = facts.reactionsTo(index);
  if (given.length === 0) return [];
  const list = element('ul', { class: 'reactions', 'aria-label': 'Reactions' });
  for (const [kind, { symbol, name }] of reactionKinds.entries()) {
    const names = given.filter((each) => each.kind === kind).map((each) => people[each.person].name);
    if (names.length > 0) list.append(reaction(symbol, name, names));
  }
  return [list];
}

/**
 * @param {string} symbol
 * @param {string} kind
 * @param {string[]} names
 */
function reaction(symbol, kind, names) {
  const from = `${kind} from ${names.join(', ')}`;
  return element(
    'li',
    { title: from },
    element('span', { 'aria-hidden': 'true' }, names.length > 1 ? `${symbol} ${names.length}` : symbol),
    element('span', { class: 'unseen' }, from),
  );
}

/**
 * @param {Context} context
 * @param {number} index
 */
function timeLink({ chat, facts }, index) {
  const time = facts.times[index];
  if (!facts.hasDate(index)) return element('a', { class: 'time', href: linkTo(chat, facts, index) }, '–');
  return element(
    'a',
    {
      class: 'time',
      href: linkTo(chat, facts, index),
      title: `${dateText('moment', time)}. Link to this message`,
    },
    dateText('time', time),
  );
}

/**
 * A system line, or a reaction to a message that is not in the page.
 *
 * @param {Context} context
 * @param {number} index
 */
function line({ chat, facts, people, wanted }, index) {
  const text = (chat.text(index) ?? '').trim().slice(0, longText);
  const name = people[facts.people[index]].name;
  const isReaction = facts.kind(index) === Kind.reaction;
  return element(
    'div',
    { class: 'line' },
    element('span', { dir: 'auto' }, name),
    ' · ',
    element('span', { dir: 'auto' }, ...(text ? marked(text, wanted) : [isReaction ? 'Reaction' : 'Change to the chat'])),
  );
}
