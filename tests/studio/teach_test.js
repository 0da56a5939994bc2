// The studio learns gestures: a person's, synthesised, are taught, a model is built, and new
// ones of the same person are recognised while they are played to the sensors.
//   node teach_test.js BUILD WGR PACKAGES
'use strict';

const assert = require('node:assert/strict');
const {execFileSync} = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');

const {kWays, testPages} = require('../pages/browser.js');
const {VirtualSensors, rowsOf, shake} = require('./virtual_sensors.js');

const [build, wgr, packages] = process.argv.slice(2).map((name) => path.resolve(name));
const kNames = new Map([[0, 'shake'], [1, 'turn'], [3, 'circle']]);  // of synthesised classes
const kPrompted = 3;   // repetitions that are recorded with the prompt
const kTaught = 8;     // repetitions of each, of which the model is built
const kPlayed = 10;    // new ones
const kRecognised = 9; // of which so many are
const kBefore = 0.7;   // s around a gesture
const kBehind = 1.0;
const kQuiet = [0, 0, 9.81, 0, 0, 0];

// Repetitions of a class, each with rest around it, that no other gesture is near.
function repetitionsOf(folder, label) {
  const rows = rowsOf(fs.readFileSync(path.join(folder, 'p900_free.csv'), 'utf8'));
  return rowsOf(fs.readFileSync(path.join(folder, 'labels.csv'), 'utf8').replaceAll(/^[^,]+,/gm, ''))
      .filter(([, , one]) => one === label)
      .map(([begin, end]) => rows.filter(([t]) => t >= begin - kBefore && t <= end + kBehind));
}

const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'wgr-teach-'));
process.on('exit', () => fs.rmSync(folder, {recursive: true}));
execFileSync(wgr, ['synth', '--training', folder, '--person', '900', '--persons', '1',
  '--gestures', '14'], {stdio: 'ignore'});
const repetitions = new Map([...kNames.keys()].map((label) => [label, repetitionsOf(folder, label)]));

// As the studio saves it, made by tar.
function savedSet() {
  const set = path.join(folder, 'saved/gestures');
  fs.mkdirSync(set, {recursive: true});
  let index = 'file,label,subject,rate_hz\n';
  for (const [label, name] of kNames) {
    for (const [i, rows] of repetitions.get(label).slice(0, kTaught).entries()) {
      fs.writeFileSync(path.join(set, `${name}${i}.csv`), 't,ax,ay,az,gx,gy,gz\n' +
          rows.map((row) => row.join(',') + '\n').join(''));
      index += `${name}${i}.csv,${name},,50\n`;
    }
  }
  fs.writeFileSync(path.join(set, 'index.csv'), index);
  const tar = path.join(folder, 'saved.tar');
  execFileSync('tar', ['--format=ustar', '-cf', tar, '-C', path.join(folder, 'saved'),
    'gestures/index.csv', ...fs.readdirSync(set).filter((n) => n !== 'index.csv')
        .map((n) => 'gestures/' + n)]);
  return tar;
}

const csvOf = (rows) => 't,ax,ay,az,gx,gy,gz\n' + rows.map((row) => row.join(',') + '\n').join('');

async function saved(page) {
  const [file] = await Promise.all([page.waitForEvent('download'), page.click('#save-all')]);
  return file.path();
}

