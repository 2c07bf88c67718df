import assert from 'node:assert/strict';
import test from 'node:test';
import { desktop, phone, ready, search, texts, until, visibleEntry, withPage } from './browser.mjs';

const crew = '#/iMessage%3B%2B%3Bcrew';

/** The indexes of the visible entries and their distances from the upper edge. */
function visiblePlaces(page) {
  return page.evaluate(() => {
    const outer = document.getElementById('viewport').getBoundingClientRect();
    const places = {};
    for (const entry of document.querySelectorAll('#feed > *')) {
      const { top, bottom } = entry.getBoundingClientRect();
      if (bottom > outer.top && top < outer.bottom) places[entry.dataset.index] = top - outer.top;
    }
    return places;
  });
}

async function scrollBy(page, distance) {
  await page.evaluate((by) => document.getElementById('viewport').scrollBy(0, by), distance);
  await page.evaluate(() => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done))));
}

/** Moves the scroll bar to the middle. */
async function dragToMiddle(page) {
  await page.$eval('#viewport', (viewport) => {
    viewport.scrollTop = (viewport.scrollHeight - viewport.clientHeight) / 2;
  });
}

/** By how much the entries moved that were visible before and after. */
function movement(before, after) {
  const both = Object.keys(before).filter((index) => index in after);
  return both.map((index) => after[index] - before[index]);
}

test('scrolling up moves the messages by as much as the wheel, and nothing else', () =>
  withPage({ fragment: `${crew}/1500` }, async (page) => {
    await visibleEntry(page, 1499);
    for (let i = 0; i < 60; i += 1) {
      const before = await visiblePlaces(page);
      await scrollBy(page, -170);
      const moved = movement(before, await visiblePlaces(page));
      assert.ok(moved.length > 2);
      for (const by of moved) assert.ok(Math.abs(by - 170) < 1.5, `step ${i}: ${by}`);
    }
  }));

test('a pause in scrolling moves nothing', () =>
  withPage({ fragment: `${crew}/1500` }, async (page) => {
    for (const distance of [-900, 1300, -2500, 400]) {
      await scrollBy(page, distance);
      const before = await visiblePlaces(page);
      await new Promise((done) => setTimeout(done, 400));
      for (const by of movement(before, await visiblePlaces(page))) assert.ok(Math.abs(by) < 1.5, String(by));
    }
  }));

test('scrolling reaches every message from the last to the first', () =>
  withPage({}, async (page) => {
    const seen = new Set();
    for (let i = 0; i < 2000 && !seen.has('0'); i += 1) {
      for (const index of Object.keys(await visiblePlaces(page))) seen.add(index);
      await scrollBy(page, -600);
    }
    assert.equal(seen.size, 3000);
    assert.ok((await page.$$('#feed > *')).length < 200);
  }));

test('Home and End reach the first and the last message', () =>
  withPage({}, async (page) => {
    await page.focus('#viewport');
    await page.keyboard.press('Home');
    assert.match(await visibleEntry(page, 0), /Message 0/);
    await page.keyboard.press('End');
    assert.match(await visibleEntry(page, 2999), /Message 2999/);
  }));

test('dragging the scroll bar shows the messages of that part', () =>
  withPage({}, async (page) => {
    await dragToMiddle(page);
    await visibleEntry(page, 1500);
  }));

test('a narrower window keeps the message at the top', () =>
  withPage({ fragment: `${crew}/1500` }, async (page) => {
    const first = Math.min(...Object.keys(await visiblePlaces(page)).map(Number));
    await page.setViewport({ width: 800, height: 700 });
    await until(page, () => innerWidth === 800);
    await new Promise((done) => setTimeout(done, 300));
    assert.equal(Math.min(...Object.keys(await visiblePlaces(page)).map(Number)), first);
  }));

test('the floating day shows while the list scrolls, and not over a heading', () =>
  withPage({ fragment: `${crew}/1506` }, async (page) => {
    const opacity = () => page.$eval('#current-day', (day) => getComputedStyle(day).opacity);
    await scrollBy(page, 10);
    await until(page, () => getComputedStyle(document.getElementById('current-day')).opacity === '1');
    await until(page, () => getComputedStyle(document.getElementById('current-day')).opacity === '0');
    const heading = await page.$eval('[data-index="1510"] .day', (day) => day.getBoundingClientRect().top - document.getElementById('viewport').getBoundingClientRect().top);
    await scrollBy(page, heading - 5);
    await new Promise((done) => setTimeout(done, 400)); // longer than the label takes to appear
    assert.equal(await opacity(), '0');
  }));

