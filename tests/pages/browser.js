// Opens pages in a headless Chromium, at every width and in light and dark, and lets checks
// use them. Ends with status 77 and a message where the browser or playwright-core is
// missing.
'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');

const kSkipped = 77;
const kContrast = 3;  // between neighbouring meanings
const kBrowser = process.env.CHROMIUM ?? '/usr/bin/chromium';
const kFlags = ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic',
  '--no-first-run', '--disable-background-networking', '--disable-component-update',
  '--disable-sync'];
// As people read: a wide window with a mouse, a phone with fingers.
const kWays = [
  {width: 1280, colorScheme: 'light'}, {width: 1280, colorScheme: 'dark'},
  {width: 400, colorScheme: 'light', hasTouch: true},
  {width: 400, colorScheme: 'dark', hasTouch: true},
];

function skip(reason) {
  console.log(`skipped: ${reason}`);
  process.exit(kSkipped);
}

// playwright-core's Chromium, from the folder that npm installed it in.
function browserFrom(packages) {
  if (!fs.existsSync(kBrowser)) skip(`${kBrowser} is not there: apt-get install chromium`);
  const playwright = path.join(packages, 'node_modules/playwright-core');
  if (!fs.existsSync(playwright)) skip(`playwright-core is not in ${packages}: npm ci`);
  const axe = path.join(packages, 'node_modules/axe-core/axe.min.js');
  if (!fs.existsSync(axe)) skip(`axe-core is not in ${packages}: npm ci`);
  always['axe finds nothing'] = async (page) => {
    await page.evaluate(fs.readFileSync(axe, 'utf8'));
    const found = await page.evaluate(async () => (await axe.run({resultTypes: ['violations']}))
        .violations.flatMap((v) => v.nodes.map((n) => `${v.id}: ${n.target} ${n.html}`)));
    assert.deepEqual(found, []);
  };
  return require(playwright).chromium;
}

