// Gestures of one's own: recorded with a prompt, judged one by one, built into a model.
'use strict';

const kWanted = 8;            // repetitions of a gesture that are asked for
const kFewest = 3;            // with which a model can be built
const kRestFirst = 1200;      // ms at rest before the prompt
const kAround = 0.6;          // s of rest that is kept before and behind a motion
const kPatienceForMotion = 8000;  // ms after the prompt
const kBuffer = 30 * kStripRate;  // samples that are kept of the stream
const kGravity = 9.81;        // m/s²
const kTaken = ['background', 'negative'];
const kIndex = 'file,label,subject,rate_hz\n';

// Samples of the stream as a recording that starts at 0.
function csvOf(rows) {
  return kHeader + rows.map((row) => lineOf(row, rows[0][0])).join('');
}
const rowsOfCsv = (csv) => csv.trim().split('\n').slice(1).map((line) => line.split(',').map(Number));

// A picture of a recording's acceleration.
function sparkline(csv) {
  const rows = rowsOfCsv(csv);
  const [width, height] = [120, 36];
  const begin = rows[0][0];
  const seconds = rows.at(-1)[0] - begin || 1;
  const lines = [1, 2, 3].map((k) => rows.map((row) =>
    `${(width * (row[0] - begin) / seconds).toFixed(1)} ${(height / 2 * (1 - row[k] / 25)).toFixed(1)}`).join('L'));
  return svg('svg', {viewBox: `0 0 ${width} ${height}`, 'aria-hidden': 'true', class: 'spark'},
      ...lines.map((d, k) => svg('path', {class: kAxes[k], d: 'M' + d})));
}

// Runs through a picture in the time in which the motion was made, and vibrates where the
// wrist was accelerated most.
function playBack(csv, picture, button) {
  if (button.textContent !== 'Play') return;
  const rows = rowsOfCsv(csv);
  const length = 1000 * (rows.at(-1)[0] - rows[0][0]);
  const strength = (row) => Math.abs(Math.hypot(row[1], row[2], row[3]) - kGravity);
  const peak = rows.reduce((most, row) => strength(row) > strength(most) ? row : most);
  const cursor = svg('line', {class: 'cursor', y1: 0, y2: 36, x1: 0, x2: 0});
  picture.append(cursor);
  button.textContent = 'Playing';
  setTimeout(() => navigator.vibrate?.(60), 1000 * (peak[0] - rows[0][0]));
  const start = performance.now();
  const step = () => {
    const share = Math.min(1, (performance.now() - start) / length);
    cursor.setAttribute('transform', `translate(${120 * share})`);
    if (share < 1 && picture.isConnected) return requestAnimationFrame(step);
    cursor.remove();
    button.textContent = 'Play';
  };
  step();
}

/**
 * A repetition, and what was said of it; and all that is taught.
 * @typedef {{id: number, csv: string, said: string}} Repetition
 * @typedef {{name: string, repetitions: Repetition[]}} Gesture
 * @typedef {{gestures: Gesture[], background: string[], newest: number}} TaughtSet
 */

class Teach {
  constructor() {
    /** @type {TaughtSet} */
    this.set = {gestures: [], background: [], newest: 0};
    /** @type {Float64Array[]} */
    this.stream = [];
    /** @type {Record<string, Bytes> | null} */
    this.made = null;
    this.everyday = new KeptRecording('everyday');
    $('#name-form').addEventListener('submit', (event) => {
      event.preventDefault();
      this.addGesture($('#name').value.trim());
    });
    $('#prompt-stop').addEventListener('click', () => this.stop());
    $('#everyday-record').addEventListener('click', () => this.recordEveryday());
    $('#everyday-drop').addEventListener('click', () => this.change(() => {
      this.set.background = [];
    }));
    $('#build').addEventListener('click', () => this.build());
    $('#save-all').addEventListener('click', () => this.saveAll());
    $('#save-model').addEventListener('click', () =>
      download('my-gestures.xml', this.made['taught.xml'], 'application/xml'));
    $('#try').addEventListener('click', () => this.tryLive());
    $('#forget').addEventListener('click', () => this.forget());
    $('#open-saved').addEventListener('change', (event) => this.open(event.target));
    document.addEventListener('visibilitychange', () => this.meetOthers());
    this.restored = this.restore();
  }

  async restore() {
    this.set = await store.get('teach', 'set') ?? this.set;
    await this.takeEveryday();
    this.draw();
  }