test('a date jumps to its first message, or to the next day that has one', () =>
  withPage({}, async (page) => {
    await page.$eval('#date', (field) => {
      field.value = '2023-06-01';
      field.dispatchEvent(new Event('change'));
    });
    await until(page, () => document.getElementById('current-day').textContent === 'Friday, June 2, 2023');
  }));

test('a date that is typed jumps to its day, and keeps what was typed', () =>
  withPage({}, async (page) => {
    await page.focus('#date');
    await page.keyboard.type('02012024', { delay: 60 });
    await until(page, () => document.getElementById('current-day').textContent === 'Thursday, February 1, 2024');
    await new Promise((done) => setTimeout(done, 1200));
    assert.equal(await page.$eval('#date', (field) => field.value), '2024-02-01');
    assert.equal(await page.$eval('#current-day', (day) => day.textContent), 'Thursday, February 1, 2024');
  }));

test('a typed date that no message has jumps, too, after a pause', () =>
  withPage({}, async (page) => {
    await page.focus('#date');
    await page.keyboard.type('01310099', { delay: 60 });
    assert.notEqual(await page.$eval('#current-day', (day) => day.textContent), 'Sunday, January 1, 2023');
    await until(page, () => document.getElementById('current-day').textContent === 'Sunday, January 1, 2023');
  }));

test('a fragment shows its message, marked, also after a reload', () =>
  withPage({ fragment: `${crew}/778` }, async (page) => {
    assert.match(await visibleEntry(page, 777), /Message 777/);
    assert.deepEqual(await page.$$eval('.current', (found) => found.map((each) => each.dataset.index)), ['777']);
    await page.reload();
    await ready(page);
    assert.match(await visibleEntry(page, 777), /Message 777/);
  }));

/** Scrolls up from an entry, leaves the chat, comes back, and expects the same messages in the same places. */
async function expectReturn(page, leave, comeBack, entry = 2999) {
  await visibleEntry(page, entry);
  await scrollBy(page, -2500);
  await new Promise((done) => setTimeout(done, 500)); // until scrolling has paused
  const before = await visiblePlaces(page);
  await leave();
  await comeBack();
  await until(page, (index) => document.querySelector(`[data-index="${index}"]`)?.checkVisibility(), Object.keys(before)[1]);
  await new Promise((done) => setTimeout(done, 300));
  const after = await visiblePlaces(page);
  assert.deepEqual(Object.keys(after), Object.keys(before));
  for (const by of movement(before, after)) assert.ok(Math.abs(by) < 1.5, String(by));
}

const departures = {
  'a message of the same chat': (page) => page.evaluate(() => (location.hash += '/21')),
  'the overview': (page) => page.click('#open-overview'),
  'another chat': (page) => page.click('#chats li:nth-child(3) a'),
};

for (const [name, leave] of Object.entries(departures)) {
  test(`Back returns to the place in the chat: after ${name}`, () =>
    withPage({ fragment: crew }, async (page) => {
      const gone = async () => {
        await leave(page);
        await new Promise((done) => setTimeout(done, 500));
      };
      await expectReturn(page, gone, () => page.goBack());
    }));
}

test('a reload keeps the place in the chat', () =>
  withPage({ fragment: crew }, async (page) => {
    await expectReturn(page, () => page.reload(), () => ready(page));
  }));

/** Counts the entries that the page creates from now on, also those that it removes at once. */
function countEntries() {
  window.made = 0;
  const added = (changes) => changes.flatMap((each) => [...each.addedNodes]);
  const count = (changes) => (window.made += added(changes).filter((each) => each.nodeName === 'ARTICLE').length);
  new MutationObserver(count).observe(document, { childList: true, subtree: true });
}

async function expectFewEntriesMade(page) {
  await until(page, () => !document.querySelector('.pending'));
  const made = await page.evaluate(() => window.made);
  assert.ok(made < 200, `${made} entries`);
}

test('a search while the overview is shown creates few messages, and Back returns to the place', () =>
  withPage({ fragment: `${crew}/1500` }, async (page) => {
    const searchInOverview = async () => {
      await page.click('#open-overview');
      await until(page, () => document.querySelector('#overview .big'));
      await page.evaluate(countEntries);
      await search(page, 'Message 15');
      await expectFewEntriesMade(page);
    };
    await expectReturn(page, searchInOverview, () => page.goBack(), 1499);
  }));

const actions = {
  'a search': (page) => search(page, 'Message 15'),
  'a reload': (page) => page.reload().then(() => ready(page)),
};

