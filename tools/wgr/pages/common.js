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
