// Uses the pages of wgr build, eval, doctor and log as a reader does:
// node model_page_test.js WGR FOLDER
//
// WGR is the tool; FOLDER holds the npm package playwright-core.
'use strict';

const assert = require('node:assert/strict');
const crypto = require('node:crypto');
const {execFileSync} = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const {kWays, testPages, tooAlike} = require('./browser.js');

const [, , kTool, kPackages] = process.argv;
const kRoot = path.join(__dirname, '../..');
let evaluated;  // by wgr eval --json
let logged;     // the summary of wgr log --json
let digest;     // of the model

const texts = (locator) => locator.allTextContents();

// The numbers of a table's row, without its first cell.
const rowNumbers = async (row) =>
  (await texts(row.locator('td'))).map((text) => Number(text.replaceAll(',', '')));

const common = {
  async 'the examples of a number in the table are listed, by keyboard'(page) {
    const buttons = page.locator('#matrix td button');
    assert.ok(await buttons.count() >= 5, 'every class has a number');
    const button = buttons.nth(1);
    await button.focus();
    await page.keyboard.press('Enter');
    assert.equal(await page.locator('.example').count(), Number(await button.textContent()));
    assert.equal(await page.evaluate(() => document.activeElement.id), 'filter');
    await page.locator('#filter').selectOption('outstanding');
  },

  async 'all examples of a class are drawn, and its templates over them'(page) {
    const card = page.locator('.class').first();
    assert.equal(await card.locator('figure').count(), 4);
    const facts = await texts(card.locator('dd'));
    for (const axis of ['x', 'y', 'z']) {
      const examples = card.locator(`path[class="${axis} all"]`);
      assert.equal(await examples.count(), Number(facts[0]));
      const d = await examples.first().getAttribute('d');
      assert.ok(d.length > 100 && !d.includes('NaN'), d.slice(0, 80));
    }
    assert.equal(await card.locator('path.exemplar').count(), 3 * Number(facts[2]));
  },

  async 'a threshold can be tried with the keyboard'(page) {
    const card = page.locator('.class').first();
    const slider = card.locator('input[type=range]');
    const accepted = async () => {
      const words = await card.locator('output').textContent();
      assert.match(words, /^With -?\d\.\d{4}: .* accepted\.$/);
      return [...words.matchAll(/(\d+) of (\d+)/g)].map(([, some, all]) => [+some, +all]);
    };
    await slider.focus();
    await page.keyboard.press('End');
    assert.ok((await accepted()).every(([some]) => some === 0), 'nothing is above 0');
    const before = await card.locator('line.tried').getAttribute('x1');
    await page.keyboard.press('Home');
    assert.ok(Number(await card.locator('line.tried').getAttribute('x1')) < before);
    const [[right, all]] = await accepted();
    assert.equal(right, all, 'the lowest threshold accepts what is right');
  },

  async 'another class unfolds with the keyboard'(page) {
    const card = page.locator('.class').nth(2);
    if (await card.getAttribute('open') === null) {
      await card.locator('summary').focus();
      await page.keyboard.press('Enter');
    }
    await card.locator('path.exemplar').first().waitFor();
  },

  async 'an example that stands out is beside its nearest template'(page, width) {
    const example = page.locator('.example').last();
    await example.locator('summary').focus();
    await page.keyboard.press('Enter');
    await example.locator('figure').first().waitFor();
    assert.ok(await example.locator('figure').count() >= 2);
    const captions = await texts(example.locator('figcaption'));
    assert.match(captions[0], /^This example/);
    assert.match(captions[1], /^The nearest template, .* score -\d/);
    const boxes = [];
    for (const i of [0, 1]) boxes.push(await example.locator('svg').nth(i).boundingBox());
    if (width > 1000) {
      assert.equal(boxes[0].y, boxes[1].y);
      assert.ok(boxes[1].x >= boxes[0].x + boxes[0].width);
    } else {
      assert.ok(boxes[1].y >= boxes[0].y + boxes[0].height);
    }
    for (const d of await example.locator('path').evaluateAll((all) =>
      all.map((p) => p.getAttribute('d')))) {
      assert.ok(d.length > 100 && !d.includes('NaN'), d.slice(0, 80));
    }
  },

  async 'the costs of the classes add up'(page) {
    const rows = page.locator('#cost table:not(#kinds) tbody tr');
    const count = await rows.count();
    assert.equal(count, 6);
    const sums = [0, 0, 0, 0];
    for (let i = 0; i + 1 < count; ++i) {
      (await rowNumbers(rows.nth(i))).forEach((value, k) => { sums[k] += value; });
    }
    const all = await rowNumbers(rows.nth(count - 1));
    assert.deepEqual(all.slice(0, 2), sums.slice(0, 2));
    assert.ok(Math.abs(all[2] - 45 * 35e-6 * all[1]) < 0.01, 'ms, by 35 instructions a cell');
    assert.ok(Math.abs(all[3] - sums[3]) < 0.3 && all[3] > 0.024 * all[1], 'kB');
  },

  async 'it says first whether the model is ready, and why, with bounds'(page) {
    const box = page.locator('#advice .answer');
    assert.equal(await box.locator('h2').textContent(), 'Not ready, because');
    const reasons = await texts(box.locator('.reasons li'));
    assert.ok(reasons.some((text) => /^not reached/.test(text)), String(reasons));
    for (const text of reasons) assert.match(text, /confidence|not known/);
    assert.match(reasons.find((text) => /of background:/.test(text)),
        /^not reached 0 false positives .* is aimed at, and so little background cannot show it\.$/);
    const next = await texts(page.locator('#advice .next li'));
    assert.ok(next.some((text) => /background/.test(text)), String(next));
    assert.ok(next.some((text) => /^Record more of class/.test(text)), String(next));
    const facts = await texts(page.locator('#measured dd'));
    assert.match(facts[0], /no less than \d+\.\d % with 95 % confidence/);
    const chips = [...await texts(page.locator('#counts li')),
      ...await texts(page.locator('.class > summary .chip'))];
    assert.ok(chips.length > 6);
    for (const text of chips) assert.match(text, /\d of \d.*: \d+\.\d to \d+\.\d %$/);
  },

  async 'its footer says how it was made, and by which model'(page) {
    assert.match(await page.locator('#origin').textContent(),
        new RegExp(`^wgr \\d.*wgr (build set|eval others).*model ${digest.slice(0, 16)}…`));
  },

  async 'the matrix counts, or shows percent, and names both axes'(page) {
    const cells = page.locator('#matrix tbody tr').first().locator('td button');
    const before = (await texts(cells)).map(Number);
    const all = before.reduce((sum, n) => sum + n, 0);
    await page.locator('#matrix-unit').selectOption('percent');
    (await texts(cells)).forEach((text, i) =>
      assert.equal(text, (100 * before[i] / all).toFixed(1)));
    await page.locator('#matrix-unit').selectOption('counts');
    const heads = await texts(page.locator('#matrix thead th'));
    const rows = await texts(page.locator('#matrix tbody th'));
    assert.equal(heads[0], rows[0]);
    assert.match(heads[0], /^class 0/);
    assert.equal(await page.locator('#matrix thead th').first().evaluate((node) =>
      getComputedStyle(node).position), 'sticky');
  },

  async 'a mark of the map opens its example, by pointer and by keyboard'(page, width) {
    const marks = page.locator('#map path.dot:not(.cross)');
    assert.ok(await marks.count() > 15);
    const mark = page.locator('#map .map path.dot').first();
    await mark.scrollIntoViewIfNeeded();
    const box = await mark.boundingBox();
    const [x, y] = [box.x + box.width / 2, box.y + box.height / 2];
    await (width < 1000 ? page.touchscreen.tap(x, y) : page.mouse.click(x, y));
    await page.locator('#map details.example[open] figure').first().waitFor();
    assert.equal(await page.locator('#map path.marked').count(), 1);
    const button = page.locator('#map button');
    if (await button.isEnabled()) {
      await button.focus();
      await page.keyboard.press('Enter');
      assert.equal(await page.locator('#map .chip.wrong').count(), 1);
    }
  },

  async 'neighbouring meanings differ, for deuteranopes too'(page) {
    const low = await tooAlike(page, [['mark-good', 'mark-bad'], ...['mark-good', 'mark-bad',
      'x', 'y', 'z', 'speed', 'soft', 'ink', 'focus'].flatMap((name) =>
      [[name, 'paper'], [name, 'card']])]);
    assert.deepEqual(low, []);
  },

  async 'it fits the paper, light and without buttons'(page) {
    await page.emulateMedia({media: 'print'});
    for (const button of await page.locator('#advice button, #map button, select').all()) {
      assert.ok(!await button.isVisible());
    }
    assert.equal(await page.evaluate(() => getComputedStyle(document.body).backgroundColor),
        'rgb(255, 255, 255)');
    await page.emulateMedia({media: 'screen'});
  },

  async 'what a finger is to meet is large enough'(page) {
    for (const node of await page.locator(
        '#advice button, #advice summary, #matrix button, #map button, select').all()) {
      if (!await node.isVisible()) continue;
      const {height} = await node.boundingBox();
      assert.ok(height >= 43.9, `${await node.evaluate((n) => n.outerHTML)}: ${height}`);
    }
  },
};

