import { Archive } from './archive.js';
import { ChatList } from './chatList.js';
import { Conversation } from './conversation.js';
import { counted } from './dates.js';
import { byId, element } from './dom.js';
import { Overview } from './overview.js';
import { Printing } from './printing.js';
import { follow, linkToChat, routeOf } from './router.js';
import { Search } from './search.js';
import { SearchPanel } from './searchPanel.js';

/**
 * @typedef {import('./archive.js').Chat} Chat
 * @typedef {import('./router.js').Route} Route
 */

const archive = Archive.ofPage();
const chatList = new ChatList(archive);
const conversation = new Conversation(archive);
const overview = new Overview(archive);
const search = new Search(archive);
const searchPanel = new SearchPanel(archive, chatList, search);
const printing = new Printing(conversation);

/**
 * Shows the part of the page that a route names. A route to something that is not in the page shows
 * the start.
 *
 * @param {Route} route
 */
async function open(route) {
  const named = archive.chats.find((chat) => chat.guid === route.guid);
  if (route.view === 'overview' && (named || route.guid === undefined)) {
    await openOverview(named);
    return;
  }
  const chat = named ?? archive.chats[0];
  const view = named ? 'chat' : 'chats';
  enter(chat ? view : 'empty', chat?.title ?? 'Korvane Sync', '#/');
  chatList.mark(chat);
  if (chat) await conversation.show(chat, route.row, route.time);
}

/** @param {Chat} [chat] */
async function openOverview(chat) {
  enter('overview', `Overview${chat ? `: ${chat.title}` : ''}`, chat ? linkToChat(chat) : '#/');
  chatList.mark(chat ?? 'overview');
  await overview.show(chat);
}

/**
 * @param {'chats' | 'chat' | 'overview' | 'empty'} view What a narrow screen shows; 'empty' on any
 *   screen if the page has no chats.
 * @param {string} title Of the page.
 * @param {string} back Where the arrow of a narrow screen leads.
 */
function enter(view, title, back) {
  document.body.dataset.view = view;
  document.title = title;
  byId('back', HTMLAnchorElement).href = back;
}

/**
 * Says that the page cannot be shown, for example because the file is damaged.
 *
 * @param {unknown} error
 */
function complain(error) {
  const isOld = !('DecompressionStream' in globalThis);
  const reason = isOld ? 'This page needs a browser from 2023 or later.' : `This page is damaged. ${error instanceof Error ? error.message : ''}`;
  document.body.prepend(element('p', { class: 'warning', role: 'alert' }, reason));
}

/** Moves the focus past the chats, to what the page shows of one. */
function skipChats() {
  byId(document.body.dataset.view === 'overview' ? 'overview' : 'viewport', HTMLElement).focus();
}

/**
 * Follows a link to what the address names already, which the browser does not. A modifier key means
 * another tab or window.
 *
 * @param {MouseEvent} event
 */
function followAgain(event) {
  const link = event.target instanceof Element ? event.target.closest('a') : null;
  const isModified = event.ctrlKey || event.metaKey || event.shiftKey || event.altKey;
  if (isModified || !link || link.hash !== location.hash) return;
  event.preventDefault();
  follow(link.hash);
}

/** @param {KeyboardEvent} event */
function handleShortcut(event) {
  const isCommand = event.ctrlKey || event.metaKey;
  const isTyping = event.target instanceof HTMLInputElement;
  if ((isCommand && event.key === 'f' && !isTyping) || (event.key === '/' && !isTyping)) searchPanel.focus();
  else if (isCommand && event.key === 'p') void printing.print();
  else return;
  event.preventDefault();
}

searchPanel.onsearch = (/** @type {string} */ wanted) => conversation.mark(wanted);
byId('summary', HTMLElement).textContent = `${counted(archive.chats.length, 'chat')}, ${counted(archive.messages, 'message')}`;
byId('skip', HTMLElement).addEventListener('click', skipChats);
addEventListener('hashchange', () => void open(routeOf(location.hash)).catch(complain));
addEventListener('click', followAgain);
addEventListener('keydown', handleShortcut);
await open(routeOf(location.hash)).catch(complain);
document.body.dataset.ready = 'true';
await search.prepare().catch(complain);
