// The library's side of the page: answers what the page asks, in the order in which it
// asks. Comes behind the script that loads the WebAssembly, in one worker.
'use strict';

const kFolder = '/studio';
const kCount = 0xffff;
const kEnded = 1 << 17;

let library = null;
let notes = [];

const readFile = (name) => library.FS.readFile(`${kFolder}/${name}`);

function writeFiles(files) {
  for (const [name, bytes] of Object.entries(files ?? {})) {
    const folder = `${kFolder}/${name}`.replace(/\/[^/]*$/, '');
    library.FS.mkdirTree(folder);
    library.FS.writeFile(`${kFolder}/${name}`, bytes);
  }
}

function clear(folder) {
  if (!library.FS.analyzePath(folder).exists) return;
  for (const name of library.FS.readdir(folder)) {
    if (!name.startsWith('.')) library.FS.unlink(`${folder}/${name}`);
  }
}

function ask(request) {
  const text = library.ccall('studio_request', 'string', ['string'], [JSON.stringify(request)]);
  const {answer, error} = JSON.parse(text);
  if (error !== undefined) throw new Error(error);
  return answer;
}

const actions = {
  async load({wasm, files}) {
    library = await loadStudio({
      wasmBinary: wasm, print: () => {},
      printErr: (line) => notes.push(line.replace(/^wgr: /, '')),
    });
    writeFiles(files);
    library.FS.chdir(kFolder);
    return {version: ask({do: 'version'})};
  },
  // Writes files, asks, and answers with files that were made.
  request({files, request, wanted, cleared}) {
    for (const folder of cleared ?? []) clear(`${kFolder}/${folder}`);
    writeFiles(files);
    const answer = ask(request);
    const made = {};
    for (const name of wanted ?? []) made[name] = readFile(name);
    return {answer, made};
  },
};

// What the library makes of a sample of the sensors, without delay.
function sense({sample, asked}) {
  const flags = library._studio_sense(...sample);
  const at = library._studio_made() / Float64Array.BYTES_PER_ELEMENT;
  const made = library.HEAPF64.slice(at, at + 7 * (flags & kCount));
  const motion = flags & kEnded ? ask({do: 'motion'}) : null;
  postMessage({flags, made, motion, asked});
}

/** @param {{data: {id: number, action: string, [field: string]: any}}} event */
async function handle({data: {id, action, ...rest}}) {
  if (action === 'sense') return sense(/** @type {any} */ (rest));
  notes = [];
  try {
    const result = await actions[action](rest);
    postMessage({id, result, notes});
  } catch (error) {
    postMessage({id, error: error.message ?? String(error), notes});
  }
}
if (typeof self !== 'undefined') self.onmessage = handle;
