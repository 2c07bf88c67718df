import assert from 'node:assert/strict';
import test from 'node:test';
import { changedPage, search, texts, until, withPage } from './browser.mjs';

const chat = '#/iMessage%3B-%3Bhostile';
const title = '</script><img src=x onerror=alert(1)><!--';

test('a title with markup is shown as it is', () =>
  withPage({ fragment: chat }, async (page) => {
    assert.equal(await page.$eval('#title', (each) => each.textContent), title);
    assert.equal(await page.title(), title);
    assert.ok((await texts(page, '#chats .title')).includes(title));
    assert.equal(await page.$('img'), null);
  }));

test('texts are shown as they are', () =>
  withPage({ fragment: chat }, async (page) => {
    const shown = await texts(page, '.bubble p');
    const expected = [
      '</script><script>alert(2)</script>',
      '<!-- <script>',
      '&lt;b&gt; &amp; ]]>',
      'line\u2028separator\u2029end',
      '\u202eevil\u202c \u2066isolated',
      'nul  and bell\u0007', // U+0000 becomes a space
      'javascript:alert(3)',
      '__proto__',
      '\ufeffafter a byte order mark',
      'שלום עולם!',
      '👩‍👩‍👧‍👦👍🏽',
    ];
    for (const text of expected) assert.ok(shown.includes(text), JSON.stringify(text));
  }));

test('the text after one with a byte order mark or emoji is whole', () =>
  withPage({ fragment: chat }, async (page) => {
    assert.ok((await texts(page, '.bubble p')).includes('the last one'));
  }));

test('right-to-left text has its direction', () =>
  withPage({ fragment: chat }, async (page) => {
    const directions = await page.$$eval('.bubble p', (all) =>
      Object.fromEntries(all.map((each) => [each.textContent, getComputedStyle(each).direction])),
    );
    assert.equal(directions['שלום עולם!'], 'rtl');
    assert.equal(directions['the last one'], 'ltr');
  }));

test('a bidi override stays inside its message', () =>
  withPage({ fragment: chat }, async (page) => {
    const kinds = await page.$$eval('.bubble p', (all) => [...new Set(all.map((each) => getComputedStyle(each).unicodeBidi))]);
    assert.ok(kinds.every((kind) => kind.includes('isolate') || kind === 'plaintext'), String(kinds));
  }));

test('a word of a megabyte is cut, fits, and is shown whole on demand', () =>
  withPage({ fragment: chat }, async (page) => {
    const button = await page.waitForSelector('.bubble button');
    assert.equal(await button.evaluate((each) => each.textContent), 'Show all 1,000,000 characters');
    const isInside = await page.$$eval('.bubble', (all) => all.every((each) => each.getBoundingClientRect().right <= innerWidth));
    assert.ok(isInside);
    assert.ok(await page.evaluate(() => document.getElementById('viewport').scrollWidth <= innerWidth));
    await button.evaluate((each) => each.click());
    await until(page, () => [...document.querySelectorAll('.bubble p')].some((each) => each.textContent.length === 1_000_000));
  }));

test('hostile texts are found', () =>
  withPage({ fragment: chat }, async (page) => {
    assert.equal(await search(page, '<script>alert(2)'), '1 message');
    assert.equal(await search(page, 'nul  and'), '1 message');
    assert.equal(await search(page, 'x'.repeat(400)), '1 message');
  }));

test('a damaged page says so', () => {
  const file = changedPage('damaged', (page) => page.replaceAll(/(id="facts-\d+">)...../g, '$1AAAAA'));
  return withPage({ file }, async (tab) => {
    assert.match((await texts(tab, '[role="alert"]'))[0], /This page is damaged/);
  });
});

test('a chat with a title of blanks has its guid for a name', () => {
  const file = changedPage('blank', (page) => page.replace('"title":"Ann Lee"', '"title":" \u200b\u00a0"'));
  return withPage({ file, fragment: '#/iMessage%3B-%3Bann' }, async (page) => {
    assert.ok((await texts(page, '#chats .title')).includes('iMessage;-;ann'));
    assert.equal(await page.$eval('#title', (each) => each.textContent), 'iMessage;-;ann');
    assert.equal(await search(page, '-;ann'), 'No messages');
    assert.equal((await page.$$('#chats li:not([hidden])')).length, 1);
  });
});
