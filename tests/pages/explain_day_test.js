// Uses the page of a day's recording as a reader does: node explain_day_test.js WGR FOLDER
//
// WGR is the tool; FOLDER holds the npm packages playwright-core and axe-core.
'use strict';

const assert = require('node:assert/strict');
const {execFileSync} = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const {kWays, testPages} = require('./browser.js');
const {all, chosen, explain, hasColour, hatched, kPackages,
  kTool, reach, readPixels, setView, tooWeak, view} = require('./explain_page.js');

const kMostOfADay = 8e6;   // bytes of its page
const kMostAtFirst = 7e6;  // bytes that it unpacks before it is ready
const kMostProcessor = 2;  // s of the browser's process until then
const kMostRows = 60;      // of the list, that are in the page at a time

const kDay = 86400, kNight = 8 * 3600, kRate = 50;
const kStill = 30;                       // samples that begin at rest
const kSpike = 5 * 3600 + 0.5;           // s; one sample far above all others
const kGap = [30000, 30010];             // s; no samples
const kWideGap = [50000, 51200];
const kAfternoon = 60000;
const day = {};

// A night at rest, then the same half hour again and again, with a spike and gaps.
function makeDay(folder) {
  const file = (name) => path.join(folder, name);
  execFileSync(kTool, ['synth', '--gestures', '8', '--distractors', '1500', '--person', '7',
    '-o', file('part.csv')], {stdio: 'ignore'});
  const lines = fs.readFileSync(file('part.csv'), 'utf8').trim().split('\n');
  const header = lines.shift();
  const rows = lines.map((line) => line.slice(line.indexOf(',')));
  const out = fs.openSync(file('day.csv'), 'w');
  fs.writeSync(out, header + '\n');
  for (let first = 0; first < kDay * kRate; first += rows.length) {
    let text = '';
    rows.forEach((made, i) => {
      const t = (first + i) / kRate;
      const row = t < kNight ? rows[i % kStill] : made;
      const inside = ([from, to]) => t > from && t < to;
      if (t > kDay || inside(kGap) || inside(kWideGap)) return;
      const spike = Math.abs(t - kSpike) < 0.5 / kRate;
      text += t.toFixed(3) + (spike ? ',0.0,0.0,9.8,0.0,4000.0,0.0' : row) + '\n';
    });
    fs.writeSync(out, text);
  }
  fs.closeSync(out);
  const report = file('day.html');
  const start = Date.now();
  day.missed = missedOfDay(file('part.csv'), rows.length / kRate);
  fs.writeFileSync(file('expected.csv'), 't_start,t_end,label\n' + day.missed.map(
      ([from, to]) => `${from.toFixed(3)},${to.toFixed(3)},2\n`).join(''));
  explain(['--expect', file('expected.csv'), file('day.csv')], report);
  day.size = fs.statSync(report).size;
  console.log(`a day: explained in ${((Date.now() - start) / 1000).toFixed(1)} s, a page of ` +
      `${(day.size / 1e6).toFixed(2)} MB`);
  return report;
}

// Two moments of the night, and in the afternoon a motion that is too weak to count.
function missedOfDay(part, period) {
  const weak = tooWeak(part, 10);
  const start = Math.ceil(kAfternoon / period) * period;
  return [[3600, 3600.8], [7200, 7200.8], [start + weak.begin, start + weak.end]];
}

