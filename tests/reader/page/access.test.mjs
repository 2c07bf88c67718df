import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import test from 'node:test';
import { address, axeFile, desktop, phone, search, until, visibleEntry, withPage } from './browser.mjs';

const crew = '#/iMessage%3B%2B%3Bcrew';
const axe = readFileSync(axeFile, 'utf8');

/** What axe-core finds, one line each. */
async function violations(page) {
  await page.evaluate(axe); // not blocked by the page's policy, unlike a script element
  return page.evaluate(async () => {
    const { violations: found } = await axe.run(document, { resultTypes: ['violations'] });
    return found.map(({ id, nodes }) => `${id}: ${nodes.map((each) => each.html.slice(0, 160)).join(' | ')}`);
  });
}

const views = {
  'a conversation': {},
  'replies, reactions and photos': { fragment: `${crew}/21` },
  'the overview': { fragment: '#/overview' },
  'hits': { query: 'message' },
  'hostile texts': { fragment: '#/iMessage%3B-%3Bhostile' },
};

for (const [name, { fragment, query }] of Object.entries(views)) {
  for (const scheme of ['light', 'dark']) {
    for (const [device, viewport] of Object.entries({ desktop, phone })) {
      test(`axe-core finds nothing: ${name}, ${scheme}, ${device}`, () =>
        withPage({ fragment, viewport, scheme }, async (page) => {
          await until(page, () => !document.querySelector('.wait'));
          if (query) await search(page, query);
          await page.$$eval('details', (all) => all.forEach((each) => (each.open = true)));
          assert.deepEqual(await violations(page), []);
        }));
    }
  }
}

test('light and dark have their own colours', async () => {
  const colours = [];
  for (const scheme of ['light', 'dark']) {
    await withPage({ scheme }, async (page) => {
      colours.push(await page.evaluate(() => getComputedStyle(document.body).backgroundColor));
    });
  }
  assert.deepEqual(colours, ['rgb(255, 253, 250)', 'rgb(0, 0, 0)']);
});

test('Tab reaches every control, and each shows that it has the focus', () =>
  withPage({}, async (page) => {
    const reached = new Set();
    for (let i = 0; i < 15; i += 1) {
      await page.keyboard.press('Tab');
      const { name, isMarked } = await page.evaluate(() => {
        const current = document.activeElement;
        const isOutlined = (each) => each && getComputedStyle(each).outlineStyle === 'solid';
        return {
          name: current.id || current.className,
          isMarked: isOutlined(current) || isOutlined(current.closest('.field')),
        };
      });
      assert.ok(isMarked, `${name} has no visible focus`);
      reached.add(name);
    }
    for (const name of ['skip', 'search', 'row', 'date', 'open-overview', 'print', 'viewport', 'time']) {
      assert.ok(reached.has(name), `${name} was not reached: ${[...reached]}`);
    }
  }));

test('the first control skips the chats', async () => {
  for (const [fragment, shown] of [[crew, 'viewport'], ['#/overview', 'overview']]) {
    await withPage({ fragment }, async (page) => {
      await page.keyboard.press('Tab');
      const { width, height } = await page.$eval('#skip', (each) => each.getBoundingClientRect().toJSON());
      assert.ok(width > 100 && height > 30, 'it is visible while it has the focus');
      await page.keyboard.press('Enter');
      assert.equal(await page.evaluate(() => document.activeElement.id), shown);
    });
  }
});

test('a chat is chosen, searched and left by keyboard alone', () =>
  withPage({}, async (page) => {
    await page.keyboard.press('/');
    assert.equal(await page.evaluate(() => document.activeElement.id), 'search');
    await page.keyboard.type('ann lee');
    await until(page, () => document.querySelectorAll('#chats li:not([hidden])').length === 1);
    await page.keyboard.press('Tab');
    await page.keyboard.press('Enter');
    await until(page, () => document.getElementById('title').textContent === 'Ann Lee');
  }));

/** Waits until no text is loaded any more. */
async function settled(page) {
  await until(page, () => !document.querySelector('.pending'));
  await new Promise((done) => setTimeout(done, 600));
}