const ofBuild = {
  ...common,
  async 'the kinds of templates that were tried are listed and drawn, one of them chosen'(page) {
    const kinds = await texts(page.locator('#kinds tbody th'));
    for (const kind of ['exemplars', 'averages', 'smoothed', 'adapted']) {
      assert.ok(kinds.some((text) => text.includes(kind)), `${kind} in ${kinds}`);
    }
    assert.equal(await page.locator('#cost circle').count(), kinds.length);
    assert.equal(await page.locator('#cost circle.chosen').count(), 1);
    const chosen = await texts(page.locator('#kinds tbody td:last-child'));
    assert.equal(chosen.filter((text) => text === 'chosen').length, 1);
  },
};

const ofEval = {
  ...common,
  async 'the table has the numbers that --json prints'(page) {
    const heads = (await texts(page.locator('#matrix thead th')))
        .map((text) => text.replace(/^class (\d+).*/, '$1'));
    const rows = page.locator('#matrix tbody tr');
    const labels = Object.keys(evaluated.confusion);
    assert.ok(Object.values(evaluated.misses).reduce((sum, n) => sum + n, 0) > 0);
    for (let i = 0; i < labels.length; ++i) {
      const cells = await texts(rows.nth(i).locator('td'));
      heads.forEach((outcome, k) => {
        if (outcome === 'recall' || outcome === 'precision') {
          const share = evaluated.classes[labels[i]][outcome];
          if (share === null) return assert.equal(cells[k], '–');
          const [value, least, most] = cells[k].match(/\d+\.\d/g).map(Number);
          assert.ok(Math.abs(value - 100 * share) < 0.051, cells[k]);
          assert.ok(least < value && value <= most && (most === 100) === (value === 100),
              cells[k]);
        } else {
          const count = evaluated.confusion[labels[i]][outcome] ?? 0;
          assert.equal(cells[k], count === 0 ? '·' : String(count));
        }
      });
    }
  },

  async 'misses, latency and false positives are shown'(page) {
    const names = await texts(page.locator('#measured dt'));
    assert.ok(names.includes('false positives') && names.includes('latency'), String(names));
    const figures = page.locator('#measured figure');
    assert.equal(await figures.count(), 2);
    assert.match(await figures.nth(0).textContent(), /by cause/);
    const hourly = await texts(page.locator('#measured dd'));
    assert.ok(hourly.some((text) => /no more than .* with 95 % confidence/.test(text)));
    assert.ok(await figures.nth(0).locator('rect.bar').count() >= 1);
    assert.ok(await figures.nth(1).locator('rect.bar').count() >= 1);
  },

  async 'what changed since the earlier evaluation is listed'(page) {
    const row = page.locator('#comparison tr', {hasText: 'reported as their class'});
    const {low_95: low, high_95: high, better} = evaluated.comparison.changes
        .find(({name}) => name === 'reported as their class');
    assert.ok(low < high && high < 0 && better === false, `${low} to ${high}`);
    const points = (v) => '−' + (-100 * v).toFixed(1);
    assert.deepEqual(await texts(row.locator('td')), ['100.0 %',
      (100 * evaluated.accuracy).toFixed(1) + ' %',
      `worse (${points(low)} to ${points(high)} points)`]);
    const chance = await page.locator('#comparison tr', {hasText: 'no more than chance ('}).count();
    assert.ok(chance > 0, 'some differences are small');
    assert.ok(await page.locator('#comparison tbody tr').count() > 5);
  },
};

