// The library in its worker: `ask` sends a request, and promises the answer.
'use strict';

// What the page carries, packed: see pack_studio.js.
let payload = null;
async function unpackPayload() {
  if (!('DecompressionStream' in window)) {
    throw new Error('This browser is too old: the page needs one of May 2023 or newer.');
  }
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

/**
 * What the worker makes of a sample: flags and the samples of the steady stream, 7 numbers
 * each; a motion where the sample ended one.
 * @typedef {{flags: number, made: Float64Array, motion: any, asked: number}} Streamed
 */

class Engine {
  constructor() {
    /** @type {(stream: Streamed) => void} */
    this.onstream = () => {};
    /** @type {Map<number, {resolve: (result: any) => void, reject: (why: Error) => void}>} */
    this.asked = new Map();
    this.newest = 0;
    this.ready = this.load();
  }

  async load() {
    const {'studio.wasm': wasm, 'worker.js': script, ...files} = await (payload ??= unpackPayload());
    if (this.stopped) throw new Error('stopped');
    const url = URL.createObjectURL(new Blob([script], {type: 'text/javascript'}));
    this.worker = new Worker(url);
    this.worker.onmessage = ({data: {id, ...answer}}) => {
      if (id === undefined) return this.onstream(answer);
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
    this.version = (await this.send({action: 'load', wasm, files})).version;
    URL.revokeObjectURL(url);
  }

  // Ends it, whatever it computes; what was asked is rejected.
  stop() {
    this.stopped = true;
    this.worker?.terminate();
    for (const {reject} of this.asked.values()) reject(new Error('stopped'));
    this.asked.clear();
  }

  /** @param {object} message  @param {Transferable[]} moved  @returns {Promise<any>} */
  send(message, moved = []) {
    const id = ++this.newest;
    return new Promise((resolve, reject) => {
      this.asked.set(id, {resolve, reject});
      this.worker.postMessage({id, ...message}, moved);
    });
  }

  // A sample of the sensors, answered by `onstream`.
  /** @param {Float64Array} sample  @param {number} asked ms */
  stream(sample, asked) {
    this.worker.postMessage({action: 'sense', sample, asked});
  }

  // {answer, made, notes}; throws an Error whose message is for people.
  // Writes `files` first, into folders that are cleared; `wanted` are read afterwards.
  /**
   * @param {{do: string, [field: string]: any}} request  @param {Record<string, Bytes | string>} files
   * @param {string[]} wanted  @param {string[]} cleared
   */
  async ask(request, files = {}, wanted = [], cleared = []) {
    await this.ready;
    return this.send({action: 'request', request, files, wanted, cleared});
  }
}

/** @param {string} text */
function showTrouble(text) {
  $('#trouble').hidden = text === '';
  $('#trouble').textContent = text;
  if (text !== '') $('#trouble').scrollIntoView({block: 'nearest'});
}

// Hands bytes or a text to the browser as a file to keep.
/** @param {string} name  @param {BlobPart} content  @param {string} type */
function download(name, content, type) {
  const url = URL.createObjectURL(new Blob([content], {type}));
  el('a', {href: url, download: name}).click();
  setTimeout(() => URL.revokeObjectURL(url), 10_000);
}

/** @param {number} ms */
const pause = (ms) => new Promise((done) => setTimeout(done, ms));
/** @param {string} selector  @returns {NodeListOf<HTMLElement>} */
const $$ = (selector) => document.querySelectorAll(selector);

// What the page itself asks; what takes long is asked of others.
const engine = new Engine();
