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

function toolExplains(folder, {expect, ...settings}) {
  const options = Object.entries(settings).map(([name, value]) => `--${name}=${value}`);
  if (expect) options.push('--expect', expect);
  return execFileSync(wgr, ['explain', '--models', 'models', ...options, '--json', 'demo.csv'],
      {cwd: folder, stdio: ['ignore', 'pipe', 'ignore'], maxBuffer: 1 << 28});
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
      ask({do: 'explain', recording: 'demo.csv', json: 'demo.json', page: 'demo.html', ...request});
      const text = library.FS.readFile('/studio/demo.json', {encoding: 'utf8'});
      const numbers = compare(JSON.parse(text), JSON.parse(toolExplains(folder, request)));
      assert.ok(numbers > 500, `${numbers} numbers`);
      const page = library.FS.readFile('/studio/demo.html', {encoding: 'utf8'});
      assert.match(page, /^<!DOCTYPE html>[^]*<\/html>\n$/);
    }
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
  process.exit(failures === 0 ? 0 : 1);
}
main();