const ofADay = {
  // Of how long it takes, what does not depend on how busy the machine is.
  async 'it is ready before what is only seen from near is unpacked'(page) {
    const client = await page.context().newCDPSession(page);
    await client.send('Performance.enable', {timeDomain: 'threadTicks'});
    const processor = async () => (await client.send('Performance.getMetrics')).metrics
        .find(({name}) => name === 'ProcessTime').value;
    const before = await processor();
    await page.reload({waitUntil: 'commit'});
    await page.waitForSelector('html[data-ready]');
    const took = await processor() - before;
    await page.waitForSelector('html[data-complete]');
    const {ready, complete, unpacked} = await page.evaluate(() =>
      Object.fromEntries(Object.entries(document.documentElement.dataset)
          .map(([name, value]) => [name, Number(value)])));
    console.log(`a day: ready after ${(ready / 1000).toFixed(2)} s and ${took.toFixed(2)} s of ` +
        `processor time, complete after ${(complete / 1000).toFixed(2)} s; ` +
        `${(unpacked / 1e6).toFixed(2)} MB were unpacked at first`);
    assert.ok(ready < complete);
    assert.ok(unpacked <= kMostAtFirst, `${unpacked} bytes`);
    assert.ok(took <= kMostProcessor, `${took} s of processor time`);
  },

  async 'keys go through the missed gestures, each with all its samples'(page) {
    await all(page);
    const seen = [];
    for (const [from, to] of day.missed) {
      await page.keyboard.press('n');
      assert.equal(await chosen(page), 'Class 2, missed');
      seen.push(await page.locator('#details .when').textContent());
      const [view, samples] = await page.evaluate(([a, b]) => {
        const {timeline, samples: s} = window.report;
        const one = s.stretches.find(({begin, end}) => begin <= a && end >= b);
        return [timeline.view(), one && [...one.samples().t].filter((t) => t >= a && t <= b)];
      }, [from + 0.03, to - 0.03]);
      assert.ok(view.from <= from && view.to >= to, `${from} is in view`);
      assert.ok(Math.abs(samples.length - (to - from - 0.06) * kRate) < 2,
          `${samples.length} samples of ${to - from} s`);
    }
    assert.equal(new Set(seen).size, day.missed.length);
    assert.match(await page.locator('#details .chip').textContent(), /too-weak/);
    assert.match(await page.locator('#verdict-head').textContent(), /^0 of 3 gestures/);
  },

  async 'the page is small, and its list short'(page) {
    assert.ok(day.size <= kMostOfADay, `${day.size} bytes`);
    await page.locator('#filter').selectOption('');
    const first = page.locator('.row').first();
    const all = Number(await first.getAttribute('aria-setsize'));
    assert.ok(all > 5000, `${all} motions`);
    assert.ok(await page.locator('.row').count() < kMostRows);
    await page.locator('#list').focus();
    await page.keyboard.press('End');
    assert.equal(await chosen(page), `Motion ${all}`);
    assert.ok(await page.locator('.row').count() < kMostRows);
  },

  async 'a spike of one sample is seen at every zoom'(page) {
    await readPixels(page);
    for (const wide of [kDay, 20000, 5000, 1000, 200, 40, 8, 2, 0.5]) {
      await setView(page, kSpike - wide / 2, kSpike + wide / 2);
      const top = await reach(page, 'gyro-y', kSpike, 'line-y');
      assert.ok(top < 0.2, `over ${wide} s it begins at ${top} of its lane`);
    }
  },

  async 'nothing is drawn where there are no samples, at rest neither'(page) {
    for (const [[from, to], wides] of [[kGap, [300, 60, 12]], [kWideGap, [kDay, 4000, 100]]]) {
      for (const wide of wides) {
        const middle = (from + to) / 2;
        await setView(page, middle - wide / 2, middle + wide / 2);
        for (const lane of ['rest-acc', 'rest-gyro']) {
          assert.equal(await hasColour(page, lane, middle, 'mark-rest'), false, `${lane} ${wide}`);
        }
        for (const lane of ['acc-x', 'acc-y', 'gyro-z']) {
          assert.equal(await hasColour(page, lane, middle, 'line-' + lane.at(-1)), false,
              `${lane} ${wide}`);
        }
        assert.ok(await hatched(page, middle), `hatched over ${wide} s`);
      }
    }
  },

  async 'what was reported but not expected stands apart'(page) {
    const [, unexpected] = await page.locator('.tile .figure').allTextContents();
    assert.ok(Number(unexpected) > 100, unexpected);
    assert.equal(await page.locator('#filter option[value=unexpected]').textContent(),
        `reported, not expected (${unexpected})`);
    assert.ok(await page.evaluate(() =>
      window.report.marks.reported.every(({name}) => name.startsWith('◆'))));
  },

  async 'where a pixel holds many rests it is as dark as their share'(page) {
    await readPixels(page);
    await all(page);
    const seen = await page.evaluate((at) => {
      const {timeline} = window.report;
      const canvas = document.querySelector('#lanes');
      const scale = canvas.width / canvas.clientWidth;
      const {top, height} = timeline.lanes().find((one) => one.name === 'rest-gyro');
      const {data} = window.pixels(timeline.x(at) * scale, (top + height / 2) * scale, 60, 1);
      return Array.from({length: data.length / 4}, (_, i) => data[4 * i]);
    }, kAfternoon);
    assert.ok(seen.some((red) => red > 130 && red < 245), String(seen));
  },

  async 'a motion that was reported keeps every sample'(page) {
    await page.locator('#filter').selectOption('reported');
    await page.locator('#list').focus();
    for (const key of ['Home', 'PageDown', 'End']) {
      await page.keyboard.press(key);
      const caption = await page.locator('#details figcaption').first().textContent();
      assert.ok(!caption.includes('thinned'), caption);
      const samples = Number(/^\d+/.exec(await page.locator('#details dd').first()
          .textContent())[0]);
      const trimmed = Number(/^\d+/.exec(await page.locator('#details dd').nth(2)
          .textContent())[0]);
      const d = await page.locator('#details path').first().getAttribute('d');
      assert.equal(d.match(/[ML]/g).length, samples - trimmed);
    }
  },
};

testPages(kPackages, (folder) => [[makeDay(folder), ofADay, kWays.slice(0, 1)]]);
