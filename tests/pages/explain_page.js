// The page of wgr explain: made by the tool, and looked at as tests do.
'use strict';

const assert = require('node:assert/strict');
const {spawnSync} = require('node:child_process');
const path = require('node:path');

const [, , kTool, kPackages] = process.argv;
const kRoot = path.resolve(__dirname, '../..');
const kMostOutput = 1e9;  // bytes

// What the tool prints of a recording, explained with the project's models.
function explained(args) {
  const made = spawnSync(kTool, ['explain', '--models', path.join(kRoot, 'models'), ...args],
      {maxBuffer: kMostOutput});
  assert.equal(made.status, 0, String(made.stderr));
  return made.stdout;
}

const explain = (args, report) => explained([...args, '--report', report]);

// The first motion after a time that is too weak.
function tooWeak(recording, after = 0) {
  const weak = JSON.parse(explained(['--json', recording])).motions
      .find((m) => m.cause === 'too-weak' && m.begin > after);
  assert.ok(weak, `${recording} has a motion that is too weak`);
  return weak;
}

const settle = (page) => page.waitForTimeout(120);
const view = (page) => page.evaluate(() => window.report.timeline.view());
const setView = async (page, from, to) => {
  await page.evaluate(([a, b]) => window.report.timeline.setView(a, b), [from, to]);
  await settle(page);
};
const all = async (page) => {
  await page.locator('#lanes').focus();
  await page.keyboard.press('0');
  await settle(page);
};
// Where a time is in a lane, in the window's pixels.
async function pointOf(page, lane, t) {
  const [x, y] = await page.evaluate(([name, at]) => {
    const {timeline} = window.report;
    const {top, height} = timeline.lanes().find((one) => one.name === name);
    return [timeline.x(at), top + height / 2];
  }, [lane, t]);
  await page.locator('#lanes').scrollIntoViewIfNeeded();
  const box = await page.locator('#lanes').boundingBox();
  return [box.x + x, box.y + y];
}
// Gives the page a way to read the time line's pixels.
const readPixels = (page) => page.evaluate(() => {
  window.pixels = (...box) => {
    const [x, y, width, height] = box.map(Math.round);
    const ctx = new OffscreenCanvas(width, height).getContext('2d', {willReadFrequently: true});
    ctx.drawImage(document.querySelector('#lanes'), -x, -y);
    return ctx.getImageData(0, 0, width, height);
  };
});
// How far from a lane's top the first pixel of a colour is, in the columns around a time,
// as a share of the lane; 1: there is none.
const reach = (page, lane, t, colour) => page.evaluate(([name, at, token]) => {
  const {timeline} = window.report;
  const canvas = document.querySelector('#lanes');
  const scale = canvas.width / canvas.clientWidth;
  const {top, height} = timeline.lanes().find((one) => one.name === name);
  const want = getComputedStyle(document.documentElement).getPropertyValue('--' + token)
      .trim().match(/[0-9a-f]{2}/g).map((v) => parseInt(v, 16));
  const {data, width} = window.pixels(timeline.x(at) * scale - 2, top * scale, 5,
      height * scale);
  for (let i = 0; i < data.length; i += 4) {
    if (want.every((v, k) => Math.abs(v - data[i + k]) < 60)) {
      return Math.floor(i / 4 / width) / (height * scale);
    }
  }
  return 1;
}, [lane, t, colour]);
// Whether a lane has pixels of one colour at a time, but for those that hatch.
const hasColour = (page, lane, t, colour) => page.evaluate(([name, at, token]) => {
  const {timeline} = window.report;
  const canvas = document.querySelector('#lanes');
  const scale = canvas.width / canvas.clientWidth;
  const {top, height} = timeline.lanes().find((one) => one.name === name);
  const want = getComputedStyle(document.documentElement).getPropertyValue('--' + token)
      .trim().match(/[0-9a-f]{2}/g).map((v) => parseInt(v, 16));
  const {data} = window.pixels(timeline.x(at) * scale - 1, (top + 3) * scale, 3,
      (height - 4) * scale);
  for (let i = 0; i < data.length; i += 4) {
    if (want.every((v, k) => Math.abs(v - data[i + k]) < 8)) return true;
  }
  return false;
}, [lane, t, colour]);

// Whether slanting lines cross the rest lanes at a time.
const hatched = (page, t) => page.evaluate((at) => {
  const {timeline} = window.report;
  const canvas = document.querySelector('#lanes');
  const scale = canvas.width / canvas.clientWidth;
  const {top} = timeline.lanes().find((one) => one.name === 'rest-acc');
  const {data} = window.pixels(timeline.x(at) * scale - 2, top * scale, 5, 60);
  const levels = new Set();
  for (let i = 0; i < data.length; i += 4) levels.add(data[i] >> 5);
  return levels.size > 1;
}, t);
const chosen = (page) => page.locator('#details h3').textContent();

module.exports = {all, chosen, explain, hasColour, hatched, kPackages, kRoot,
  kTool, pointOf, reach, readPixels, settle, setView, tooWeak, view};