test('a quotation that is followed by keyboard takes the focus to its message', () =>
  withPage({ fragment: `${crew}/2001` }, async (page) => {
    await page.focus('[data-index="2000"] .quotation');
    await page.keyboard.press('Enter');
    await until(page, () => document.querySelector('.current')?.dataset.index === '20');
    await settled(page);
    assert.equal(await page.evaluate(() => document.activeElement.dataset.index), '20');
  }));

test('texts that are loaded or marked later move neither the focus nor the selected text', () =>
  withPage({ fragment: `${crew}/2001` }, async (page) => {
    await settled(page);
    await page.evaluate(() => {
      const paragraph = document.querySelector('[data-index="1999"] p');
      getSelection().setBaseAndExtent(paragraph.firstChild, 0, paragraph.firstChild, 7);
      document.querySelector('[data-index="2000"] .time').focus();
      const field = document.getElementById('search');
      field.value = '2000'; // a search without moving the focus to its field
      field.dispatchEvent(new Event('input'));
    });
    await until(page, () => document.querySelector('[data-index="2000"] mark'));
    assert.equal(await page.evaluate(() => getSelection().toString()), 'Message');
    const focused = await page.evaluate(() => document.activeElement.className + document.activeElement.closest('article').dataset.index);
    assert.equal(focused, 'time2000');
  }));

test('End keeps the focus in the conversation', () =>
  withPage({ fragment: `${crew}/778` }, async (page) => {
    await page.focus('[data-index="777"]');
    await page.keyboard.press('End');
    await visibleEntry(page, 2999);
    assert.equal(await page.evaluate(() => document.activeElement.id), 'viewport');
  }));

/** The least height of the visible elements that a selector finds. */
function leastHeight(page, selector) {
  return page.$$eval(selector, (found) => Math.min(...found.map((each) => each.getBoundingClientRect().height)));
}

test('links are high enough for a mouse, and quotations for a finger', async () => {
  await withPage({ fragment: `${crew}/2001` }, async (page) => {
    assert.ok((await leastHeight(page, '.time')) >= 24);
    assert.ok((await leastHeight(page, '[data-index="2000"] .quotation')) >= 24);
  });
  await withPage({ fragment: `${crew}/2001`, viewport: phone }, async (page) => {
    assert.ok((await leastHeight(page, '[data-index="2000"] .quotation')) >= 44);
  });
  await withPage({ fragment: '#/overview' }, async (page) => {
    await until(page, () => document.querySelector('.quoted a'));
    assert.ok((await leastHeight(page, 'summary')) >= 24);
    assert.ok((await leastHeight(page, '.quoted a')) >= 24);
  });
});

test('entries have names and places for screen readers', () =>
  withPage({ fragment: `${crew}/778` }, async (page) => {
    const entry = await page.$eval('[data-index="777"]', (found) => ({
      label: found.ariaLabel,
      place: `${found.getAttribute('aria-posinset')} of ${found.getAttribute('aria-setsize')}`,
      role: found.parentElement.role,
    }));
    assert.match(entry.label, /^Ben, .*, 2023/);
    assert.equal(entry.place, '778 of 3000');
    assert.equal(entry.role, 'feed');
  }));

test('nothing moves if the user prefers that', () =>
  withPage({}, async (page) => {
    await page.emulateMediaFeatures([{ name: 'prefers-reduced-motion', value: 'reduce' }]);
    const durations = await page.evaluate(() => {
      const all = Array.from(document.querySelectorAll('*'));
      return [...new Set(all.map((each) => getComputedStyle(each).transitionDuration))];
    });
    assert.deepEqual(durations, ['0s']);
  }));

test('the policy allows the script and the style of the page, and nothing else', () =>
  withPage({}, async (page) => {
    const policy = await page.$eval('meta[http-equiv="Content-Security-Policy"]', (meta) => meta.content);
    const hash = "'sha256-[A-Za-z0-9+/]{43}='";
    const expected = `^default-src 'none'; script-src ${hash}; style-src ${hash}; base-uri 'none'; form-action 'none'$`;
    assert.match(policy, new RegExp(expected));
    assert.ok(!readFileSync(new URL(address), 'utf8').includes('unsafe'));
  }));
