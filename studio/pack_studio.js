// Puts the page together as one HTML file that needs no network:
//   node pack_studio.js SOURCE WASM_SCRIPT WASM OUT
// SOURCE is the project's folder. The WebAssembly, its worker, the models and the demo are
// packed by zopfli and stand in the page in base64.
'use strict';

const {execFileSync} = require('node:child_process');
const fs = require('node:fs');
const path = require('node:path');
const zlib = require('node:zlib');

const kScripts = ['store.js', 'engine.js', 'import.js', 'explain.js', 'sensors.js', 'live.js', 'tar.js',
  'teach.js', 'about.js', 'main.js'];
const kPanels = ['live.html', 'teach.html'];

const [source, wasmScript, wasm, out] = process.argv.slice(2);
const page = (name) => fs.readFileSync(path.join(source, 'studio/page', name), 'utf8');
const shared = (name) => fs.readFileSync(path.join(source, 'tools/wgr/pages', name), 'utf8');

// Without comments and indentation, which are for those who read the sources.
const bare = (text) => text.replace(/^ *\/\*\*[^]*?\*\/\n/gm, '').replace(/^ *\/\/.*\n/gm, '')
    .replace(/^ +/gm, '');

// The index as JSON behind its length, then the files one behind the other.
function archive(files) {
  const index = Buffer.from(JSON.stringify(
      Object.entries(files).map(([name, bytes]) => ({name, size: bytes.length}))));
  const length = Buffer.alloc(4);
  length.writeUInt32LE(index.length);
  return Buffer.concat([length, index, ...Object.values(files)]);
}

// With gzip, by zopfli, which takes seconds and makes a twentieth less of it.
function packed(bytes) {
  const name = out + '.payload';
  fs.writeFileSync(name, bytes);
  execFileSync('zopfli', ['--i5', name]);
  const made = fs.readFileSync(name + '.gz');
  fs.rmSync(name);
  fs.rmSync(name + '.gz');
  return made;
}

function payload() {
  const files = {
    'studio.wasm': fs.readFileSync(wasm),
    'worker.js': Buffer.from(fs.readFileSync(wasmScript, 'utf8') + '\n' + bare(page('worker.js'))),
  };
  for (const name of ['demo.csv', 'demo.labels.csv']) {
    files[name] = fs.readFileSync(path.join(source, 'recordings', name));
  }
  for (const name of fs.readdirSync(path.join(source, 'models')).sort()) {
    const model = path.join('models', name, 'hgr_olvo.xml');
    files[model] = fs.readFileSync(path.join(source, model));
  }
  return packed(archive(files)).toString('base64');
}

const inElements = (name, texts) => texts.map((text) => `<${name}>${text}</${name}>\n`).join('');
const parts = {
  styles: inElements('style', [shared('common.css'), page('studio.css')].map(bare)),
  panels: kPanels.map(page).join(''),
  payload: `<script type="application/octet-stream" id="payload">${payload()}</script>\n`,
  scripts: inElements('script', [shared('common.js'), ...kScripts.map(page)].map(bare)),
};
const html = page('studio.html').replace(/@@(\w+)@@/g, (_, name) => parts[name]);
fs.writeFileSync(out, html);
const size = zlib.gzipSync(html, {level: 9}).length;
console.log(`${out}: ${Math.ceil(size / 1000)} kB with gzip`);
