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

// Bytes that the page was given deflated, in the script element `id`.
async function unpackBytes(id) {
  const text = atob($('#' + id).textContent);
  const bytes = new Uint8Array(text.length);
  for (let i = 0; i < text.length; ++i) bytes[i] = text.charCodeAt(i);
  const plain =
      new Blob([bytes]).stream().pipeThrough(new DecompressionStream('deflate'));
  return new Uint8Array(await new Response(plain).arrayBuffer());
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

// Shows the page's data with `show`, or says why that cannot be.
async function start(show) {
  if (!('DecompressionStream' in window)) {
    $('#facts').textContent = 'This browser is too old to unpack the page: it needs one of ' +
        'May 2023 or newer. wgr prints the same as text.';
    return;
  }
  await show(await readData());
  document.documentElement.dataset.ready = performance.now().toFixed(0);  // ms
}