for (const [name, act] of Object.entries(actions)) {
  test(`${name} in a window without room for the conversation creates few messages and keeps the place`, () =>
    withPage({}, async (page) => {
      await visibleEntry(page, 2999);
      await dragToMiddle(page);
      const actInNarrowWindow = async () => {
        await page.setViewport({ ...desktop, width: 600 });
        await until(page, () => !document.getElementById('viewport').checkVisibility());
        await page.evaluateOnNewDocument(countEntries);
        await page.evaluate(countEntries);
        await act(page);
        await expectFewEntriesMade(page);
      };
      await expectReturn(page, actInNarrowWindow, () => page.setViewport(desktop), 1500);
    }));
}

test('a scroll event that comes when the conversation is hidden already does not move it', () =>
  withPage({ fragment: `${crew}/1500` }, async (page) => {
    await visibleEntry(page, 1499);
    const before = await visiblePlaces(page);
    await page.evaluate(async () => {
      const conversation = document.getElementById('conversation');
      const event = new Promise((done) => document.addEventListener('scroll', done, { capture: true, once: true }));
      document.getElementById('viewport').scrollBy(0, -600);
      conversation.hidden = true;
      await event;
      await new Promise((done) => setTimeout(done, 100)); // until the list knows that it is hidden
      conversation.hidden = false;
    });
    await new Promise((done) => setTimeout(done, 300));
    const after = await visiblePlaces(page);
    assert.deepEqual(Object.keys(after), Object.keys(before));
    for (const by of movement(before, after)) assert.ok(Math.abs(by) < 1.5, String(by));
  }));

test('of two chats that are opened at once, the last is shown', () =>
  withPage({ fragment: '#/iMessage%3B-%3Bann' }, async (page) => {
    const opened = await page.evaluate(async (large) => {
      const small = location.hash;
      const change = () => new Promise((done) => addEventListener('hashchange', () => done(document.title), { once: true }));
      location.hash = large; // takes longer, for its texts are not loaded
      const first = await change();
      location.hash = small;
      return [first, await change()];
    }, crew);
    assert.deepEqual(opened, ['Climbing Crew', 'Ann Lee']);
    await new Promise((done) => setTimeout(done, 500)); // longer than the large chat takes
    assert.equal(await page.$eval('#title', (title) => title.textContent), 'Ann Lee');
    assert.match((await texts(page, '#feed')).join(), /how are you/);
  }));

test('a link to the chat that is shown leads to its end', () =>
  withPage({ fragment: crew }, async (page) => {
    await visibleEntry(page, 2999);
    await scrollBy(page, -2500);
    await until(page, () => history.state); // the place is kept
    await page.click('#chats [aria-current]');
    await visibleEntry(page, 2999);
  }));

test('the time of a message is the link to it', () =>
  withPage({}, async (page) => {
    await page.focus('[data-index="2998"] .time');
    await page.keyboard.press('Enter');
    await until(page, () => location.hash === '#/iMessage%3B%2B%3Bcrew/2999');
    await until(page, () => document.querySelector('.current')?.dataset.index === '2998');
  }));

test('a message of which the row occurs twice has a link with its time', () =>
  withPage({ fragment: '#/iMessage%3B-%3Bann/2' }, async (page) => {
    await until(page, () => document.querySelector('.current')?.textContent.includes('kept'));
    const links = await page.$$eval('.time', (found) => found.map((each) => each.hash));
    const twice = links.filter((link) => /\/2(@|$)/.test(link));
    assert.equal(new Set(twice).size, 2);
    await page.evaluate((link) => (location.hash = link), twice.find((link) => link.includes('@')));
    await until(page, () => document.querySelector('.current')?.textContent.includes('current'));
  }));

for (const fragment of ['#/nothing', '#/%', '#/iMessage%3B%2B%3Bcrew/999999', '#nonsense', '#/overview/x']) {
  test(`the fragment ${fragment} does no harm`, () =>
    withPage({ fragment }, async (page) => {
      assert.ok((await texts(page, '#chats .title')).length === 4);
    }));
}

test('a phone shows the chats, then one of them, and goes back', () =>
  withPage({ viewport: phone }, async (page) => {
    const isShown = (selector) => page.$eval(selector, (each) => each.checkVisibility());
    assert.equal(await isShown('#chats'), true);
    assert.equal(await isShown('#viewport'), false);
    await page.tap('#chats li:nth-child(3) a');
    await until(page, () => document.getElementById('title').textContent === 'Ann Lee');
    await until(page, () => document.getElementById('viewport').checkVisibility());
    assert.equal(await isShown('#chats'), false);
    const width = await page.evaluate(() => document.documentElement.scrollWidth);
    assert.equal(width, 390);
    await page.tap('#back');
    await until(page, () => document.getElementById('chats').checkVisibility());
  }));
