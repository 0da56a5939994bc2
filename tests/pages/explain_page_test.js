// Uses the page of a short recording as a reader does: node explain_page_test.js WGR FOLDER
//
// WGR is the tool; FOLDER holds the npm packages playwright-core and axe-core.
'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const {testPages, tooAlike} = require('./browser.js');
const {all, chosen, explain, kPackages, kRoot, pointOf,
  reach, readPixels, setView, settle, tooWeak, view} = require('./explain_page.js');

const kTarget = 44;  // pixels, of what a finger is to meet
const kPaper = 700;  // pixels

const common = {
  async 'every lane shows its samples'(page) {
    await readPixels(page);
    await all(page);
    for (const sensor of ['acc', 'gyro']) {
      for (const axis of ['x', 'y', 'z']) {
        assert.ok(await reach(page, `${sensor}-${axis}`, 30, 'line-' + axis) < 1,
            `${sensor}-${axis} is empty`);
      }
    }
    assert.ok(await reach(page, 'rest-gyro', 50, 'mark-rest') < 0.5, 'the wrist rests');
  },

  async 'keys zoom, pan and go to both ends'(page) {
    await all(page);
    const {to: end} = await view(page);
    await page.keyboard.press('+');
    await page.keyboard.press('+');
    const near = await view(page);
    assert.ok(near.to - near.from < 0.4 * end);
    await page.keyboard.press('ArrowLeft');
    assert.ok((await view(page)).from < near.from);
    await page.keyboard.press('End');
    assert.equal((await view(page)).to, end);
    await page.keyboard.press('Home');
    assert.equal((await view(page)).from, 0);
    await page.keyboard.press('-');
    await page.waitForTimeout(600);
    assert.match(await page.locator('#view').textContent(),
        /^\d:\d\d:\d\d\.\d to \d:\d\d:\d\d\.\d: \d+ motions, \d+ reported, \d+ missed$/);
    await all(page);
  },

  async 'n and p go from one missed gesture to the next'(page) {
    await all(page);
    await page.keyboard.press('n');
    const first = await page.locator('#details .when').textContent();
    assert.match(await chosen(page), /^Class \d, missed$/);
    assert.equal(await page.locator('.row[aria-selected=true]').count(), 1);
    await page.keyboard.press('n');
    assert.notEqual(await page.locator('#details .when').textContent(), first);
    await page.keyboard.press('p');
    assert.equal(await page.locator('#details .when').textContent(), first);
    assert.match(await page.locator('#chosen').textContent(), /missed/);
  },

  async 'the list goes through the motions by keyboard'(page) {
    await page.locator('#filter').selectOption('reported');
    await page.locator('#list').focus();
    await page.keyboard.press('Home');
    assert.match(await chosen(page), /^Motion \d+$/);
    const first = await chosen(page);
    await page.keyboard.press('ArrowDown');
    assert.notEqual(await chosen(page), first);
    assert.equal(await page.locator('#details figure').count(), 4);
    for (const kind of ['x', 'y', 'z', 'speed', 'x template']) {
      const d = await page.locator(`#details path[class="${kind}"]`).first().getAttribute('d');
      assert.ok(d.length > 200 && !d.includes('NaN'), `${kind}: ${d.slice(0, 80)}`);
    }
    assert.equal(await page.locator('rect.bar').count(), 5);
    const id = await page.locator('#list').getAttribute('aria-activedescendant');
    assert.equal(await page.locator(`#${id}`).getAttribute('aria-selected'), 'true');
  },

  async 'a link leads to a moment'(page) {
    await page.evaluate(() => { location.hash = '#t=0:00:08.9'; });
    await settle(page);
    const {from, to} = await view(page);
    assert.ok(from > 3 && to < 15 && from < 8.9 && to > 8.9);
    assert.equal(await page.locator('#details .chip').textContent(), 'reported: 2');
    assert.equal(await page.locator('#details a').getAttribute('href'), '#t=8.440');
    await page.evaluate(() => { location.hash = '#t=1e9'; });
    await settle(page);
    assert.deepEqual(await view(page), {from, to}, 'what is no time changes nothing');
  },

  async 'what a finger is to meet is large enough'(page) {
    const small = await page.evaluate((least) =>
      [...document.querySelectorAll('button, select, summary, a, .row, #overview')]
          .filter((node) => node.checkVisibility())
          .map((node) => [node.outerHTML.slice(0, 60), node.getBoundingClientRect()])
          .filter(([, box]) => box.height < least || box.width < least)
          .map(([name, box]) => `${name}: ${box.width} x ${box.height}`), kTarget);
    assert.deepEqual(small, []);
  },

  async 'neighbouring meanings differ, for deuteranopes too'(page) {
    const marks = ['mark-good', 'mark-bad', 'mark-other', 'mark-rest', 'mark-gap', 'line-x',
      'line-y', 'line-z', 'ink'];
    const low = await tooAlike(page, [['mark-good', 'mark-bad'],
      ...marks.flatMap((name) => [[name, 'paper'], [name, 'chosen']])]);
    assert.deepEqual(low, []);
  },

  async 'the first box says what came and what to do'(page) {
    const box = await page.locator('#verdict').boundingBox();
    assert.ok(box.y < (await page.locator('#stream').boundingBox()).y);
    assert.match(await page.locator('#verdict-head').textContent(),
        /^11 of 13 gestures were recognised\. \S/);
    assert.match(await page.locator('.answer').textContent(), /(Certain|Likely|Possible): .*Do: \S/);
    const tiles = await page.locator('.tile .figure').allTextContents();
    assert.equal(tiles[0], '11 / 13');
    assert.equal(tiles[1], '0');
  },

  async 'what would have helped names what was tried'(page) {
    const lines = page.locator('.tried').first().locator('li');
    const texts = await lines.allTextContents();
    assert.ok(texts.some((text) => /^as it is11 of 13, 0 not expected/.test(text)), texts);
    assert.ok(texts.some((text) => text.startsWith('sensitivity ')), texts);
    const widths = await lines.locator('.bar i').evaluateAll((bars) =>
      bars.map((bar) => bar.offsetWidth / bar.parentElement.clientWidth));
    assert.ok(widths.every((w) => w >= 0 && w <= 1.01) && widths.some((w) => w > 0.8));
    const more = page.locator('#verdict details').first();
    await more.locator('summary').click();
    await more.locator('li').first().waitFor();
    assert.ok(await more.locator('li').count() > 20);
    await more.locator('summary').click();
  },

  async 'missed gestures are grouped, and a group opens its motions'(page) {
    const groups = page.locator('.group');
    assert.equal(await groups.count(), 2);
    const weak = groups.filter({hasText: 'too-weak'});
    assert.match(await weak.textContent(), /class 2: 1, median decision margin -?\d/);
    await weak.locator('summary').focus();
    await page.keyboard.press('Enter');
    await weak.getByRole('button').click();
    assert.equal(await page.locator('#details .chip').textContent(), 'too-weak');
    const rest = groups.filter({hasText: 'at-rest'});
    await rest.locator('summary').click();
    await rest.locator('li').first().waitFor();
    assert.match(await rest.textContent(), /4\.000 s to 4\.600 s/);
  },

  async 'it fits the paper, light and without buttons'(page) {
    await checkPrint(page);
  },

  async 'the footer says how the page was made'(page) {
    const text = await page.locator('#origin').textContent();
    assert.match(text, /^wgr \d/);
    assert.match(text, /wgr explain --models .*demo\.csv/);
    assert.ok(!text.includes('--report'));
    assert.match(text, /model [0-9a-f]{16}…/);
    assert.match(text, /from stamp 0\.000 s on; its stamps hold no date/);
  },
};

