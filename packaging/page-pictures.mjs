// Makes docs/page.png and docs/page-overview.png, the README's pictures of the page. Needs chromium,
// fonts-inter, fonts-quicksand and fonts-noto-color-emoji. Before, run ./run without a display and
// without a Messages database, so that it builds the program and takes its tour, and
// "tests/node/install build/node".
import { execFileSync } from 'node:child_process';
import { createRequire } from 'node:module';

const root = new URL('..', import.meta.url).pathname;
const puppeteer = createRequire(`${root}build/node/node_modules/`)('puppeteer-core');
const page = `${root}build/demo/page.html`;
const pictures = [
  { file: 'page.png', scheme: 'dark', fragment: '#/iMessage%3B%2B%3Bchat525952976053997873/2791' },
  { file: 'page-overview.png', scheme: 'light', fragment: '#/overview' },
];

execFileSync(`${root}build/release/src/cli/korvane-sync`, [
  'read', '--folder', `${root}build/demo/export`, '--html', page, '--force',
]);
const browser = await puppeteer.launch({
  executablePath: execFileSync('sh', ['-c', 'command -v chromium']).toString().trim(),
  args: ['--no-sandbox', '--lang=en-US', '--force-color-profile=srgb'],
});
for (const { file, scheme, fragment } of pictures) {
  const tab = await browser.newPage();
  await tab.setViewport({ width: 1180, height: 820, deviceScaleFactor: 1.5 });
  await tab.emulateMediaFeatures([{ name: 'prefers-color-scheme', value: scheme }]);
  await tab.goto(`file://${page}${fragment}`);
  await tab.waitForSelector('body[data-ready]');
  await tab.waitForFunction(() => !document.querySelector('.pending, .wait'));
  await tab.evaluate(() => document.activeElement.blur());
  await new Promise((shown) => setTimeout(shown, 2000)); // the floating day fades
  await tab.screenshot({ path: `${root}docs/${file}` });
  await tab.close();
}
await browser.close();
