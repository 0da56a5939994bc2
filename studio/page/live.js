// Shows what the library makes of the phone's motion while it moves.
'use strict';

const kStripSeconds = 10;
const kStripRate = 50;        // samples/s, of the steady stream
const kStripMost = 25;        // m/s², at the strip's edges
const kShown = 1600;          // ms, how long a class stays large
const kHeader = 't,ax,ay,az,gx,gy,gz\n';
// A sample of the stream as a line of a recording that starts at `first`, in s.
/** @param {Float64Array} row  @param {number} first */
const lineOf = (row, first) =>
  [row[0] - first, ...row.subarray(1)].map((v) => +v.toFixed(6)).join(',') + '\n';
const kMovingFlag = 1 << 16;
const kEndedFlag = 1 << 17;
const kFullFlag = 1 << 18;

// One line for what decided.
function lineFor(m, names = new Map()) {
  const s = (v) => v.toFixed(2);
  const own = m.best ? `, most like ${names.get(m.best.class) ?? `class ${m.best.class}`}` : '';
  const lines = {
    reported: () => `${names.get(m.class) ?? `class ${m.class}`}: strength ${s(m.strength)} m/s²`,
    rejected: () => `resembles no gesture closely enough${own}` +
        (m.best?.threshold === undefined ? '' :
          `: ${s(m.best.score)} where ${s(m.best.threshold)} is needed`),
    'too-short': () => `too short: ${s(m.seconds)} s of ${s(m.shortest)} s`,
    'too-weak': () => `too weak: ${s(m.strength)} of ${s(m.leastStrength)} m/s²`,
  };
  return lines[m.cause]?.() ?? m.sentence;
}

const kFigures = 5000;  // of the newest samples and frames
/** @param {number[]} values  @param {number} value */
function keepNewest(values, value) {
  values.push(value);
  if (values.length > kFigures) values.splice(0, kFigures / 2);
}
// The value that a share of the values is below.
/** @param {number[]} values  @param {number} share */
const quantile = (values, share) =>
  values.slice().sort((a, b) => a - b)[Math.floor(share * (values.length - 1))];

class Live {
  constructor() {
    this.sensors = new Sensors((t, values) => this.sense(t, values),
        (text) => showTrouble(text));
    /** @type {[number, number, number, number, boolean][]} */
    this.rows = [];      // the strip's: [t, ax, ay, az, moving]
    this.recording = new KeptRecording('live');
    this.records = false;
    // Others who listen to the stream and to its motions.
    /** @type {((row: Float64Array, moving: boolean) => void) | null} */
    this.onrow = null;
    /** @type {((motion: any) => void) | null} */
    this.onmotion = null;
    this.names = new Map();
    /** @type {number[]} */
    this.latencies = [];  // ms, from an event of the sensors to what is known of it
    /** @type {number[]} */
    this.works = [];      // ms, of drawing a frame
    this.behind = 0;      // samples that the worker has not answered yet
    this.backlog = 0;     // the most of these
    $('#turn').checked = this.sensors.turned;
    $('#turn').addEventListener('change', (e) => { this.sensors.turned = e.target.checked; });
    $('#sense').addEventListener('click', () => this.start());
    $('#stop').addEventListener('click', () => this.stop());
    $('#record').addEventListener('click', () => this.toggleRecord());
    for (const id of ['live-wearer', 'live-mode', 'live-sensitivity']) {
      $('#' + id).addEventListener('change', () => this.choose());
    }
    for (const button of $$('[data-kept]')) {
      button.addEventListener('click', () => this.useKept(button.dataset.kept));
    }
    engine.onstream = (stream) => this.show(stream);
    document.addEventListener('visibilitychange', () => {
      if (document.hidden && this.sensors.running) {
        this.hidden = true;
      } else if (this.hidden) {
        this.hidden = false;
        $('#cause').textContent = 'The page was hidden, and browsers then stop the sensors: ' +
            'the motion of that time is missing.';
      }
    });
    this.showKept();
  }

