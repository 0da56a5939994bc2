// Uses the page of wgr explain as a reader does: node explain_page_test.js WGR FOLDER
//
// WGR is the tool; FOLDER holds the npm packages playwright-core and axe-core.
'use strict';

const assert = require('node:assert/strict');
const {execFileSync, spawnSync} = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const {kWays, testPages, tooAlike} = require('./browser.js');

const [, , kTool, kPackages] = process.argv;
const kRoot = path.resolve(__dirname, '../..');
const kMostOfADay = 8e6;   // bytes of its page
const kMostAtFirst = 7e6;  // bytes that a day's page unpacks before it is ready
const kMostProcessor = 2;  // s of the browser's process until then
const kMostRows = 60;      // of the list, that are in the page at a time
const kTarget = 44;        // pixels, of what a finger is to meet
const kPaper = 700;        // pixels

// ---- helpers -----------------------------------------------------------------------------

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

// ---- a short recording -------------------------------------------------------------------

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
  const weak = JSON.parse(execFileSync(kTool, ['explain', '--json', '--models',
    path.join(kRoot, 'models'), demo], {stdio: ['ignore', 'pipe', 'ignore'], maxBuffer: 1e9}))
      .motions.find((m) => m.cause === 'too-weak');
  assert.ok(weak, 'the demo recording has a motion that is too weak');
  const labels = fs.readFileSync(path.join(kRoot, 'recordings/demo.labels.csv'), 'utf8');
  fs.writeFileSync(expected, labels + 'demo.csv,4.0,4.6,1\n' +
      `demo.csv,${weak.begin},${weak.end},2\n`);
  explain(['--models', path.join(kRoot, 'models'), '--expect', expected, demo], report);
  return report;
}

function explain(args, report) {
  const made = spawnSync(kTool, ['explain', ...args, '--report', report], {maxBuffer: 1e9});
  assert.equal(made.status, 0, String(made.stderr));
}

// ---- a day -------------------------------------------------------------------------------

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
  explain(['--models', path.join(kRoot, 'models'), '--expect', file('expected.csv'),
    file('day.csv')], report);
  day.size = fs.statSync(report).size;
  console.log(`a day: explained in ${((Date.now() - start) / 1000).toFixed(1)} s, a page of ` +
      `${(day.size / 1e6).toFixed(2)} MB`);
  return report;
}

// Two moments of the night, and in the afternoon a motion that is too weak to count.
function missedOfDay(part, period) {
  const weak = JSON.parse(execFileSync(kTool, ['explain', '--json', '--models',
    path.join(kRoot, 'models'), part], {stdio: ['ignore', 'pipe', 'ignore'], maxBuffer: 1e9}))
      .motions.find((m) => m.cause === 'too-weak' && m.begin > 10);
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

testPages(kPackages, (folder) => [
  [makeDemo(folder), checks],
  [makeDay(folder), ofADay, kWays.slice(0, 1)],
]);
