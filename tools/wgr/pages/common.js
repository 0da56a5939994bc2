// What the scripts of all pages share: elements, and the page's data.
'use strict';

const kAxes = ['x', 'y', 'z'];

const el = (name, attributes = {}, ...children) => {
  const node = document.createElement(name);
  for (const [key, value] of Object.entries(attributes)) node.setAttribute(key, value);
  node.append(...children);
  return node;
};
const svg = (name, attributes = {}, ...children) => {
  const node = document.createElementNS('http://www.w3.org/2000/svg', name);
  for (const [key, value] of Object.entries(attributes)) node.setAttribute(key, value);
  node.append(...children);
  return node;
};
const $ = (selector) => document.querySelector(selector);
const seconds = (t) => t.toFixed(3) + ' s';

// A first stamp that is larger, s, is no time since a start.
const kEpoch = 1e6;
const dateText = (stamp) =>
  new Date(stamp * 1000).toISOString().replace('T', ' ').slice(0, 19) + ' UTC';

// How the page was made, and `more`, in its footer.
function showOrigin(origin, more = recordedText(origin)) {
  const parts = [origin.version, origin.command, origin.model_sha256 &&
    `model ${origin.model_sha256.slice(0, 16)}… (SHA-256)`, ...more];
  $('#origin').replaceChildren(...parts.flatMap((part, i) =>
    part ? [el(i === 1 ? 'code' : 'span', {}, part)] : []));
}

// When the recordings were made, if their stamps say so.
function recordedText({first_stamp: first, last_stamp: last}) {
  if (first === null || last === null) return [];
  return [first < kEpoch ? 'the stamps of what was recorded hold no date'
      : `recorded ${dateText(first)}` + (last > first ? ` to ${dateText(last)}` : '')];
}

function bytesOf(base64) {
  const native = /** @type {any} */ (Uint8Array).fromBase64;  // in browsers of 2025 and later
  if (native) return native.call(Uint8Array, base64);
  const text = atob(base64);
  const bytes = new Uint8Array(text.length);
  for (let i = 0; i < text.length; ++i) bytes[i] = text.charCodeAt(i);
  return bytes;
}

// Bytes that the page was given deflated, in the script element `id`.
let unpackedBytes = 0;
async function unpackBytes(id) {
  const packed = bytesOf($('#' + id).textContent);
  const plain =
      new Blob([packed]).stream().pipeThrough(new DecompressionStream('deflate'));
  const bytes = new Uint8Array(await new Response(plain).arrayBuffer());
  unpackedBytes += bytes.length;
  return bytes;
}
async function readData() {
  return JSON.parse(new TextDecoder().decode(await unpackBytes('data')));
}
// Series are whole numbers in units of `unit`, each but the first the difference to the
// one before.
function unpack(series) {
  const steps = series.d === '' ? [] : series.d.split(' ');
  const values = new Float64Array(steps.length);
  let sum = 0;
  for (let i = 0; i < values.length; ++i) values[i] = (sum += Number(steps[i])) * series.unit;
  return values;
}

// Shows the page's data with `show`, or says why that cannot be. What `show` returns is
// done once the page is there to be used.
async function start(show) {
  if (!('DecompressionStream' in window)) {
    $('#facts').textContent = 'This browser is too old to unpack the page: it needs one of ' +
        'May 2023 or newer. wgr prints the same as text.';
    return;
  }
  const later = await show(await readData());
  const {dataset} = document.documentElement;
  dataset.unpacked = String(unpackedBytes);
  dataset.ready = performance.now().toFixed(0);  // ms
  if (later) {
    await new Promise((painted) => setTimeout(painted));
    await later();
  }
  dataset.complete = performance.now().toFixed(0);
}
