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

// What the page was given: deflated JSON. Series are whole numbers in units of `unit`,
// each but the first the difference to the one before.
async function readData() {
  const bytes = Uint8Array.from(atob($('#data').textContent), (c) => c.charCodeAt(0));
  const plain =
      new Blob([bytes]).stream().pipeThrough(new DecompressionStream('deflate'));
  return JSON.parse(await new Response(plain).text());
}
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
  show(await readData());
  document.documentElement.dataset.ready = 'yes';
}