  /** @returns {[{do: string, [field: string]: any}, Record<string, Bytes>]} */
  request() {
    const request = {do: 'live', rate: kStripRate, wearer: Number($('#live-wearer').value)};
    /** @type {Record<string, Bytes>} */
    const files = {};
    if ($('#live-mode').value === 'taught') {
      request.model = 'taught.xml';
      files['taught.xml'] = this.taught;
    } else {
      request.mode = Number($('#live-mode').value);
    }
    if ($('#live-sensitivity').value !== '') {
      request.sensitivity = Number($('#live-sensitivity').value);
    }
    return [request, files];
  }

  async choose() {
    try {
      this.settings = (await engine.ask(...this.request())).answer;
    } catch (error) {
      showTrouble(error.message);
    }
  }

  // A model that was taught, and its classes' names.
  /** @param {Bytes} model  @param {Map<number, string>} names */
  useTaught(model, names) {
    this.taught = model;
    this.names = names;
    if (!$('#live-mode option[value=taught]')) {
      $('#live-mode').append(el('option', {value: 'taught'}, 'taught here'));
    }
    $('#live-mode').value = 'taught';
  }

  // Starts the sensors, and the library's stream behind them.
  async listen() {
    if (this.sensors.running) this.stop();
    await this.sensors.start();
    await this.choose();
  }

  async start() {
    showTrouble('');
    try {
      await this.listen();
    } catch (error) {
      return showTrouble(error.message);
    }
    $('#live-start').hidden = true;
    $('#sensing').hidden = false;
    $('#cause').textContent = 'Rest for a moment, then make a gesture.';
    this.drawing = true;
    requestAnimationFrame(() => this.draw());
  }

  stop() {
    this.sensors.stop();
    this.drawing = false;
    this.rows = [];
    if (this.records) this.toggleRecord();
    $('#live-start').hidden = false;
    $('#sensing').hidden = true;
    showTrouble('');
  }

  /** @param {number} t  @param {number[]} values */
  sense(t, values) {
    if (!this.settings) return;
    this.backlog = Math.max(this.backlog, ++this.behind);
    engine.stream(Float64Array.of(t, ...values), performance.now());
  }

  // What the worker made of a sample.
  /** @param {Streamed} stream */
  show({flags, made, motion, asked}) {
    const moving = (flags & kMovingFlag) !== 0;
    for (let i = 0; i < made.length; i += 7) {
      const row = made.subarray(i, i + 7);
      this.rows.push([row[0], row[1], row[2], row[3], moving]);
      this.onrow?.(row, moving);
      if (this.records) this.keep(row);
    }
    const from = this.rows.length - kStripSeconds * kStripRate;
    if (from > kStripRate) this.rows.splice(0, from);
    this.movingFor = moving ? (this.movingFor ?? 0) + made.length / 7 : 0;
    this.moving = moving;
    this.behind -= 1;
    keepNewest(this.latencies, performance.now() - asked);
    if (motion && (flags & kEndedFlag)) this.judged(motion);
    if (flags & kFullFlag) {
      $('#cause').textContent = 'Two hours are over: stop the sensors and start them again.';
    }
  }

  judged(m) {
    if (this.onmotion) return this.onmotion(m);
    const said = lineFor(m, this.names);
    $('#cause').textContent = said;
    this.until = performance.now() + kShown;
    this.good = m.cause === 'reported';
    $('#class').textContent = this.good ? this.names.get(m.class) ?? m.class : '';
    $('#class').classList.toggle('word', this.names.has(m.class));
    if (this.good) {
      navigator.vibrate?.(80);
      $('#heard').prepend(el('li', {'data-class': m.class},
          `${this.names.get(m.class) ?? `class ${m.class}`}, ${m.strength.toFixed(1)} m/s²`));
      while ($('#heard').children.length > 8) $('#heard').lastChild.remove();
    }
  }

