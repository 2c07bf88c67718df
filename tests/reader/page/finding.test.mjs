import assert from 'node:assert/strict';
import test from 'node:test';
import { search, texts, until, visibleEntry, withPage } from './browser.mjs';

test('a search counts the messages with a text', () =>
  withPage({}, async (page) => {
    assert.equal(await search(page, 'Message 15'), '111 messages'); // 15, 150 to 159, 1500 to 1599
    assert.equal(await search(page, 'no such text'), 'No messages');
  }));

test('case, accents and the shape of quotation marks make no difference', () =>
  withPage({}, async (page) => {
    for (const text of ['a rare tortchen', 'A RARE TÖRTCHEN', "it's rare"]) {
      assert.equal(await search(page, text), '1 message', text);
    }
    assert.deepEqual(await texts(page, '#hits mark'), ['It’s rare']);
  }));

test('reactions that belong to a message are not hits of their own', () =>
  withPage({}, async (page) => {
    assert.equal(await search(page, 'Loved'), 'No messages');
  }));

test('Enter and the arrows step through the hits', () =>
  withPage({}, async (page) => {
    await search(page, 'Message 299');
    const steps = [['Enter', '1 of 11 messages', 2999], ['ArrowDown', '2 of 11 messages', 2998], ['ArrowUp', '1 of 11 messages', 2999]];
    for (const [key, count, index] of steps) {
      await page.keyboard.press(key);
      await until(page, (wanted) => document.getElementById('hit-count').textContent === wanted, count);
      await visibleEntry(page, index);
      await until(page, (wanted) => document.querySelector('.current')?.dataset.index === String(wanted), index);
    }
    await page.keyboard.down('Shift');
    await page.keyboard.press('Enter');
    await page.keyboard.up('Shift');
    await visibleEntry(page, 299);
    assert.equal(await page.evaluate(() => document.activeElement.id), 'search');
  }));

test('hits are marked in the conversation until the search ends', () =>
  withPage({}, async (page) => {
    await search(page, 'message 2999');
    await until(page, () => document.querySelector('#feed mark')?.textContent === 'Message 2999');
    await page.keyboard.press('Escape');
    await until(page, () => !document.querySelector('#feed mark'));
    assert.equal(await page.$eval('#hits-panel', (panel) => panel.hidden), true);
  }));

test('a click on a hit opens its chat', () =>
  withPage({}, async (page) => {
    await search(page, 'kept');
    await page.click('#hits a');
    await until(page, () => document.getElementById('title').textContent === 'Ann Lee');
    await until(page, () => document.querySelector('.current')?.textContent.includes('kept'));
  }));

const waysBack = {
  Enter: (page) => page.keyboard.press('Enter'),
  'a click on the hit': (page) => page.click('#hits a'),
};

for (const [name, goBack] of Object.entries(waysBack)) {
  test(`${name} leads back to the only hit after scrolling away from it`, () =>
    withPage({}, async (page) => {
      assert.equal(await search(page, 'rare'), '1 message');
      await page.keyboard.press('Enter');
      await visibleEntry(page, 1500);
      await page.$eval('#viewport', (viewport) => viewport.scrollBy(0, -3000));
      await until(page, (index) => history.state?.row < index, 1490); // the place is kept
      await goBack(page);
      await visibleEntry(page, 1500);
      assert.equal(await page.$eval('#hit-count', (count) => count.textContent), '1 of 1 message');
    }));
}

test('of two quick steps, the last is shown, though the chat of the other takes longer', () =>
  withPage({}, async (page) => {
    assert.match(await search(page, 'e'), /^3,0/);
    const shown = await page.$eval('#search', async (field) => {
      for (const key of ['ArrowUp', 'ArrowDown']) field.dispatchEvent(new KeyboardEvent('keydown', { key }));
      await new Promise((done) => setTimeout(done, 300));
      return [document.title, document.getElementById('hit-count').textContent.split(' ')[0]];
    });
    assert.deepEqual(shown, ['Climbing Crew', '1']);
  }));

test('a hit that is opened in a new tab leaves this one where it is', () =>
  withPage({}, async (page) => {
    await search(page, 'rare');
    await page.keyboard.press('Enter');
    await visibleEntry(page, 1500);
    await page.$eval('#viewport', (viewport) => viewport.scrollBy(0, -3000));
    await until(page, (index) => history.state?.row < index, 1490);
    await page.$eval('#hits a', (link) => {
      addEventListener('click', (event) => event.preventDefault()); // no tab, for the test
      link.dispatchEvent(new MouseEvent('click', { ctrlKey: true, bubbles: true, cancelable: true }));
    });
    await new Promise((done) => setTimeout(done, 300));
    assert.ok((await page.evaluate(() => history.state.row)) < 1490);
  }));

test('more hits are added on demand', () =>
  withPage({}, async (page) => {
    await search(page, 'message');
    assert.equal((await page.$$('#hits li')).length, 50);
    await page.click('#more-hits');
    await until(page, () => document.querySelectorAll('#hits li').length === 100);
  }));

test('the field also filters the chats by title', () =>
  withPage({}, async (page) => {
    await search(page, 'climb');
    const shown = await page.$$eval('#chats li:not([hidden]) .title', (found) => found.map((each) => each.textContent));
    assert.deepEqual(shown, ['Climbing Crew']);
  }));
