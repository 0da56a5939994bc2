// Uses the page of wgr explain as a reader does: node explain_page_test.js WGR FOLDER
//
// WGR is the tool; FOLDER holds the npm package playwright-core.
'use strict';

const assert = require('node:assert/strict');
const {execFileSync, spawnSync} = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const {skip, testPages} = require('./browser.js');

const [, , kTool, kPackages] = process.argv;
const kRoot = path.resolve(__dirname, '../..');

// What the page does: each check is given a page that has drawn itself.
const checks = {
  async 'both charts show curves'(page) {
    for (const id of ['acc', 'gyro']) {
      const colours = await page.locator(`#${id} canvas`).evaluate((canvas) => {
        const {data} = canvas.getContext('2d').getImageData(0, 0, canvas.width,
            canvas.height);
        const seen = new Map();
        for (let i = 0; i < data.length; i += 4) {
          if (data[i + 3] < 255) continue;
          const key = `${data[i]},${data[i + 1]},${data[i + 2]}`;
          seen.set(key, (seen.get(key) ?? 0) + 1);
        }
        return [...seen.values()].filter((count) => count > 50).length;
      });
      // Three curves, and the strip in more than one colour.
      assert.ok(colours >= 5, `${id} has only ${colours} colours`);
    }
  },

  async 'the cursor reads the same time off both charts'(page) {
    await page.locator('#acc').scrollIntoViewIfNeeded();
    const box = await page.locator('#acc .u-over').boundingBox();
    await page.mouse.move(box.x + box.width * 0.4, box.y + box.height / 2);
    await page.waitForTimeout(50);
    const read = (id) => page.locator(`#${id} .u-value`).allTextContents();
    const acc = await read('acc');
    const gyro = await read('gyro');
    assert.match(acc[0], /^\d+\.\d{3} s$/);
    assert.equal(acc[0], gyro[0]);
    for (const value of [...acc.slice(1), ...gyro.slice(1)]) {
      assert.match(value, /^-?\d+\.\d{2}$/);
    }
    await page.locator('#gyro').focus();
    await page.keyboard.press('ArrowRight');
    await page.waitForTimeout(50);
    const moved = await read('acc');
    assert.notEqual(moved[0], acc[0]);
    assert.equal(moved[0], (await read('gyro'))[0]);
  },

  async 'zooming one chart zooms the other, with mouse and keyboard'(page) {
    const range = (id) => page.evaluate((name) => {
      const texts = window.report.charts().map((u) => [u.scales.x.min, u.scales.x.max]);
      return texts[name === 'acc' ? 0 : 1];
    }, id);
    const [first, last] = await range('acc');
    const box = await page.locator('#gyro .u-over').boundingBox();
    await page.mouse.move(box.x + box.width * 0.3, box.y + 40);
    await page.mouse.down();
    await page.mouse.move(box.x + box.width * 0.5, box.y + 60, {steps: 4});
    await page.mouse.up();
    await page.waitForTimeout(50);
    const [from, to] = await range('acc');
    assert.ok(Math.abs((to - from) / (last - first) - 0.2) < 0.02, 'a fifth is shown');
    assert.deepEqual(await range('gyro'), [from, to]);
    await page.locator('#acc').focus();
    await page.keyboard.press('-');
    await page.keyboard.press('Shift+ArrowLeft');
    await page.waitForTimeout(50);
    const [wider, ] = await range('gyro');
    assert.ok(wider < from);
    await page.keyboard.press('0');
    await page.waitForTimeout(50);
    assert.deepEqual(await range('gyro'), [first, last]);
  },

  async 'a motion unfolds with the keyboard and shows its pictures'(page) {
    const motion = page.locator('.motion[data-cause="reported"]').first();
    await motion.locator('summary').focus();
    await page.keyboard.press('Enter');
    await motion.locator('figure').first().waitFor();
    assert.equal(await motion.locator('figure').count(), 4);
    for (const kind of ['x', 'y', 'z', 'speed', 'x template']) {
      const d = await motion.locator(`path[class="${kind}"]`).first().getAttribute('d');
      assert.ok(d.length > 200 && !d.includes('NaN'), `${kind}: ${d.slice(0, 80)}`);
    }
    assert.equal(await motion.locator('rect.bar').count(), 5);
    assert.equal(await motion.locator('line.tick').count(), 5);
    assert.equal(await motion.locator('line.limit').count(), 1);
  },

  async 'the first box says what came and what to do'(page) {
    const box = await page.locator('#verdict').boundingBox();
    assert.ok(box.y < (await page.locator('#stream').boundingBox()).y);
    assert.match(await page.locator('#verdict-head').textContent(),
        /^11 of 13 gestures came\. \S/);
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
    assert.equal(await page.locator('.motion[open][data-cause="too-weak"]').count(), 1);
    const rest = groups.filter({hasText: 'at-rest'});
    await rest.locator('summary').click();
    await rest.locator('li').first().waitFor();
    assert.match(await rest.textContent(), /4\.000 s to 4\.600 s/);
  },

  async 'the filter leaves one cause'(page) {
    await page.locator('#filter').selectOption('reported');
    const shown = await page.locator('.motion:visible').evaluateAll((items) =>
      items.map((item) => item.dataset.cause));
    assert.ok(shown.length > 0 && shown.every((cause) => cause === 'reported'));
    await page.locator('#filter').selectOption('');
  },
};

// The gestures of the demo recording, one that was never made and one that is too weak.
function makePage(folder) {
  const report = path.join(folder, 'explain.html');
  const expected = path.join(folder, 'expected.csv');
  const weak = JSON.parse(execFileSync(kTool, ['explain', '--json', '--models',
    path.join(kRoot, 'models'), path.join(kRoot, 'recordings/demo.csv')],
  {stdio: ['ignore', 'pipe', 'ignore'], maxBuffer: 1e9}))
      .motions.find((m) => m.cause === 'too-weak');
  assert.ok(weak, 'the demo recording has a motion that is too weak');
  const labels = fs.readFileSync(path.join(kRoot, 'recordings/demo.labels.csv'), 'utf8');
  fs.writeFileSync(expected, labels + 'demo.csv,4.0,4.6,1\n' +
      `demo.csv,${weak.begin},${weak.end},2\n`);
  const made = spawnSync(kTool, ['explain', '--models', path.join(kRoot, 'models'),
    '--expect', expected, path.join(kRoot, 'recordings/demo.csv'), '--report', report]);
  if (String(made.stderr).includes('built without its HTML report')) {
    skip(`${kTool} was built without its HTML report: npm and a network are needed`);
  }
  assert.equal(made.status, 0, String(made.stderr));
  return [[report, checks]];
}

testPages(kPackages, makePage);
