// What is kept in the browser's storage until it is discarded, so that nothing is lost when
// the page is reloaded. Where the browser keeps nothing, it lives as long as the page.
'use strict';

const kStores = ['live', 'teach', 'everyday'];
const kChunk = 10;  // samples that are written at once: what a reload may lose
/** @type {Record<string, Map<any, any>>} */
const unkept = Object.fromEntries(kStores.map((name) => [name, new Map()]));

const opened = new Promise((resolve) => {
  try {
    const request = indexedDB.open('wgr-studio', 2);
    request.onupgradeneeded = () => {
      for (const name of kStores) {
        if (request.result.objectStoreNames.contains(name)) continue;
        request.result.createObjectStore(name, {autoIncrement: true});
      }
    };
    request.onsuccess = () => resolve(request.result);
    request.onerror = request.onblocked = () => resolve(null);
  } catch {
    resolve(null);
  }
});

// Runs one request of a store, and promises its result once it is kept; `instead` does the
// same to the Map where the browser keeps nothing.
async function inStore(name, mode, run, instead) {
  const database = await opened;
  if (database === null) return instead(unkept[name]);
  return new Promise((resolve, reject) => {
    const transaction = database.transaction(name, mode);
    const request = run(transaction.objectStore(name));
    transaction.oncomplete = () => resolve(request.result);
    transaction.onerror = () => reject(transaction.error);
    transaction.onabort = () => reject(transaction.error);
  });
}

/** @type {typeof inStore} */
async function write(name, mode, run, instead) {
  return inStore(name, mode, run, instead).catch(() => showTrouble('The browser\'s storage ' +
      'takes no more: a reload would lose what comes now. Download what you have.'));
}

const store = {
  add: (name, value) => write(name, 'readwrite', (s) => s.add(value),
      (m) => m.set(m.size, value)),
  put: (name, value, key) => write(name, 'readwrite', (s) => s.put(value, key),
      (m) => m.set(key, value)),
  get: (name, key) => inStore(name, 'readonly', (s) => s.get(key), (m) => m.get(key)),
  all: (name) => inStore(name, 'readonly', (s) => s.getAll(), (m) => [...m.values()]),
  clear: (name) => inStore(name, 'readwrite', (s) => s.clear(), (m) => m.clear()),
};

// A recording that is written while it is made: what a reload meets is kept.
class KeptRecording {
  /** @param {string} name of its store */
  constructor(name) {
    this.name = name;
    this.begin();
  }

  begin() {
    this.count = 0;
    /** @type {number | null} */
    this.first = null;
    /** @type {string[]} */
    this.lines = [];
  }

  // Takes a sample of the stream; true when others were written with it.
  /** @param {Float64Array} row */
  add(row) {
    this.first ??= row[0];
    this.lines.push(lineOf(row, this.first));
    this.count += 1;
    if (this.count % kChunk !== 0) return false;
    this.flush();
    return true;
  }

  async flush() {
    const lines = this.lines.splice(0);
    if (lines.length > 0) await store.add(this.name, lines.join(''));
  }

  // What is kept, as lines behind the header.
  async text() {
    return (await store.all(this.name)).join('');
  }

  clear() {
    return store.clear(this.name);
  }
}