// Of a model that accepts everything.
const ofFalse = {
  async 'a false positive has the stream around it, and the motion marked in it'(page) {
    const example = page.locator('#list .example', {hasText: 'background'}).first();
    await example.locator('summary').click();
    const figures = example.locator('figure', {hasText: '3 s before'});
    await figures.nth(1).waitFor();  // the details are drawn when they are open
    assert.equal(await figures.count(), 2, 'both sensors');
    for (const i of [0, 1]) {
      const times = (await texts(figures.nth(i).locator('text')))
          .filter((text) => / s$/.test(text)).map(parseFloat);
      const begin = parseFloat(/at (\d+\.\d+) s/.exec(
          await example.locator('.when').textContent())[1]);
      assert.ok(Math.abs(begin - times[0] - 3) < 0.05, `3 s before ${begin}: ${times}`);
      assert.equal(await figures.nth(i).locator('path').count(), 3);
      const lines = await figures.nth(i).locator('path').first().boundingBox();
      const motion = await figures.nth(i).locator('rect.active').boundingBox();
      const share = (x) => times[0] + (x - lines.x) / lines.width * (times[1] - times[0]);
      assert.ok(Math.abs(share(motion.x) - begin) < 0.1, 'the mark begins with the motion');
      assert.ok(Math.abs(times[1] - share(motion.x + motion.width) - 3) < 0.1,
          'and ends 3 s before the picture does');
    }
  },

  async 'what segmentation said of the recordings is among the caveats'(page) {
    const caveats = await texts(page.locator('#advice .caveats li'));
    assert.ok(caveats.some((text) => /^1 gap in the time stamps/.test(text)), String(caveats));
  },
};