// What holds for every page.
const always = {
  async 'nothing is wider than the window'(page) {
    const [content, window_] = await page.evaluate(
        () => [document.scrollingElement.scrollWidth, innerWidth]);
    assert.ok(content <= window_, `${content} > ${window_}`);
  },

  async 'every control and text has enough contrast'(page) {
    const low = await page.evaluate(() => {
      // Mixed colours come as "color(srgb 0.1 0.2 0.3)".
      const channels = (c) => c.match(/[\d.]+/g).map(Number)
          .map((v, i) => c.startsWith('color(') && i < 3 ? 255 * v : v);
      const light = ([r, g, b]) => [r, g, b].map((v) => v / 255)
          .map((v) => v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4)
          .reduce((sum, v, i) => sum + v * [0.2126, 0.7152, 0.0722][i], 0);
      const behind = (node) => {
        for (; node; node = node.parentElement) {
          const colour = channels(getComputedStyle(node).backgroundColor);
          if (colour.length < 4 || colour[3] > 0.99) return colour;
        }
        return [255, 255, 255];
      };
      const found = [];
      for (const node of document.querySelectorAll(
          'p, h1, h2, h3, .chip, button, dt, dd, li, td, th, output, figcaption')) {
        if (node.textContent.trim() === '' || !node.checkVisibility()) continue;
        const [a, b] = [light(channels(getComputedStyle(node).color)), light(behind(node))];
        const contrast = (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
        if (contrast < 4.5) found.push(`${node.tagName} ${node.className} ${contrast}`);
      }
      return found;
    });
    assert.deepEqual(low, []);
  },
};

const linear = (hex) => (hex.length > 4 ? hex : hex.replace(/[0-9a-f]/g, '$&$&'))
    .match(/[0-9a-f]{2}/g).map((v) => parseInt(v, 16) / 255)
    .map((v) => v <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4);
const lightOf = (rgb) => rgb.reduce((sum, v, i) =>
  sum + Math.min(Math.max(v, 0), 1) * [0.2126, 0.7152, 0.0722][i], 0);
// Machado, Oliveira and Fernandes (2009), severity 1.
const kDeuteranope = [[0.367322, 0.860646, -0.227968], [0.280085, 0.672501, 0.047413],
  [-0.011820, 0.042940, 0.968881]];
const kEyes = {
  usual: (rgb) => rgb,
  deuteranope: (rgb) => kDeuteranope.map((row) =>
    row.reduce((sum, v, i) => sum + v * rgb[i], 0)),
};

// Pairs of the page's named colours that are less than 3 : 1 apart, for deuteranopes too.
async function tooAlike(page, pairs) {
  const colours = await page.evaluate((names) => {
    const style = getComputedStyle(document.documentElement);
    return Object.fromEntries(names.map((name) =>
      [name, style.getPropertyValue('--' + name).trim()]));
  }, [...new Set(pairs.flat())]);
  const low = [];
  for (const [a, b] of pairs) {
    for (const [eye, seen] of Object.entries(kEyes)) {
      const [one, other] = [a, b].map((name) => lightOf(seen(linear(colours[name]))));
      const contrast = (Math.max(one, other) + 0.05) / (Math.min(one, other) + 0.05);
      if (!(contrast >= kContrast)) low.push(`${a} on ${b}, ${eye}: ${contrast.toFixed(2)}`);
    }
  }
  return low;
}

// Everything that holds for every page, of the page as it stands or of a frame in it, in
// every way to read it.
async function looksRight(page, frame = page) {
  const before = page.viewportSize();
  for (const {width, colorScheme} of kWays) {
    await page.setViewportSize({width, height: 900});
    await page.emulateMedia({colorScheme});
    for (const [name, check] of Object.entries(always)) {
      await check(frame).catch((error) => {
        throw new Error(`${width} ${colorScheme}: ${name}: ${error.message}`);
      });
    }
  }
  await page.setViewportSize(before);
}

// Opens one page in one way, and returns how many checks failed.
async function checkPage(browser, file, checks, {width, colorScheme, hasTouch = false}) {
  const context = await browser.newContext({viewport: {width, height: 900}, colorScheme,
    hasTouch, offline: true});
  const page = await context.newPage();
  let failures = 0;
  const report = (good, text) => {
    failures += good ? 0 : 1;
    const name = path.basename(file, '.html');
    console.log(`${good ? 'ok     ' : 'FAILED '} ${name} ${width} ${colorScheme}: ${text}`);
  };
  const complaints = [];
  page.on('console', (m) => complaints.push(`${m.type()}: ${m.text()}`));
  page.on('pageerror', (e) => complaints.push(`error: ${e.message}`));
  page.on('request', (r) => {
    // What the page made itself asks nobody.
    if (r.url() !== 'file://' + file && !/^(data|blob):/.test(r.url())) {
      complaints.push(`request: ${r.url()}`);
    }
  });
  await page.goto('file://' + file);
  await page.waitForSelector('html[data-complete]', {timeout: 20000});
  for (const [name, check] of Object.entries({...checks, ...always})) {
    try {
      await check(page, width);
      report(true, name);
    } catch (error) {
      report(false, `${name}: ${error.message}`);
    }
  }
  report(complaints.length === 0, complaints.join('; ') || 'no complaint, no request');
  if (process.env.WGR_SCREENSHOTS) {
    const name = `${path.basename(file, '.html')}-${width}-${colorScheme}.png`;
    await page.screenshot({path: path.join(process.env.WGR_SCREENSHOTS, name),
      fullPage: true});
  }
  await context.close();
  return failures;
}

// Runs `make` in a folder of its own; it returns [page, checks] pairs, or with the ways to
// read it as a third. Ends the process.
// With WGR_SCREENSHOTS=FOLDER a picture of every page stays there.
async function testPages(packages, make) {
  const chromium = browserFrom(packages);
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'wgr-pages-'));
  let failures = 0;
  try {
    const pages = make(folder);
    const browser = await chromium.launch({executablePath: kBrowser, args: kFlags});
    for (const [file, checks, ways = kWays] of pages) {
      for (const way of ways) failures += await checkPage(browser, file, checks, way);
    }
    await browser.close();
  } catch (error) {
    console.error(error);
    failures = 1;
  }
  fs.rmSync(folder, {recursive: true});
  process.exit(failures === 0 ? 0 : 1);
}

// A page in a frame says that it is ready, or complete, whether or not it is in view.
const isDrawn = (frame, state = 'ready') => frame.locator(`html[data-${state}]`)
    .waitFor({state: 'attached', timeout: 30_000});

module.exports = {isDrawn, kWays, looksRight, skip, testPages, tooAlike};
