// Draws the studio for the documents, with the demo explained: see scripts/pictures.
//   node studio_picture.js STUDIO_PAGE PACKAGES OUT
'use strict';

const path = require('node:path');

const [page, packages, out] = process.argv.slice(2).map((name) => path.resolve(name));
const {chromium} = require(path.join(packages, 'node_modules/playwright-core'));

async function main() {
  const browser = await chromium.launch({executablePath: '/usr/bin/chromium',
    args: ['--headless', '--no-sandbox', '--disable-gpu']});
  const tab = await browser.newPage({viewport: {width: 1280, height: 900}, offline: true});
  await tab.goto('file://' + page);
  await tab.click('#demo');
  const explained = tab.frameLocator('#page');
  await explained.locator('#verdict', {hasText: 'changes were tried'})
      .waitFor({timeout: 120_000});
  await explained.locator('html[data-complete]').waitFor();
  await tab.screenshot({path: out});
  await browser.close();
}

main().catch((error) => {
  console.error(`studio_picture.js: ${error.message}`);
  process.exit(1);
});