  // A tab that is shown again takes what another one was taught meanwhile, lest it write
  // its own older set over that.
  async meetOthers() {
    if (document.hidden || this.listening) return;
    const kept = await store.get('teach', 'set');
    if (!kept || JSON.stringify(kept) === JSON.stringify(this.set)) return;
    this.set = kept;
    this.made = null;
    this.draw();
  }

  // Every change is kept before it is shown.
  async change(make) {
    make();
    this.made = null;
    await store.put('teach', this.set, 'set');
    this.draw();
  }

  addGesture(name) {
    showTrouble('');
    const names = this.set.gestures.map((g) => g.name.toLowerCase());
    if (name === '') return $('#name').focus();
    if (names.includes(name.toLowerCase()) || kTaken.includes(name.toLowerCase())) {
      return showTrouble(`There is a “${name}” already: choose another name.`);
    }
    $('#name').value = '';
    return this.change(() => this.set.gestures.push({name, repetitions: []}));
  }

  // ---- what is shown ---------------------------------------------------------------------

  draw() {
    const {gestures, background} = this.set;
    const some = gestures.length > 0;
    $('#gestures').replaceChildren(...gestures.map((gesture) => this.card(gesture)));
    for (const id of ['everyday', 'build', 'save-all', 'forget']) $('#' + id).hidden = !some;
    const seconds = background.map(rowsOfCsv).reduce(
        (sum, rows) => sum + rows.at(-1)[0] - rows[0][0], 0);
    $('#everyday-said').textContent = seconds > 0 ? `${seconds.toFixed(0)} s are recorded.` : '';
    $('#everyday-drop').hidden = seconds === 0;
    const few = gestures.filter((g) => g.repetitions.length < kFewest).map((g) => g.name);
    $('#missing').textContent = !some ? '' : gestures.length < 2
      ? 'Add a second gesture: a model distinguishes gestures.'
      : few.length > 0 ? `At least ${kFewest} repetitions each: ${few.join(', ')}.` : '';
    $('#build').disabled = gestures.length < 2 || few.length > 0;
    $('#built').hidden = !this.made;
  }

  /** @param {Gesture} gesture */
  card(gesture) {
    const count = gesture.repetitions.length;
    const record = el('button', {type: 'button', class: count < kWanted ? 'primary' : ''},
        count === 0 ? 'Record' : 'Record more');
    record.addEventListener('click', () => this.record(gesture));
    const drop = el('button', {type: 'button'}, 'Delete the gesture');
    drop.addEventListener('click', () => this.change(() => {
      this.set.gestures.splice(this.set.gestures.indexOf(gesture), 1);
    }));
    return el('div', {class: 'card gesture'},
        el('h3', {}, gesture.name, ' ', el('span', {class: 'note'}, `${count} of ${kWanted}`)),
        el('div', {class: 'tools'}, record, drop),
        el('ul', {class: 'repetitions'}, ...gesture.repetitions.map((r, i) =>
          this.repetition(gesture, r, i))));
  }

  /** @param {Gesture} gesture  @param {Repetition} repetition  @param {number} i */
  repetition(gesture, repetition, i) {
    const name = `${gesture.name} ${i + 1}`;
    const look = el('button', {type: 'button', 'aria-label': `Look at ${name}`}, 'Look');
    look.addEventListener('click', () => {
      showTab('explain');
      explainer.show({name: `${gesture.name}-${i + 1}.csv`,
        recording: new TextEncoder().encode(repetition.csv)});
    });
    const picture = sparkline(repetition.csv);
    const play = el('button', {type: 'button', 'aria-label': `Play ${name}`}, 'Play');
    play.addEventListener('click', () => playBack(repetition.csv, picture, play));
    const drop = el('button', {type: 'button', 'aria-label': `Delete ${name}`}, 'Delete');
    drop.addEventListener('click', () => this.change(() => {
      gesture.repetitions.splice(gesture.repetitions.indexOf(repetition), 1);
    }));
    const label = el('select', {'aria-label': `What ${name} is`},
        ...this.set.gestures.map((g) => el('option', g === gesture ? {selected: ''} : {}, g.name)));
    label.addEventListener('change', () => this.change(() => {
      gesture.repetitions.splice(gesture.repetitions.indexOf(repetition), 1);
      this.set.gestures.find((g) => g.name === label.value).repetitions.push(repetition);
    }));
    return el('li', {}, picture,
        el('span', {class: 'note odd'}, repetition.said), label, play, look, drop);
  }

