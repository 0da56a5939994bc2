// The studio with a phone's sensors, which are played to the browser: what it recognises
// while it happens, and what it says where no sensors are.
//   node live_test.js BUILD PACKAGES
'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');

const {kWays, testPages} = require('../pages/browser.js');
const {VirtualSensors, rowsOf, shake} = require('./virtual_sensors.js');

const [build, packages] = process.argv.slice(2).map((name) => path.resolve(name));
const kRoot = path.join(__dirname, '../..');
const kClasses = 17.5;       // s, in which the demo has its five classes
const kMostFrameWork = 8;    // ms of drawing a frame, of 16.7; median
const kMostLatency = 100;    // ms, from a sample to what is known of it; median
const kTooShort = 0.12;      // s of a motion that is too short to count

const rows = rowsOf(fs.readFileSync(path.join(kRoot, 'recordings/demo.csv'), 'utf8'));

const checks = {
  async 'no sensor is said, after a while'(page) {
    await page.click('#tab-live');
    await page.click('#sense');
    await page.locator('#trouble', {hasText: 'No motion arrives'}).waitFor({timeout: 20_000});
    await page.click('#stop');
  },

  async 'a refused permission is said'(page) {
    await page.evaluate(() => { DeviceMotionEvent.requestPermission = async () => 'denied'; });
    await page.click('#sense');
    await page.locator('#trouble', {hasText: 'is set not to give'}).waitFor();
    await page.evaluate(() => { delete DeviceMotionEvent.requestPermission; });
  },

  async 'the demo, played to the sensors, gives its five classes'(page) {
    const sensors = await VirtualSensors.on(page);
    page.sensors = sensors;
    await page.click('#sense');
    await page.click('#record');
    await sensors.play(rows.filter(([t]) => t < kClasses));
    const heard = await page.$$eval('#heard li', (items) => items.map((li) => li.dataset.class));
    assert.deepEqual(heard.reverse(), ['0', '1', '2', '3', '4']);
    const latency = await page.evaluate(() => {
      const sorted = live.latencies.slice().sort((a, b) => a - b);
      return sorted[sorted.length >> 1];
    });
    assert.ok(latency <= kMostLatency, `${latency} ms`);
    const {frames, work, backlog} = await page.evaluate(() => live.figures());
    console.log(`        ${latency.toFixed(1)} ms from a sample to what is known of it; ` +
        `${frames} frames, ${work.toFixed(2)} ms of work each, at most ${backlog} samples behind`);
    assert.ok(frames > 60, `${frames} frames`);
    assert.ok(work <= kMostFrameWork, `${work} ms a frame`);
  },

  async 'what is too short is said in one line'(page) {
    await page.sensors.play(shake(kTooShort));
    await page.locator('#cause', {hasText: /too short: 0\.\d\d s of 0\.50 s/}).waitFor();
  },

  async 'a page that was hidden says what is missing'(page) {
    const hide = (hidden) => page.evaluate((is) => {
      Object.defineProperty(document, 'hidden', {value: is, configurable: true});
      document.dispatchEvent(new Event('visibilitychange'));
    }, hidden);
    await hide(true);
    await hide(false);
    await page.locator('#cause', {hasText: 'The page was hidden'}).waitFor();
    await page.evaluate(() => { delete document.hidden; });
  },

  async 'a recording is kept when the page is reloaded in its middle'(page) {
    await page.reload();
    await page.waitForSelector('html[data-ready]');
    await page.click('#tab-live');
    await page.locator('#kept-text', {hasText: /A recording of (1[89]|2\d) s is kept/}).waitFor();
    await page.click('[data-kept=explain]');
    await page.frameLocator('#page').locator('html[data-ready]').waitFor({timeout: 30_000});
    assert.match(await page.frameLocator('#page').locator('#counts').textContent(), /5 reported/);
    await page.click('#tab-live');
    await page.click('[data-kept=discard]');
    await page.waitForSelector('#kept', {state: 'hidden'});
  },

  async 'sensors that give nothing but zeros are explained'(page) {
    const {sensors} = page;
    await sensors.set([0, 0, 0, 0, 0, 0]);
    await page.click('#sense');
    await page.locator('#trouble', {hasText: 'All values are zero'}).waitFor({timeout: 20_000});
    // What is checked of every page is checked while it senses.
    await sensors.set([0, 0, 9.81, 0, 0, 0]);
  },
};

testPages(packages, () => [[path.join(build, 'studio.html'), checks, [kWays[3]]]]);
