// Explains a recording that is dropped, with the very page of wgr explain, and again
// whenever a switch is set.
'use strict';

const kBeforeTrying = 400;  // ms in which another switch may be set
const kRestWindows = [5, 6, 8, 10, 12, 15, 20];  // samples
const kExpectedHeaders = ['t_start,t_end,label', 'file,t_start,t_end,label'];

const isTable = (first) => kExpectedHeaders.includes(first);
const isModel = (name) => name.endsWith('.xml');
const isCapture = (name) => name.endsWith('.wgrcap');
const isGzip = (bytes) => bytes[0] === 0x1f && bytes[1] === 0x8b;
const kRecordingHeader = 't,ax,ay,az,gx,gy,gz';

// The first line of a file, plain or gzip.
/** @param {Bytes} bytes */
async function firstLine(bytes) {
  let text = bytes.subarray(0, 200);
  if (isGzip(bytes)) {
    const reader = new Blob([bytes]).stream().pipeThrough(new DecompressionStream('gzip'))
        .getReader();
    text = await reader.read().then(({value}) => value, () => undefined) ?? text;
    reader.cancel().catch(() => {});
  }
  return new TextDecoder().decode(text.subarray(0, 200)).split(/\r?\n/)[0].replace(/^\uFEFF/, '');
}

/**
 * What is explained.
 * @typedef {{name: string, recording: Bytes, expected?: Bytes,
 *     model?: Bytes}} Given
 */

class Explain {
  constructor() {
    this.run = 0;      // the newest request
    this.importer = new Import();
    /** @type {Engine | null} */
    this.trier = null;  // what tries what would have helped, in a worker of its own
    /** @type {Given | null} */
    this.given = null;
    $('#rest-window').append(...kRestWindows.map((n) => el('option', {value: n}, `${n} samples`)));
    $('#demo').addEventListener('click', () => this.showDemo());
    $('#file').addEventListener('change', (event) => {
      this.take([...event.target.files]);
      event.target.value = '';
    });
    $('#another').addEventListener('click', () => this.close());
    for (const id of ['wearer', 'mode', 'sensitivity', 'rest-window']) {
      $('#' + id).addEventListener('change', () => this.explain());
    }
    $('#save-report').addEventListener('click', () =>
      download(this.given.name.replace(/\.csv(\.gz)?$/, '') + '.html', this.report, 'text/html'));
    $('#save-recording').addEventListener('click', () =>
      download(this.given.name, this.given.recording, 'text/csv'));
    addEventListener('dragover', (event) => {
      event.preventDefault();
      document.body.classList.add('over');
    });
    addEventListener('dragleave', (event) => {
      if (event.relatedTarget === null) document.body.classList.remove('over');
    });
    addEventListener('drop', (event) => {
      event.preventDefault();
      document.body.classList.remove('over');
      if (event.dataTransfer.files.length > 0) {
        showTab('explain');
        this.take([...event.dataTransfer.files]);
      }
    });
  }

  async showDemo() {
    await engine.ready;
    this.show({name: 'demo.csv', recording: engine.demo.recording,
      expected: engine.demo.expected});
  }

  // Files of any of the three kinds; a model or a table alone goes with what is shown.
  /** @param {File[]} files */
  async take(files) {
    showTrouble('');
    /** @type {any} */
    const given = {...this.given, expected: undefined};
    /** @type {Record<string, Bytes>} */
    const log = {};
    let recordings = 0;
    for (const file of files) {
      const bytes = new Uint8Array(await file.arrayBuffer());
      const first = await firstLine(bytes);
      if (isModel(file.name)) {
        given.model = bytes;
      } else if (isTable(first)) {
        given.expected = bytes;
      } else if (first === kRecordingHeader || isCapture(file.name)) {
        recordings += 1;
        given.name = file.name;
        given.recording = bytes;
      } else {
        log[file.name] = bytes;
      }
    }
    const logs = Object.keys(log);
    if (recordings + Math.min(1, logs.length) > 1) {
      return showTrouble('Drop one recording at a time.');
    }
    if (logs.length > 0) {
      await engine.ready;
      given.recording = await this.importer.ask(log);
      if (given.recording === null) return undefined;
      given.name = logs[0].replace(/\.\w+$/, '') + '.imported.csv';
    }
    if (given.recording === undefined) {
      return showTrouble('Drop a recording with it: there is nothing to explain in a model or a table alone.');
    }
    return this.show(given);
  }

  /** @param {Given} given */
  show(given) {
    this.given = given;
    const own = $('#mode option[value=own]');
    if (given.model && !own) {
      $('#mode').append(el('option', {value: 'own'}, 'your model'));
      $('#mode').value = 'own';
    } else if (!given.model && own) {
      own.remove();
      $('#mode').value = '1';
    }
    return this.explain();
  }

  request() {
    const name = this.given.name.replaceAll('/', '_');
    const files = {[name]: this.given.recording};
    const request = {do: 'explain', recording: name, wearer: Number($('#wearer').value),
      page: 'explained.html'};
    if ($('#mode').value === 'own') {
      files['own-model.xml'] = this.given.model;
      request.model = 'own-model.xml';
    } else {
      request.mode = Number($('#mode').value);
    }
    if ($('#sensitivity').value !== '') request.sensitivity = Number($('#sensitivity').value);
    if ($('#rest-window').value !== '') request.restWindow = Number($('#rest-window').value);
    if (this.given.expected) {
      request.expect = name.replace(/\.csv(\.gz)?$/, '') + '.labels.csv';
      files[request.expect] = this.given.expected;
    }
    return [request, files];
  }

  // Draws at once what there is, and again with what would have helped, which is tried by
  // replaying the recording dozens of times.
  async explain() {
    const run = this.begin();
    showTrouble('');
    $('#result').classList.add('working');
    $('#busy').textContent = 'Working …';
    const [request, files] = this.request();
    try {
      let answered = await this.ask(run, {...request, tries: false}, files);
      if (answered && request.expect) {
        $('#busy').textContent = 'Trying what would have helped …';
        await pause(kBeforeTrying);
        if (run !== this.run) return;
        this.trier ??= new Engine();
        answered = await this.ask(run, request, files, this.trier);
      }
      if (answered) $('#busy').textContent = answered.answer.malformed ?? answered.notes.join('; ');
    } catch (error) {
      if (run !== this.run) return;
      if ($('#result').hidden) this.given = null;
      $('#busy').textContent = '';
      showTrouble(error.message);
    } finally {
      if (run === this.run) $('#result').classList.remove('working');
    }
  }

  // What was asked before is no longer wanted, and not computed to its end.
  begin() {
    if (this.trier?.asked.size > 0) {
      this.trier.stop();
      this.trier = null;
    }
    return ++this.run;
  }

  // Asks and draws; nothing where something else was asked meanwhile.
  async ask(run, request, files, asked = engine) {
    const answered = await asked.ask(request, files, [request.page]);
    if (run !== this.run) return null;
    this.report = answered.made[request.page];
    this.draw();
    $('#result').classList.remove('working');
    return answered;
  }

  draw() {
    $('#shown-name').textContent = this.given.name;
    $('#start').hidden = true;
    $('#result').hidden = false;
    const before = this.url;
    this.url = URL.createObjectURL(new Blob([this.report], {type: 'text/html'}));
    $('#page').src = this.url;
    if (before) URL.revokeObjectURL(before);
  }

  close() {
    this.begin();
    this.given = null;
    showTrouble('');
    $('#result').hidden = true;
    $('#start').hidden = false;
    $('#demo').focus();
  }
}
