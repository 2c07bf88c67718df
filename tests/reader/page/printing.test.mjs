import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import test from 'node:test';
import { until, withPage } from './browser.mjs';

async function printedText(page) {
  const pdf = await page.pdf({ format: 'A4', printBackground: true });
  return execFileSync('pdftotext', ['-layout', '-', '-'], { input: pdf, maxBuffer: 1e8 }).toString();
}

test('a printed chat has all messages, and only those', () =>
  withPage({}, async (page) => {
    await until(page, () => !document.querySelector('.pending'));
    const text = await printedText(page);
    assert.match(text, /Climbing Crew/);
    for (const index of [0, 1, 777, 1499, 2998, 2999]) assert.match(text, new RegExp(`Message ${index}\\b`));
    assert.equal(text.match(/Message \d+\b/g).length, 3000); // 2,999 messages and one quotation
    assert.doesNotMatch(text, /Find a chat|Show as a table|not here yet/);
    assert.equal(await page.$eval('#paper', (paper) => paper.childElementCount), 0);
  }));

test('the button for printing calls the browser when all texts are there', () =>
  withPage({}, async (page) => {
    await page.evaluate(() => {
      window.print = () => (document.body.dataset.printed = 'true');
    });
    await page.click('#print');
    await until(page, () => document.body.dataset.printed === 'true');
  }));

test('the overview prints with its charts', () =>
  withPage({ fragment: '#/overview' }, async (page) => {
    await until(page, () => document.querySelector('#overview .big'));
    const text = await printedText(page);
    for (const part of [/All chats/, /3,017/, /Month by month/, /Who writes/, /Around the week/]) assert.match(text, part);
    assert.doesNotMatch(text, /Climbing Crew\s+2,999/);
  }));
