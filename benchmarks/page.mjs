// Measures a page in headless Chromium: node page.mjs PAGE NODE_MODULES. Prints each figure and its
// limit, and exits with 1 if a limit is exceeded.
import { execFileSync } from 'node:child_process';
import { createRequire } from 'node:module';
import { resolve } from 'node:path';

const [page, modules] = process.argv.slice(2).map((each) => resolve(each));
const puppeteer = createRequire(`${modules}/`)('puppeteer-core');
const browser = await puppeteer.launch({
  executablePath: execFileSync('sh', ['-c', 'command -v chromium']).toString().trim(),
  args: ['--no-sandbox', '--lang=en-US'],
});
let isGood = true;

function report(what, value, limit, unit) {
  console.log(`  ${what.padEnd(60)} ${value.toFixed(2)} ${unit}   (at most ${limit})`);
  isGood &&= value <= limit;
}

/** Seconds until the first conversation is painted; the clock starts when the page is requested. */
async function opened(tab) {
  await tab.evaluateOnNewDocument(() => {
    const look = () => {
      if (!document.querySelector('.bubble:not(.pending)')) setTimeout(look, 5);
      else requestAnimationFrame(() => requestAnimationFrame(() => (window.painted = performance.now())));
    };
    look();
  });
  await tab.goto(`file://${page}`);
  const painted = await tab.waitForFunction('window.painted', { timeout: 60_000 });
  return (await painted.jsonValue()) / 1000;
}

/** Seconds from the last key to the complete number of hits. */
function searched(tab, text) {
  return tab.evaluate(async (wanted) => {
    const field = document.getElementById('search');
    const panel = document.getElementById('hits-panel');
    field.value = wanted;
    const began = performance.now();
    field.dispatchEvent(new Event('input'));
    while (panel.ariaBusy !== 'false') await new Promise((done) => setTimeout(done, 2));
    return (performance.now() - began) / 1000;
  }, text);
}

/** Scrolls up through a thousand pages and returns the longest time between two frames. */
function scrolled(tab) {
  return tab.evaluate(async () => {
    const viewport = document.getElementById('viewport');
    let longest = 0;
    let last = performance.now();
    for (let i = 0; i < 1000; i += 1) {
      viewport.scrollBy(0, -viewport.clientHeight * 0.9);
      await new Promise((done) => requestAnimationFrame(done));
      const now = performance.now();
      longest = Math.max(longest, now - last);
      last = now;
    }
    return longest / 1000;
  });
}

const tab = await browser.newPage();
await tab.setViewport({ width: 1280, height: 800 });
report('first conversation painted', await opened(tab), 2, 's');
report('a search right after opening', await searched(tab, 'coffee'), 1, 's');
for (const text of ['e', 'coffee', 'CAFÉ', 'no such text']) {
  report(`a search for "${text}"`, await searched(tab, text), 1, 's');
}
await searched(tab, '');
report('longest frame while scrolling', await scrolled(tab), 1, 's');
const { JSHeapUsedSize } = await tab.metrics();
report('memory of the script', JSHeapUsedSize / 2 ** 20, 512, 'MiB');
await browser.close();
process.exit(isGood ? 0 : 1);
