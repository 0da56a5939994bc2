// The library in WebAssembly, under node: does it compute what the tool does?
//   node engine_test.js BUILD WGR
// BUILD is the folder of the studio, WGR the tool.
'use strict';

const assert = require('node:assert/strict');
const {execFileSync} = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');

const kRoot = path.join(__dirname, '../..');
const kNear = 1e-12;  // of the larger of both, and absolutely
// Recordings of others, where they are at hand.
const kElsewhere = path.join(kRoot, '../shared/data');
const kRequests = [
  {wearer: 0, mode: 1, sensitivity: 3, expect: 'demo.labels.csv'},
  {wearer: 0, mode: 1},
  {wearer: 1, mode: 2, sensitivity: 1},
];

const [build, wgr] = process.argv.slice(2).map((name) => path.resolve(name));

async function load() {
  const wasmBinary = fs.readFileSync(path.join(build, 'studio.wasm'));
  const library = await require(path.join(build, 'studio.js'))({wasmBinary, print: () => {}});
  library.FS.mkdirTree('/studio');
  library.FS.chdir('/studio');
  const ask = (request) => {
    const {answer, error} = JSON.parse(library.ccall('studio_request', 'string', ['string'],
        [JSON.stringify(request)]));
    assert.equal(error, undefined);
    return answer;
  };
  return {library, ask};
}

// The tool's and the page's inputs are the same files, at the same relative paths.
function copyInputs(FS, folder) {
  const files = ['demo.csv', 'demo.labels.csv'].map((name) => [`recordings/${name}`, name]);
  for (const name of fs.readdirSync(path.join(kRoot, 'models'))) {
    files.push([`models/${name}/hgr_olvo.xml`, `models/${name}/hgr_olvo.xml`]);
  }
  for (const [from, to] of files) {
    const bytes = fs.readFileSync(path.join(kRoot, from));
    fs.mkdirSync(path.dirname(path.join(folder, to)), {recursive: true});
    fs.writeFileSync(path.join(folder, to), bytes);
    FS.mkdirTree('/studio/' + path.dirname(to));
    FS.writeFile('/studio/' + to, bytes);
  }
}

// Words and whole numbers are the same, others near; counts the numbers.
function compare(page, tool, where = '') {
  if (typeof page === 'number' && typeof tool === 'number') {
    const off = Math.abs(page - tool);
    assert.ok(off <= kNear * Math.max(1, Math.abs(tool)), `${where}: ${page}, ${tool}`);
    return 1;
  }
  if (page === null || typeof page !== 'object') {
    assert.equal(page, tool, where);
    return 0;
  }
  assert.deepEqual(Object.keys(page), Object.keys(tool ?? {}), where);
  return Object.keys(page).reduce(
      (sum, key) => sum + compare(page[key], tool[key], `${where}.${key}`), 0);
}

function toolExplains(folder, {expect, ...settings}, recording = 'demo.csv') {
  const options = Object.entries(settings).map(([name, value]) => `--${name}=${value}`);
  if (expect) options.push('--expect', expect);
  return JSON.parse(execFileSync(wgr,
      ['explain', '--models', 'models', ...options, '--json', recording],
      {cwd: folder, stdio: ['ignore', 'pipe', 'ignore'], maxBuffer: 1 << 28}));
}

function pageExplains({library, ask}, request) {
  ask({do: 'explain', json: 'explained.json', ...request});
  return JSON.parse(library.FS.readFile('/studio/explained.json', {encoding: 'utf8'}));
}

// Explains all files by both, and counts what was compared.
function compareAll({library, ask}, folder, files) {
  const counts = {recordings: 0, motions: 0, numbers: 0};
  for (const file of files) {
    const name = path.basename(file);
    const bytes = fs.readFileSync(file);
    fs.writeFileSync(path.join(folder, name), bytes);
    library.FS.writeFile('/studio/' + name, bytes);
    const page = pageExplains({library, ask}, {recording: name});
    counts.numbers += compare(page, toolExplains(folder, {}, name), file);
    counts.motions += page.motions.length;
    counts.recordings += 1;
    library.FS.unlink('/studio/' + name);
    fs.unlinkSync(path.join(folder, name));
  }
  console.log(`        ${counts.recordings} recordings, ${counts.motions} motions, ` +
      `${counts.numbers} numbers are the same`);
  return counts;
}

const filesBelow = (folder, ending) => fs.readdirSync(folder, {recursive: true}).sort()
    .filter((name) => name.endsWith(ending)).map((name) => path.join(folder, name));

const skips = [];
function skipped(why) {
  skips.push(why);
}

const checks = {
  'the golden streams give what is recorded'({ask}) {
    const {streams, differing, recognitions} = ask({do: 'selfcheck'});
    assert.deepEqual([streams, differing], [210, 0]);
    assert.ok(recognitions > 100, `${recognitions}`);
  },

  'an explanation is that of the tool'({library, ask}, folder) {
    copyInputs(library.FS, folder);
    for (const request of kRequests) {
      const numbers = compare(
          pageExplains({library, ask}, {recording: 'demo.csv', page: 'demo.html', ...request}),
          toolExplains(folder, request));
      assert.ok(numbers > 500, `${numbers} numbers`);
      const page = library.FS.readFile('/studio/demo.html', {encoding: 'utf8'});
      assert.match(page, /^<!DOCTYPE html>[^]*<\/html>\n$/);
    }
  },

  'a synthesised person is explained as the tool does'(loaded, folder) {
    const set = path.join(folder, 'synthesised');
    execFileSync(wgr, ['synth', '--training', set, '--person', '900', '--persons', '1'],
        {stdio: 'ignore'});
    const counts = compareAll(loaded, folder,
        filesBelow(set, '.csv').filter((name) => /p900/.test(name)));
    assert.ok(counts.motions > 10, `${counts.motions}`);
  },

  'recordings from elsewhere are explained as the tool does'(loaded, folder) {
    if (!fs.existsSync(kElsewhere)) return skipped('../shared/data is not at hand');
    const counts = compareAll(loaded, folder, filesBelow(kElsewhere, '.csv.gz'));
    assert.ok(counts.motions > 100, `${counts.motions}`);
  },

  'what is wrong with a recording is said'({library, ask}) {
    library.FS.writeFile('/studio/broken.csv', 't,ax,ay,az,gx,gy,gz\n0,1,2,3,4,5,six\n1,1');
    const {malformed} = ask({do: 'explain', recording: 'broken.csv'});
    assert.match(malformed, /broken\.csv:2: gz is not a number: "six"/);
    const {error} = JSON.parse(library.ccall('studio_request', 'string', ['string'],
        [JSON.stringify({do: 'explain', recording: 'missing.csv'})]));
    assert.match(error, /missing\.csv: cannot be opened/);
  },
};

async function main() {
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'wgr-studio-'));
  let failures = 0;
  try {
    const loaded = await load();
    for (const [name, check] of Object.entries(checks)) {
      try {
        check(loaded, folder);
        console.log(`ok      ${name}`);
      } catch (error) {
        failures += 1;
        console.log(`FAILED  ${name}: ${error.message}`);
      }
    }
  } finally {
    fs.rmSync(folder, {recursive: true});
  }
  for (const why of skips) console.log(`skipped: ${why}`);
  process.exit(failures === 0 ? 0 : 1);
}
main();
