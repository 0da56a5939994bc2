// What is kept in the browser's storage until it is discarded, so that nothing is lost when
// the page is reloaded. Where the browser keeps nothing, everything else goes on.
'use strict';

const kStores = ['live', 'teach'];

const opened = new Promise((resolve) => {
  try {
    const request = indexedDB.open('wgr-studio', 1);
    request.onupgradeneeded = () => {
      for (const name of kStores) request.result.createObjectStore(name, {autoIncrement: true});
    };
    request.onsuccess = () => resolve(request.result);
    request.onerror = () => resolve(null);
  } catch {
    resolve(null);
  }
});

// Runs one request of a store, and promises its result once it is kept.
async function inStore(name, mode, run) {
  const database = await opened;
  if (database === null) return undefined;
  return new Promise((resolve, reject) => {
    const transaction = database.transaction(name, mode);
    const request = run(transaction.objectStore(name));
    transaction.oncomplete = () => resolve(request.result);
    transaction.onerror = () => reject(transaction.error);
    transaction.onabort = () => reject(transaction.error);
  });
}

const store = {
  add: (name, value) => inStore(name, 'readwrite', (s) => s.add(value)),
  put: (name, value, key) => inStore(name, 'readwrite', (s) => s.put(value, key)),
  get: (name, key) => inStore(name, 'readonly', (s) => s.get(key)),
  all: async (name) => await inStore(name, 'readonly', (s) => s.getAll()) ?? [],
  clear: (name) => inStore(name, 'readwrite', (s) => s.clear()),
};