// On paper, whatever the screen's colours are.
async function checkPrint(page) {
  const {width, height} = page.viewportSize();
  const scheme = await page.evaluate(() =>
    matchMedia('(prefers-color-scheme: dark)').matches ? 'dark' : 'light');
  await page.setViewportSize({width: kPaper, height});
  await page.emulateMedia({media: 'print', colorScheme: 'dark'});
  await settle(page);
  const [colour, buttons, wide, pixel] = await page.evaluate(() => [
    getComputedStyle(document.body).backgroundColor,
    [...document.querySelectorAll('button, select')].filter((b) => b.checkVisibility())
        .map((b) => b.textContent),
    document.scrollingElement.scrollWidth - innerWidth,
    [...window.pixels(kLabelWidth + 1, 2, 1, 1).data].join()]);
  await page.emulateMedia({media: 'screen', colorScheme: scheme});
  await page.setViewportSize({width, height});
  await settle(page);
  assert.equal(colour, 'rgb(255, 255, 255)');
  assert.deepEqual(buttons, []);
  assert.ok(wide <= 0, `${wide} pixels too wide for the paper`);
  assert.equal(pixel, '255,255,255,255', 'the time line is light');
}

const byMouse = {
  async 'the wheel zooms at the cursor'(page) {
    await all(page);
    const [x, y] = await pointOf(page, 'acc-x', 20);
    await page.mouse.move(x, y);
    await page.mouse.wheel(0, -600);
    await settle(page);
    const {from, to} = await view(page);
    assert.ok(to - from < 40, 'it is nearer');
    const [now] = await pointOf(page, 'acc-x', 20);
    assert.ok(Math.abs(now - x) < 1.5, 'what was below the cursor stays there');
    assert.match(await page.locator('#readout').textContent(), /^0:00:\d\d\.\d+ +ax -?\d+\.\d\d/);
  },

  async 'a drag pans, a click shows the band beside the chart'(page) {
    await setView(page, 5, 25);
    const [x, y] = await pointOf(page, 'acc-x', 12);
    await page.mouse.move(x, y);
    await page.mouse.down();
    await page.mouse.move(x + 80, y + 3, {steps: 4});
    await page.mouse.up();
    await settle(page);
    const panned = await view(page);
    assert.ok(panned.from < 5 && Math.abs(panned.to - panned.from - 20) < 0.01);
    await page.mouse.click(...await pointOf(page, 'motions-reported', 9));
    await settle(page);
    assert.equal(await page.locator('#details .chip').textContent(), 'reported: 2');
    const chart = await page.locator('#lanes').boundingBox();
    const beside = await page.locator('#details').boundingBox();
    assert.ok(beside.x >= chart.x + chart.width, 'it is beside');
    assert.ok(chart.y >= 0 && chart.y + chart.height <= 900, 'the chart is in view');
    assert.deepEqual(await view(page), panned, 'and what it shows did not move');
  },
};

