// The library in its worker: `ask` sends a request, and promises the answer.
'use strict';

// What the page carries, packed: see pack_studio.js.
async function unpackPayload() {
  const text = atob($('#payload').textContent);
  const bytes = new Uint8Array(text.length);
  for (let i = 0; i < text.length; ++i) bytes[i] = text.charCodeAt(i);
  const plain = new Uint8Array(await new Response(
      new Blob([bytes]).stream().pipeThrough(new DecompressionStream('gzip'))).arrayBuffer());
  const indexSize = new DataView(plain.buffer).getUint32(0, true);
  const index = JSON.parse(new TextDecoder().decode(plain.subarray(4, 4 + indexSize)));
  const files = {};
  let at = 4 + indexSize;
  for (const {name, size} of index) {
    files[name] = plain.slice(at, at + size);
    at += size;
  }
  return files;
}

class Engine {
  constructor() {
    this.asked = new Map();
    this.newest = 0;
    this.ready = this.load();
  }

  async load() {
    if (!('DecompressionStream' in window)) {
      throw new Error('This browser is too old: the page needs one of May 2023 or newer.');
    }
    const {'studio.wasm': wasm, 'worker.js': script, ...files} = await unpackPayload();
    const url = URL.createObjectURL(new Blob([script], {type: 'text/javascript'}));
    this.worker = new Worker(url);
    this.worker.onmessage = ({data: {id, ...answer}}) => {
      if (id === undefined) return this.onstream?.(answer);
      const {resolve, reject} = this.asked.get(id);
      this.asked.delete(id);
      if (answer.error !== undefined) {
        reject(Object.assign(new Error(answer.error), {notes: answer.notes}));
      } else {
        resolve({...answer.result, notes: answer.notes});
      }
    };
    this.worker.onerror = (event) => {
      event.preventDefault();
      showTrouble(`The library stopped: ${event.message}. Reload the page.`);
    };
    this.demo = {recording: files['demo.csv'], expected: files['demo.labels.csv']};
    await this.send({action: 'load', wasm, files}, [wasm.buffer]);
    URL.revokeObjectURL(url);
  }

  send(message, moved = []) {
    const id = ++this.newest;
    return new Promise((resolve, reject) => {
      this.asked.set(id, {resolve, reject});
      this.worker.postMessage({id, ...message}, moved);
    });
  }

  // A sample of the sensors, answered by `onstream`.
  stream(sample, asked) {
    this.worker.postMessage({action: 'sense', sample, asked});
  }

  // {answer, made, notes}; throws an Error whose message is for people.
  // Writes `files` first, into folders that are cleared; `wanted` are read afterwards.
  async ask(request, files = {}, wanted = [], cleared = []) {
    await this.ready;
    return this.send({action: 'request', request, files, wanted, cleared});
  }
}

function showTrouble(text) {
  $('#trouble').hidden = text === '';
  $('#trouble').textContent = text;
  if (text !== '') $('#trouble').scrollIntoView({block: 'nearest'});
}

// Hands bytes or a text to the browser as a file to keep.
function download(name, content, type) {
  const url = URL.createObjectURL(new Blob([content], {type}));
  el('a', {href: url, download: name}).click();
  setTimeout(() => URL.revokeObjectURL(url), 10_000);
}

const engine = new Engine();