  // One frame.
  draw() {
    if (!this.drawing) return;
    const now = performance.now();
    const judged = now < (this.until ?? 0);
    const state = judged ? (this.good ? 'good' : 'odd') : this.moving ? 'moving' : 'rest';
    if (state !== this.state) {
      this.state = state;
      $('#sensing').dataset.state = state;
      $('#state').textContent = {good: 'reported', odd: 'not reported', moving: 'motion',
        rest: 'rest'}[state];
      if (!judged) $('#class').textContent = '';
    }
    const shortest = (this.settings?.shortest ?? 0.5) * kStripRate;
    const share = judged ? 100 : Math.min(100, 100 * (this.movingFor ?? 0) / shortest);
    $('#ring .fill').style.strokeDasharray = `${share} 100`;
    this.drawStrip();
    keepNewest(this.works, performance.now() - now);
    requestAnimationFrame(() => this.draw());
  }

  // How quick it is: see its test.
  figures() {
    return {frames: this.works.length, work: quantile(this.works, 0.5),
      mostWork: quantile(this.works, 0.95), latency: quantile(this.latencies, 0.5),
      mostLatency: quantile(this.latencies, 0.95), backlog: this.backlog};
  }

  drawStrip() {
    const canvas = $('#strip');
    const ratio = devicePixelRatio;
    const [width, height] = [canvas.clientWidth, canvas.clientHeight];
    if (canvas.width !== Math.round(width * ratio)) {
      canvas.width = Math.round(width * ratio);
      canvas.height = Math.round(height * ratio);
    }
    const context = canvas.getContext('2d');
    const colours = getComputedStyle(document.documentElement);
    context.setTransform(ratio, 0, 0, ratio, 0, 0);
    context.clearRect(0, 0, width, height);
    if (this.rows.length === 0) return;
    const end = this.rows.at(-1)[0];
    const x = (t) => width * (1 - (end - t) / kStripSeconds);
    const y = (v) => height / 2 * (1 - v / kStripMost);
    context.fillStyle = colours.getPropertyValue('--band-dropped');
    for (const [t, , , , moving] of this.rows) {
      if (moving) context.fillRect(x(t), 0, width / kStripSeconds / kStripRate + 0.5, height);
    }
    kAxes.forEach((axis, k) => {
      context.strokeStyle = colours.getPropertyValue('--' + axis);
      context.lineWidth = 1.6;
      context.beginPath();
      let before = -Infinity;
      for (const row of this.rows) {
        if (row[0] - before > 0.1) context.moveTo(x(row[0]), y(row[k + 1]));
        else context.lineTo(x(row[0]), y(row[k + 1]));
        before = row[0];
      }
      context.stroke();
    });
  }

  // ---- recording -------------------------------------------------------------------------

  async toggleRecord() {
    this.records = !this.records;
    $('#record').textContent = this.records ? 'Stop recording' : 'Record';
    if (!this.records) {
      $('#recording').textContent = '';
      await this.recording.flush();
      return this.showKept();
    }
    this.recording.begin();
    $('#kept').hidden = true;
    await this.recording.clear();
  }

  /** @param {Float64Array} row */
  keep(row) {
    if (this.recording.add(row)) {
      $('#recording').textContent =
          `Recording: ${Math.floor(this.recording.count / kStripRate)} s`;
    }
  }

  async showKept() {
    const rows = (await this.recording.text()).split('\n').length - 1;
    $('#kept').hidden = rows === 0;
    $('#kept-text').textContent = `A recording of ${(rows / kStripRate).toFixed(0)} s is kept ` +
        'in this browser until you discard it.';
  }

  async useKept(what) {
    const text = kHeader + await this.recording.text();
    if (what === 'save') return download('phone.csv', text, 'text/csv');
    if (what === 'discard') {
      await this.recording.clear();
      return this.showKept();
    }
    showTab('explain');
    return explainer.show({name: 'phone.csv', recording: new TextEncoder().encode(text)});
  }
}
