import assert from 'node:assert/strict';
import test from 'node:test';
import { changedPage, phone, texts, until, visibleEntry, withPage } from './browser.mjs';

const crew = '#/iMessage%3B%2B%3Bcrew';

test('the newest chat is open at its end', () =>
  withPage({}, async (page) => {
    assert.equal(await page.$eval('#title', (title) => title.textContent), 'Climbing Crew');
    assert.match(await visibleEntry(page, 2999), /Message 2999/);
    assert.equal(await page.$eval('#subtitle', (text) => text.textContent), '2,999 messages, Jan 1, 2023 – Aug 21, 2024');
  }));

test('the first conversation is painted within two seconds', () =>
  withPage({}, async (page) => {
    await until(page, () => document.querySelector('.bubble:not(.pending)'));
    const paint = await page.evaluate(() => performance.getEntriesByName('first-contentful-paint')[0]?.startTime);
    assert.ok(paint < 2000, `painted after ${paint} ms`);
  }));

test('chats are listed with the newest first', () =>
  withPage({}, async (page) => {
    const titles = await texts(page, '#chats .title');
    assert.deepEqual(titles.slice(0, 3), ['Overview', 'Climbing Crew', 'Ann Lee']);
    assert.equal(await page.$eval('#summary', (text) => text.textContent), '3 chats, 3,017 messages');
  }));

test('a system line has no bubble', () =>
  withPage({ fragment: `${crew}/41` }, async (page) => {
    assert.match(await visibleEntry(page, 40), /Ann Lee · Ann named the chat/);
    assert.equal(await page.$('[data-index="40"] .bubble'), null);
  }));

test('days have headings, people have names and colours', () =>
  withPage({ fragment: `${crew}/41` }, async (page) => {
    assert.ok((await texts(page, '.feed h3')).includes('Monday, January 9, 2023'));
    const colours = await page.$$eval('.name', (names) =>
      Object.fromEntries(names.map((each) => [each.textContent, getComputedStyle(each).color])),
    );
    assert.equal(new Set(Object.values(colours)).size, Object.keys(colours).length);
    assert.ok(Object.keys(colours).length >= 3);
  }));

test('a reaction that was taken back is not shown', () =>
  withPage({ fragment: `${crew}/31` }, async (page) => {
    await visibleEntry(page, 30);
    assert.deepEqual(await texts(page, '[data-index="30"] .reactions li .unseen'), ['love from Ann Lee']);
  }));

test('photos are counted', () =>
  withPage({ fragment: `${crew}/11` }, async (page) => {
    await visibleEntry(page, 10);
    assert.deepEqual(await texts(page, '[data-index="10"] .attachment'), ['2 photos']);
  }));

test('a reply quotes its message and jumps to it', () =>
  withPage({ fragment: `${crew}/2001` }, async (page) => {
    await visibleEntry(page, 2000);
    assert.match((await texts(page, '[data-index="2000"] .quotation'))[0], /Message 20$/);
    await page.click('[data-index="2000"] .quotation');
    assert.match(await visibleEntry(page, 20), /Message 20/);
    await page.goBack();
    await visibleEntry(page, 2000);
  }));

test('the overview counts messages, days and reactions', () =>
  withPage({ fragment: `${crew}/overview` }, async (page) => {
    await until(page, () => document.querySelector('#overview .big'));
    assert.equal(await page.$eval('#overview .big', (big) => big.textContent), '2,999');
    const tiles = await texts(page, '#overview .tile');
    assert.ok(tiles.includes('Longest streak3 daysfrom May 15, 2024'), tiles.join('\n'));
    assert.ok(tiles.includes('Busiest day10 messagesJan 1, 2023'), tiles.join('\n'));
    const people = await page.$$eval('#overview figure:nth-of-type(2) tbody tr', (rows) =>
      rows.map((row) => [...row.children].map((cell) => cell.textContent)),
    );
    assert.deepEqual(people, [['Ben', '750'], ['Zoë', '750'], ['Me', '750'], ['Ann Lee', '749']]);
    const reactions = await page.$$eval('#overview figure:nth-of-type(4) tbody tr', (rows) => rows.map((row) => row.textContent));
    assert.deepEqual(reactions, ['Ann Lee10', 'Zoë01']);
    assert.match((await texts(page, '#overview .quoted'))[0], /Message 0Ann Lee, Sunday, January 1, 2023/);
  }));

test('the overview of all chats counts all of them', () =>
  withPage({ fragment: '#/overview' }, async (page) => {
    await until(page, () => document.querySelector('#overview .big'));
    assert.equal(await page.$eval('#overview .big', (big) => big.textContent), '3,017');
    const months = await page.$$eval('#overview figure:nth-of-type(1) tbody td', (cells) => cells.map((cell) => Number(cell.textContent)));
    assert.equal(months.reduce((a, b) => a + b, 0), 3017);
  }));

test('a page without messages says so', async () => {
  const file = changedPage('empty', (page) => page.replace(/"chats":.*?(?=}<\/script>)/, '"chats":[]'));
  for (const viewport of [undefined, phone]) {
    await withPage({ file, viewport }, async (page) => {
      assert.match(await page.$eval('main', (main) => main.innerText), /^There are no messages here\.$/m);
      for (const useless of ['#print', '#date', '#skip']) {
        assert.equal(await page.$eval(useless, (control) => control.checkVisibility()), false, useless);
      }
      await page.click('#chats a');
      await until(page, () => document.querySelector('#overview .big')?.textContent === '0');
      assert.doesNotMatch(await page.$eval('main', (main) => main.innerText), /no messages here/);
    });
  }
});