const byTouch = {
  async 'a tap shows the band below the chart'(page) {
    await setView(page, 5, 15);
    await page.touchscreen.tap(...await pointOf(page, 'motions-reported', 9));
    await settle(page);
    assert.equal(await page.locator('#details .chip').textContent(), 'reported: 2');
    const chart = await page.locator('#lanes').boundingBox();
    const below = await page.locator('#details').boundingBox();
    assert.ok(below.y >= chart.y + chart.height, 'it is below');
    assert.ok(chart.y + chart.height > 100, 'the chart is in view');
  },

  async 'two fingers zoom where they are'(page) {
    await setView(page, 0, 60);
    const [x, y] = await pointOf(page, 'acc-x', 30);
    const client = await page.context().newCDPSession(page);
    const touch = (type, apart) => client.send('Input.dispatchTouchEvent', {type,
      touchPoints: apart === null ? [] : [{x: x - apart, y, id: 1}, {x: x + apart, y, id: 2}]});
    await touch('touchStart', 20);
    for (const apart of [30, 40, 50, 60]) await touch('touchMove', apart);
    await touch('touchEnd', null);
    await settle(page);
    const {from, to} = await view(page);
    assert.ok(to - from < 30, `a third of it is left: ${from} to ${to}`);
    assert.ok(Math.abs((from + to) / 2 - 30) < 3, 'around the same moment');
  },
};

const checks = {
  ...common,
  async 'the pointer does what it should'(page, width) {
    for (const [name, check] of Object.entries(width > 600 ? byMouse : byTouch)) {
      await check(page).catch((error) => {
        error.message = `${name}: ${error.message}`;
        throw error;
      });
    }
  },
};

// The gestures of the demo recording, one that was never made and one that is too weak.
function makeDemo(folder) {
  const report = path.join(folder, 'explain.html');
  const expected = path.join(folder, 'expected.csv');
  const demo = path.join(kRoot, 'recordings/demo.csv');
  const weak = tooWeak(demo);
  const labels = fs.readFileSync(path.join(kRoot, 'recordings/demo.labels.csv'), 'utf8');
  fs.writeFileSync(expected, labels + 'demo.csv,4.0,4.6,1\n' +
      `demo.csv,${weak.begin},${weak.end},2\n`);
  explain(['--expect', expected, demo], report);
  return report;
}

testPages(kPackages, (folder) => [[makeDemo(folder), checks]]);