const checks = {
  async 'a gesture is recorded with the prompt, and each repetition judged'(page) {
    await page.click('#tab-teach');
    page.sensors = await VirtualSensors.on(page);
    await page.fill('#name', 'circle');
    await page.keyboard.press('Enter');
    await page.click('.gesture .primary');
    for (let i = 0; i < kPrompted; ++i) {
      await page.waitForSelector('#prompt[data-state=now]', {timeout: 20_000});
      await page.sensors.play(repetitions.get(3)[i]);
      await page.sensors.set(kQuiet);
      await page.waitForFunction((n) => document.querySelectorAll('.repetitions li').length > n, i,
          {timeout: 20_000});
    }
    assert.match(await page.textContent('#prompt-said'), /^Good/);
    await page.click('#prompt-stop');
    assert.match(await page.textContent('#missing'), /Add a second gesture/);
  },

  async 'what is taught outlives a reload, and is dropped one by one'(page) {
    await page.reload();
    await page.waitForSelector('html[data-ready]');
    await page.click('#tab-teach');
    await page.waitForFunction((n) => document.querySelectorAll('.repetitions li').length === n,
        kPrompted);
    await page.click('[aria-label="Drop circle 1"]');
    await page.waitForFunction((n) => document.querySelectorAll('.repetitions li').length === n,
        kPrompted - 1);
  },

  async 'a repetition is played back, and given to another gesture'(page) {
    await page.click('[aria-label="Play circle 1"]');
    await page.waitForSelector('.spark .cursor', {state: 'attached'});
    await page.waitForSelector('.spark .cursor', {state: 'detached', timeout: 20_000});
    await page.fill('#name', 'turn');
    await page.keyboard.press('Enter');
    await page.locator('.gesture h3', {hasText: 'turn 0 of 8'}).waitFor();
    await page.selectOption('[aria-label="What circle 1 is"]', 'turn');
    await page.locator('.gesture h3', {hasText: 'turn 1 of 8'}).waitFor();
    await page.locator('.gesture h3', {hasText: `circle ${kPrompted - 2} of 8`}).waitFor();
  },

  async 'what is wrong with a repetition is said'(page) {
    const verdict = await page.evaluate(async ([short, restless]) => {
      const judge = async (csv) => (await engine.ask({do: 'judge', folder: 'judged', file: '1.csv'},
          {'judged/1.csv': csv, 'judged/index.csv': 'file,label,subject,rate_hz\n1.csv,a,,50\n'},
          [], ['judged'])).answer;
      return [await judge(short), await judge(restless)];
    }, [csvOf(shake(0.12)), csvOf(shake(2.0).filter(([t]) => t >= 1.1 && t < 2.9))]);
    assert.match(verdict[0].said, /^too short: 0\.\d\d s of 0\.50 s$/);
    assert.match(verdict[1].said, /^no rest around it/);
    assert.ok(verdict.every(({good}) => !good));
  },

  async 'what resembles another gesture is marked'(page) {
    const files = {};
    let index = 'file,label,subject,rate_hz\n';
    for (const [label, count] of [[0, 5], [3, 5]]) {
      for (let i = 0; i < count; ++i) {
        files[`judged/${label}${i}.csv`] = csvOf(repetitions.get(label)[i]);
        index += `${label}${i}.csv,${kNames.get(label)},,50\n`;
      }
    }
    // A shake that is called a circle.
    files['judged/odd.csv'] = csvOf(repetitions.get(0)[6]);
    files['judged/index.csv'] = index + 'odd.csv,circle,,50\n';
    const said = await page.evaluate(async (set) => (await engine.ask(
        {do: 'judge', folder: 'judged', file: 'odd.csv'}, set, [], ['judged'])).answer, files);
    assert.deepEqual(said, {good: true, said: 'more like shake than like the others of its kind'});
  },

  async 'what was saved goes on another day'(page) {
    await page.setInputFiles('#open-saved', savedSet());
    await page.waitForFunction((n) => document.querySelectorAll('.repetitions li').length === n,
        kNames.size * kTaught);
    assert.equal(await page.textContent('#missing'), '');
  },

  async 'a model is built, and wgr reads it'(page) {
    await page.click('#build');
    await page.waitForSelector('#built:not([hidden])', {timeout: 60_000});
    const [, right, all] = /^(\d+) of (\d+) repetitions/.exec(await page.textContent('#built-said'));
    assert.equal(Number(all), kNames.size * kTaught);
    assert.ok(Number(right) >= 0.8 * Number(all), `${right}`);
    await page.frameLocator('#model-page').locator('html[data-ready]').waitFor({timeout: 20_000});
    execFileSync('tar', ['-xf', await saved(page), '-C', folder]);
    const shown = execFileSync(wgr, ['model', 'check', path.join(folder, 'my-gestures.xml')],
        {encoding: 'utf8'});
    assert.doesNotMatch(shown, /never/);
    // The tool builds the very same model from what was saved.
    execFileSync(wgr, ['build', path.join(folder, 'gestures'), '-o', path.join(folder, 'tool.xml')],
        {stdio: 'ignore'});
    assert.equal(fs.readFileSync(path.join(folder, 'my-gestures.xml'), 'utf8'),
        fs.readFileSync(path.join(folder, 'tool.xml'), 'utf8'));
  },

  async 'new ones are recognised live'(page) {
    await page.click('#try');
    await page.waitForSelector('#sensing:not([hidden])');
    await page.sensors.set(kQuiet);
    await page.waitForTimeout(500);
    let right = 0;
    for (let i = 0; i < kPlayed; ++i) {
      const [label, name] = [...kNames][i % kNames.size];
      await page.evaluate(() => document.querySelector('#heard').replaceChildren());
      await page.sensors.play(repetitions.get(label)[kTaught + Math.floor(i / kNames.size)]);
      await page.waitForTimeout(200);
      right += (await page.textContent('#heard')).startsWith(name) ? 1 : 0;
    }
    assert.ok(right >= kRecognised, `${right} of ${kPlayed}`);
    await page.click('#stop');
    await page.click('#tab-teach');
  },
};

testPages(packages, () => [[path.join(build, 'studio.html'), checks, [kWays[2]]]]);
