// The studio with a phone's sensors: what it recognises while motion is played to it, what
// it gets from the browser's sensors, and what it says where there are none.
//   node live_test.js BUILD PACKAGES
'use strict';

const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');

const {isDrawn, kWays, testPages} = require('../pages/browser.js');
const {Guide} = require('./guide.js');
const {PlayedMotion, rowsOf, shake} = require('./played_motion.js');
const {VirtualSensors} = require('./virtual_sensors.js');

const [build, packages] = process.argv.slice(2).map((name) => path.resolve(name));
const kRoot = path.join(__dirname, '../..');
const kClasses = 17.5;       // s, in which the demo has its five classes
const kMostFrameWork = 1000 / 60 / 2;  // ms of drawing; the browser has the rest of a frame
const kMostLatency = 100;    // ms, from a sample to what is known of it
const kTooShort = 0.12;      // s of a motion that is too short to count
const kReading = [1, -2, 9, 30, -60, 90];  // m/s², deg/s
const kRounding = 0.11;      // with which browsers give readings, lest they identify a phone

const guide = new Guide('Move a phone');
const rows = rowsOf(fs.readFileSync(path.join(kRoot, 'recordings/demo.csv'), 'utf8'));

const checks = {
  async 'no sensor is said, after a while'(page) {
    await guide.press(page, 'Live');
    await guide.press(page, 'Start the sensors');
    await page.locator('#trouble', {hasText: 'No samples arrive'}).waitFor({timeout: 20_000});
    await page.click('#stop');
  },

  async 'a refused permission is said'(page) {
    await page.evaluate(() => { DeviceMotionEvent.requestPermission = async () => 'denied'; });
    await page.click('#sense');
    await page.locator('#trouble', {hasText: 'does not allow this page'}).waitFor();
    await page.evaluate(() => { delete DeviceMotionEvent.requestPermission; });
  },

  async 'what a phone measures arrives in m/s² and deg/s'(page) {
    page.sensors = await VirtualSensors.on(page);
    await page.click('#sense');
    await page.evaluate(() => { live.onrow = (row) => { window.newest = [...row.slice(1)]; }; });
    await page.sensors.set(kReading);
    await page.waitForFunction(([reading, rounding]) => window.newest?.every(
        (v, i) => Math.abs(v - reading[i]) <= rounding), [kReading, kRounding]);
    await page.evaluate(() => { live.onrow = null; });
    await page.click('#stop');
  },

  async 'a phone without a gyroscope is explained'(page) {
    await page.sensors.have('gyroscope', false);
    await page.click('#sense');
    await page.locator('#trouble', {hasText: 'it has no gyroscope'}).waitFor({timeout: 20_000});
    await page.click('#stop');
    await page.sensors.have('gyroscope', true);
  },

  async 'sensors that give nothing but zeros are explained'(page) {
    await page.sensors.set([0, 0, 0, 0, 0, 0]);
    await page.click('#sense');
    await page.locator('#trouble', {hasText: 'All values are zero'}).waitFor({timeout: 20_000});
    await page.click('#stop');
    await page.sensors.end();
  },

  async 'the demo, played to the page, gives its five classes'(page) {
    page.motion = await PlayedMotion.on(page);
    await page.click('#sense');
    await guide.press(page, 'Record');
    await page.motion.play(rows.filter(([t]) => t < kClasses));
    const heard = await page.$$eval('#heard li', (items) => items.map((li) => li.dataset.class));
    assert.deepEqual(heard.reverse(), ['0', '1', '2', '3', '4']);
  },

  async 'it draws 60 frames a second, and shows a sample within a tenth of a second'(page) {
    const {frames, work, mostWork, latency, mostLatency, backlog} =
        await page.evaluate(() => live.figures());
    console.log(`        ${latency.toFixed(1)} ms from a sample to what is known of it, ` +
        `${mostLatency.toFixed(1)} in 95 %, at most ${backlog} samples behind; ${frames} frames ` +
        `of ${work.toFixed(2)} ms of work, ${mostWork.toFixed(2)} in 95 %`);
    assert.ok(latency <= kMostLatency, `${latency} ms`);
    assert.ok(frames > 60, `${frames} frames`);
    assert.ok(mostWork <= kMostFrameWork, `${mostWork} ms a frame`);
  },

  async 'what is too short is said in one line'(page) {
    await page.motion.play(shake(kTooShort));
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
    await page.locator('#kept-text', {hasText: /A recording of (1[89]|[2-9]\d) s is kept/}).waitFor();
    await guide.press(page, 'Explain it');
    await isDrawn(page.frameLocator('#page'));
    assert.match(await page.frameLocator('#page').locator('#counts').textContent(), /5 reported/);
    await page.click('#tab-live');
    const [file] = await Promise.all([page.waitForEvent('download'),
      guide.press(page, 'Download it')]);
    assert.match(fs.readFileSync(await file.path(), 'utf8'), /^t,ax,ay,az,gx,gy,gz\n0,(.+\n){900}/);
    await guide.press(page, 'Discard it');
    await page.waitForSelector('#kept', {state: 'hidden'});
  },

  async 'a recording is kept when it is stopped'(page) {
    await page.click('#sense');
    await page.click('#record');
    await page.locator('#recording', {hasText: 'Recording: 1 s'}).waitFor();
    await guide.press(page, 'Stop recording');
    await page.locator('#kept-text', {hasText: /A recording of \d s is kept/}).waitFor();
    await page.click('[data-kept=discard]');
    await page.waitForSelector('#kept', {state: 'hidden'});
    // What is checked of every page is checked while it senses.
  },

  async 'every step of the guide was performed'() {
    guide.finished();
  },
};

testPages(packages, () => [[path.join(build, 'studio.html'), checks, [kWays[3]]]]);