  // ---- recording -------------------------------------------------------------------------

  // Listens to the sensors; false, and said, where they cannot be used.
  async listen(what) {
    showTrouble('');
    try {
      await live.listen();
    } catch (error) {
      showTrouble(error.message);
      return false;
    }
    this.stream = [];
    live.onrow = (row, moving) => {
      this.stream.push(Float64Array.from(row));
      if (this.stream.length > kBuffer) this.stream.shift();
      this.moved = moving ? performance.now() : this.moved;
    };
    live.onmotion = (motion) => this.onmotion?.(motion);
    this.listening = true;
    this.moved = performance.now();
    $('#prompter').hidden = false;
    $('#prompt-what').textContent = what;
    $('#prompt-said').textContent = '';
    $('#prompter').scrollIntoView({block: 'nearest'});
    return true;
  }

  stop() {
    this.listening = false;
    this.onmotion?.(null);
    live.sensors.stop();
    live.onrow = live.onmotion = null;
    $('#prompter').hidden = true;
  }

  async resting() {
    while (this.listening && performance.now() - this.moved < kRestFirst) await pause(50);
  }

  // The next motion, or null when none comes.
  motion() {
    return new Promise((done) => {
      const timer = setTimeout(() => this.onmotion?.(null), kPatienceForMotion);
      this.onmotion = (motion) => {
        clearTimeout(timer);
        this.onmotion = null;
        done(motion);
      };
    });
  }

  /** @param {Gesture} gesture */
  async record(gesture) {
    if (this.listening || !await this.listen(`${gesture.name}: make it when the page says ` +
        '“Now”, then hold still.')) return;
    $('#prompt').dataset.state = 'rest';
    while (this.listening && gesture.repetitions.length < kWanted) {
      this.prompt('rest', 'Hold still …');
      await this.resting();
      if (!this.listening) break;
      this.prompt('now', `Now: ${gesture.name}`);
      navigator.vibrate?.(60);
      const motion = await this.motion();
      if (!this.listening) break;
      if (motion === null) {
        $('#prompt-said').textContent = 'No motion was found: make it larger, or faster.';
        continue;
      }
      this.prompt('rest', 'Hold still …');
      while (this.listening && this.stream.at(-1)[0] < motion.end + kAround) await pause(50);
      await this.take(gesture, motion);
    }
    if (this.listening) this.stop();
    const more = this.set.gestures.find((g) => g.repetitions.length < kWanted);
    $('#missing').textContent = more ? $('#missing').textContent : 'Enough: build the model.';
  }

  prompt(state, text) {
    $('#prompt').dataset.state = state;
    $('#prompt').textContent = text;
  }

  // Cuts a motion out of the stream, and keeps it unless something is wrong with it.
  /** @param {Gesture} gesture  @param {{begin: number, end: number}} motion s */
  async take(gesture, motion) {
    const rows = this.stream.filter(([t]) =>
      t >= motion.begin - kAround && t <= motion.end + kAround);
    if (rows.length === 0) return;
    const repetition = {id: ++this.set.newest, csv: csvOf(rows), said: ''};
    gesture.repetitions.push(repetition);
    let verdict;
    try {
      verdict = await this.judge(repetition);
    } catch (error) {
      verdict = {good: false, said: error.message};
    }
    $('#prompt-said').textContent = (verdict.good ? 'Good' : 'Not accepted') +
        (verdict.said ? `: ${verdict.said}` : '');
    $('#prompt-said').dataset.good = String(verdict.good);
    await this.change(() => {
      if (verdict.good) repetition.said = verdict.said;
      else gesture.repetitions.splice(gesture.repetitions.indexOf(repetition), 1);
    });
  }

  async judge(repetition) {
    const {answer} = await engine.ask(
        {do: 'judge', folder: 'taught', file: `${repetition.id}.csv`},
        this.files('taught/'), [], ['taught']);
    return answer;
  }

  async recordEveryday() {
    if (this.listening || !await this.listen('Everyday movement: no gestures now.')) return;
    this.everyday.begin();
    const {onrow} = live;
    live.onrow = (row, moving) => {
      onrow(row, moving);
      this.everyday.add(row);
    };
    while (this.listening) {
      this.prompt('rest', `${Math.floor(this.everyday.count / kStripRate)} s`);
      await pause(250);
    }
    await this.everyday.flush();
    await this.takeEveryday();
  }