const ofDoctor = {
  async 'the findings come first, each with what to do'(page) {
    assert.match(await page.locator('#answer h2').textContent(), /^\d+ findings?$/);
    const cards = page.locator('#answer .card');
    assert.ok((await texts(cards)).some((text) => /rad\/s/.test(text)));
    assert.match(await cards.first().locator('p').nth(1).textContent(), /^Do: /);
    assert.match(await page.locator('#origin').textContent(),
        /^wgr \d.*wgr doctor rad\.csv.*hold no date$/);
    const facts = await texts(page.locator('#tables th[scope=row]'));
    assert.deepEqual(facts.slice(0, 2), ['samples', 'rate']);
  },
};

const ofLog = {
  async 'every hour is a row, with a bar as long as its gestures'(page) {
    const rows = page.locator('#tables section').first().locator('tbody tr');
    assert.equal(await rows.count(), logged.hours.length);
    assert.ok(logged.hours.length > 1);
    const counts = logged.hours.map((hour) => hour.gestures);
    assert.deepEqual((await texts(page.locator('td.barred'))).map(Number), counts);
    const widths = await page.locator('.bar').evaluateAll((all) =>
      all.map((bar) => bar.getBoundingClientRect().width));
    const most = counts.indexOf(Math.max(...counts));
    widths.forEach((width, i) => assert.ok(
        Math.abs(width / widths[most] - counts[i] / counts[most]) < 0.02));
  },

  async 'host runs and odd lines are listed'(page) {
    assert.match(await page.locator('#origin').textContent(), /^wgr \d.*wgr log WgrLog/);
    assert.match(await page.locator('#answer h2').textContent(),
        /^22 gestures: .*\. To be looked at: 1 foreign line$/);
    const sections = page.locator('#tables section');
    const runs = sections.filter({hasText: 'The host runs'}).locator('tbody tr');
    assert.equal(await runs.count(), logged.host_runs);
    assert.match(await sections.filter({hasText: 'Odd lines'}).textContent(), /not the library/);
  },

  async 'it fits the paper'(page) {
    await page.emulateMedia({media: 'print'});
    assert.equal(await page.evaluate(() => getComputedStyle(document.body).backgroundColor),
        'rgb(255, 255, 255)');
    assert.equal(await page.locator('button:visible').count(), 0);
    await page.emulateMedia({media: 'screen'});
  },
};

