import assert from 'node:assert/strict';
import { readFileSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { after, before } from 'node:test';

/**
 * Opens the page of the tests in a real browser. Environment: PAGE is the file, CHROMIUM the
 * browser, NODE_MODULES the folder of the packages.
 */

const installed = createRequire(`${process.env.NODE_MODULES}/`);
const puppeteer = installed('puppeteer-core');

/** The file of the script of axe-core. */
export const axeFile = installed.resolve('axe-core/axe.min.js');

export const address = `file://${process.env.PAGE}`;
export const desktop = { width: 1280, height: 800 };
export const phone = { width: 390, height: 780, isMobile: true, hasTouch: true };

let browser;

before(async () => {
  browser = await puppeteer.launch({
    executablePath: process.env.CHROMIUM,
    args: ['--no-sandbox', '--lang=en-US', '--force-color-profile=srgb'],
    env: { ...process.env, TZ: 'Europe/Berlin' },
  });
});

after(() => browser?.close());

/**
 * Calls `use` with the opened page. Fails if the page requests anything but itself, violates its
 * policy, writes to the console or throws.
 *
 * @param {{ file?: string, fragment?: string, viewport?: object, scheme?: 'light' | 'dark' }} options
 * @param {(page: import('puppeteer-core').Page) => Promise<void>} use
 */
export async function withPage({ file = process.env.PAGE, fragment = '', viewport = desktop, scheme = 'light' }, use) {
  const page = await browser.newPage();
  const complaints = [];
  page.on('console', (message) => complaints.push(`console: ${message.text()}`));
  page.on('pageerror', (error) => complaints.push(`error: ${error}`));
  page.on('dialog', (dialog) => complaints.push(`dialog: ${dialog.message()}`) && dialog.dismiss());
  page.on('request', (request) => {
    const isOwnIcon = request.url().startsWith('data:'); // of the browser, in the date field
    if (!isOwnIcon && request.url().split('#')[0] !== `file://${file}`) complaints.push(`request: ${request.url()}`);
  });
  await page.evaluateOnNewDocument(() => {
    addEventListener('securitypolicyviolation', (event) => console.error(`policy: ${event.blockedURI}`));
  });
  await page.setViewport(viewport);
  await page.emulateMediaFeatures([{ name: 'prefers-color-scheme', value: scheme }]);
  await page.goto(`file://${file}${fragment}`);
  await ready(page);
  try {
    await use(page);
  } finally {
    await page.close();
  }
  assert.deepEqual(complaints, []);
}

/**
 * Writes a changed copy of the page.
 *
 * @param {string} name
 * @param {(page: string) => string} change
 * @returns {string} Its file.
 */
export function changedPage(name, change) {
  const file = `${process.env.PAGE}.${name}.html`;
  writeFileSync(file, change(readFileSync(process.env.PAGE, 'utf8')));
  return file;
}

/** Waits until the page shows what its fragment names. */
export async function ready(page) {
  await page.waitForSelector('body[data-ready="true"]', { timeout: 20_000 });
}

/** The texts of the elements that a selector finds. */
export function texts(page, selector) {
  return page.$$eval(selector, (found) => found.map((each) => each.textContent));
}

/** Waits until a function, called in the page, returns something true. */
export function until(page, condition, ...values) {
  return page.waitForFunction(condition, { timeout: 10_000, polling: 20 }, ...values);
}

/** The text of the entry with this index, once it is visible. */
export async function visibleEntry(page, index) {
  await until(page, isVisible, index);
  return page.$eval(`[data-index="${index}"]`, (entry) => entry.textContent);
}

function isVisible(index) {
  const entry = document.querySelector(`[data-index="${index}"]`);
  if (!entry || entry.querySelector('.pending')) return false;
  const inner = entry.getBoundingClientRect();
  const outer = document.getElementById('viewport').getBoundingClientRect();
  return inner.bottom > outer.top && inner.top < outer.bottom;
}

/** Types into the search field and waits for the result. */
export async function search(page, text) {
  await page.click('#search', { count: 3 });
  await page.keyboard.type(text);
  await until(page, () => document.getElementById('hits-panel').ariaBusy === 'false');
  return page.$eval('#hit-count', (count) => count.textContent);
}