  // Everyday movement that was written while it was recorded becomes part of the set, be it
  // at the recording's end or after a reload in its middle.
  async takeEveryday() {
    const text = await this.everyday.text();
    if (text.split('\n').length > kStripRate) {
      await this.change(() => this.set.background.push(kHeader + text));
    }
    await this.everyday.clear();
  }

  // ---- the set as files ------------------------------------------------------------------

  /** @param {string} under */
  files(under) {
    /** @type {Record<string, string>} */
    const files = {};
    let index = kIndex;
    for (const {name, repetitions} of this.set.gestures) {
      for (const {id, csv} of repetitions) {
        files[`${under}${id}.csv`] = csv;
        index += `${id}.csv,${name},,${kStripRate}\n`;
      }
    }
    files[`${under}index.csv`] = index;
    return files;
  }

  backgroundFiles(under) {
    return Object.fromEntries(this.set.background.map((csv, i) => [`${under}${i + 1}.csv`, csv]));
  }

  saveAll() {
    const made = this.made ?? {};
    const names = {'taught.xml': 'my-gestures.xml', 'taught.model.json': 'my-gestures.model.json',
      'taught.report.txt': 'my-gestures.report.txt'};
    const model = Object.fromEntries(Object.entries(names).filter(([from]) => made[from])
        .map(([from, to]) => [to, made[from]]));
    download('my-gestures.tar', tarOf({...model, ...this.files('gestures/'),
      ...this.backgroundFiles('everyday/')}), 'application/x-tar');
  }

  async open(input) {
    const [file] = input.files;
    input.value = '';
    showTrouble('');
    try {
      const files = filesOfTar(new Uint8Array(await file.arrayBuffer()));
      const text = (name) => new TextDecoder().decode(files[name]);
      if (!files['gestures/index.csv']) throw new Error('The studio did not save this file.');
      /** @type {TaughtSet} */
      const set = {gestures: [], background: [], newest: 0};
      for (const line of text('gestures/index.csv').trim().split('\n').slice(1)) {
        const [name, label] = line.split(',');
        let gesture = set.gestures.find((g) => g.name === label);
        if (!gesture) set.gestures.push(gesture = {name: label, repetitions: []});
        gesture.repetitions.push({id: ++set.newest, csv: text('gestures/' + name), said: ''});
      }
      for (const name of Object.keys(files)) {
        if (name.startsWith('everyday/')) set.background.push(text(name));
      }
      await this.change(() => { this.set = set; });
    } catch (error) {
      showTrouble(error.message);
    }
  }

  async forget() {
    const button = $('#forget');
    if (button.dataset.sure === undefined) {
      button.dataset.sure = '';
      button.textContent = 'Delete all gestures?';
      return;
    }
    delete button.dataset.sure;
    button.textContent = 'Start over';
    await this.change(() => { this.set = {gestures: [], background: [], newest: 0}; });
  }

  // ---- the model -------------------------------------------------------------------------

  async build() {
    showTrouble('');
    $('#build').disabled = true;
    $('#missing').textContent = 'Building …';
    const wanted = ['taught.xml', 'taught.model.json', 'taught.report.txt', 'taught.html'];
    try {
      const request = {do: 'build', folder: 'taught',
        ...(this.set.background.length > 0 ? {background: 'everyday'} : {})};
      const {answer, made} = await engine.ask(request,
          {...this.files('taught/'), ...this.backgroundFiles('everyday/')}, wanted,
          ['taught', 'everyday']);
      this.made = made;
      this.names = new Map(answer.classes.map((c) => [c.class, c.name]));
      this.draw();
      $('#built-said').textContent = `${answer.right} of ${answer.examples} repetitions are ` +
          'recognised when each is compared with the others' + (answer.background_seconds > 0
          ? `; ${answer.background_accepted} of ${answer.background} everyday motions would be ` +
            'taken for a gesture.' : '. Everyday movement would show what it must not react to.');
      const url = URL.createObjectURL(new Blob([made['taught.html']], {type: 'text/html'}));
      $('#model-page').src = url;
    } catch (error) {
      this.draw();
      showTrouble(error.message);
    }
  }

  tryLive() {
    live.useTaught(this.made['taught.xml'], this.names);
    showTab('live');
    live.start();
  }
}