// The demonstration in rad/s, and the log of two runs with an odd line between them.
function makeFindings(folder, wgr) {
  const demo = fs.readFileSync(path.join(kRoot, 'recordings/demo.csv'), 'utf8').trim().split('\n');
  const wrong = demo.map((row, i) => i === 0 ? row : row.split(',').map((field, k) =>
    k < 4 ? field : String(Number(field) / 57.29578)).join(','));
  fs.writeFileSync(path.join(folder, 'rad.csv'), wrong.join('\n') + '\n');
  try {
    wgr('doctor', 'rad.csv', '--report', 'doctor.html');
    assert.fail('nothing was found');
  } catch (error) {
    assert.equal(error.status, 1);
  }
  for (const log of ['first', 'second']) {
    wgr('replay', '--models', path.join(kRoot, 'models'), '--log', log,
        path.join(kRoot, 'recordings/demo.csv'));
  }
  const parts = ['first', 'second'].map((log) => fs.readFileSync(path.join(folder, log)));
  fs.writeFileSync(path.join(folder, 'WgrLog.txt'),
      Buffer.concat([parts[0], Buffer.from('not the library\n'), parts[1]]));
  const lines = wgr('log', 'WgrLog.txt', '--sample-rate', '1', '--json', '--report', 'log.html')
      .toString().trim().split('\n');
  logged = JSON.parse(lines[lines.length - 1]);
  return [[path.join(folder, 'doctor.html'), ofDoctor], [path.join(folder, 'log.html'), ofLog]];
}

// A model that accepts everything, played to a recording with a gap.
function makeFalse(folder, wgr, model) {
  const lines = model.split('\n');
  lines[2] = lines[2].replace(/ \S+/g, ' -1e6');  // the thresholds
  fs.writeFileSync(path.join(folder, 'lax.xml'), lines.join('\n'));
  fs.cpSync(path.join(folder, 'others'), path.join(folder, 'gap'), {recursive: true});
  const cut = path.join(folder, 'gap/p901_free.csv');
  const rows = fs.readFileSync(cut, 'utf8').split('\n');
  fs.writeFileSync(cut, [...rows.slice(0, 21), ...rows.slice(60)].join('\n'));
  wgr('eval', 'gap', '--model', 'lax.xml', '--report', 'false.html');
  return path.join(folder, 'false.html');
}

// Two people's recordings make a model; one more is played to it, who wears the watch on
// the other wrist for half of the time, so that much goes wrong.
function makePages(folder) {
  const wgr = (...words) => execFileSync(kTool, words, {cwd: folder,
    stdio: ['ignore', 'pipe', 'pipe']});
  const set = (name, ...words) => wgr('synth', '--training', name, '--gestures', '3',
      '--distractors', '20', ...words);
  set('set', '--persons', '3');
  set('others', '--person', '900', '--persons', '1');
  set('wrong wrist', '--person', '901', '--persons', '1', '--wearer', '1');
  fs.copyFileSync(path.join(folder, 'wrong wrist/p901_free.csv'),
      path.join(folder, 'others/p901_free.csv'));
  for (const table of ['index.csv', 'labels.csv']) {
    const rows = fs.readFileSync(path.join(folder, 'wrong wrist', table), 'utf8')
        .split('\n').slice(1).join('\n');
    fs.appendFileSync(path.join(folder, 'others', table), rows);
  }
  wgr('build', 'set', '-o', 'model/hgr_olvo.xml', '--report', 'build.html');
  const model = fs.readFileSync(path.join(folder, 'model/hgr_olvo.xml'));
  digest = crypto.createHash('sha256').update(model).digest('hex');
  const before = JSON.parse(wgr('eval', 'set', '--model', 'model/hgr_olvo.xml', '--json'));
  fs.writeFileSync(path.join(folder, 'before.json'), JSON.stringify({...before, accuracy: 1}));
  evaluated = JSON.parse(wgr('eval', 'others', '--model', 'model/hgr_olvo.xml', '--json',
      '--compare', 'before.json', '--report', 'eval.html'));
  return [[path.join(folder, 'build.html'), ofBuild],
    [path.join(folder, 'eval.html'), ofEval],
    [makeFalse(folder, wgr, String(model)), ofFalse, kWays.slice(0, 2)],
    ...makeFindings(folder, wgr)];
}

testPages(kPackages, makePages);
