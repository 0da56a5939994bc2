// Asks what the columns, units and axes of another program's log are, with the guesses of
// wgr import filled in.
'use strict';

const kColumns = ['time', 'ax', 'ay', 'az', 'gx', 'gy', 'gz'];
const kQuantities = ['time', 'acc', 'gyro'];

/**
 * A profile as wgr import saves it.
 * @typedef {{kind: string, base?: string, axes?: string, time?: string, acc?: string,
 *     gyro?: string, columns?: Record<string, string>}} Profile
 */

class Import {
  constructor() {
    this.run = 0;
    for (const id of ['base', 'axes', ...kQuantities]) {
      $('#import-' + id).addEventListener('change', () => this.guess());
    }
    $('#import-columns').append(...kColumns.map((word) => {
      const input = el('input', {type: 'text', list: 'import-titles', 'data-column': word});
      input.addEventListener('change', () => this.guess());
      return el('label', {}, word + ' ', input);
    }));
    // What is set by hand is not guessed again.
    $('#import').addEventListener('input', ({target}) => { target.dataset.given = ''; });
  }

  // The recording that files of a log make, once the dialog is accepted; null otherwise.
  /** @param {Record<string, Bytes>} files  @returns {Promise<Bytes | null>} */
  async ask(files) {
    this.files = files;
    const {answer: choices} = await engine.ask({do: 'import choices'});
    const options = (id, words, first) => $('#import-' + id).replaceChildren(
        ...[el('option', {value: ''}, first), ...words.map((w) => el('option', {value: w}, w))]);
    options('base', choices.profiles.map((p) => p.name), 'guess it');
    for (const quantity of kQuantities) {
      options(quantity, choices[quantity].filter((w) => !/[A-Z]/.test(w)), 'guess it');
    }
    for (const input of $('#import').querySelectorAll('input, select')) {
      delete input.dataset.given;
      input.value = '';
    }
    await this.guess();
    const dialog = $('#import');
    dialog.returnValue = '';
    dialog.showModal();
    await new Promise((done) => dialog.addEventListener('close', done, {once: true}));
    return dialog.returnValue === 'use' ? this.recording : null;
  }

  // What was said by hand, as wgr import keeps it.
  profile() {
    /** @type {Profile} */
    const profile = {kind: 'wgr import profile'};
    const said = (input) => input.dataset.given !== undefined && input.value !== '';
    for (const name of ['base', 'axes', ...kQuantities]) {
      if (said($('#import-' + name))) profile[name] = $('#import-' + name).value;
    }
    for (const input of $('#import-columns').querySelectorAll('input')) {
      if (said(input)) (profile.columns ??= {})[input.dataset.column] = input.value;
    }
    return profile;
  }

  async guess() {
    const run = ++this.run;
    const names = Object.keys(this.files).map((name) => 'log/' + name);
    const files = Object.fromEntries(Object.entries(this.files).map(([n, b]) => ['log/' + n, b]));
    const profile = this.profile();
    let answer, made;
    try {
      ({answer, made} = await engine.ask({do: 'import', files: names, profile,
        recording: 'imported.csv'}, {...files, 'imported.csv': ''}, ['imported.csv'], ['log']));
    } catch (error) {
      answer = {fault: error.message, titles: []};
    }
    if (run !== this.run) return;
    const plain = (text) => text.replaceAll('log/', '');  // the folder is the page's own
    $('#import-titles').replaceChildren(...answer.titles.map((t) => el('option', {value: t})));
    $('#import-use').disabled = answer.fault !== undefined;
    $('#import-device').textContent = plain(answer.fault ?? `It looks like ${answer.device}.`);
    $('#import-guess').textContent = answer.fault ? '' : plain(answer.guess + answer.done);
    $('#import-command').textContent = this.command(profile);
    if (answer.fault) return;
    this.recording = made['imported.csv'];
    this.fillIn(answer.profile);
  }

  // The guesses, where nothing was said.
  fillIn(guessed) {
    const fill = (input, value) => {
      if (input.dataset.given !== undefined || value === undefined) return;
      if (input.tagName === 'SELECT' && ![...input.options].some((o) => o.value === value)) {
        input.append(el('option', {value}, value));
      }
      input.value = value;
    };
    for (const name of ['base', 'axes', ...kQuantities]) fill($('#import-' + name), guessed[name]);
    for (const input of $('#import-columns').querySelectorAll('input')) {
      fill(input, guessed.columns?.[input.dataset.column]);
    }
  }

  /** @param {Profile} profile */
  command({base, axes, columns, ...units}) {
    const list = (pairs) => Object.entries(pairs).map(([k, v]) => `${k}=${v}`).join(',');
    const {kind, ...said} = units;
    void kind;
    return ['wgr import', base ? `--profile ${base}` : '',
      columns ? `--columns '${list(columns)}'` : '',
      Object.keys(said).length > 0 ? `--units ${list(said)}` : '', axes ? `--axes=${axes}` : '',
      ...Object.keys(this.files), '-o recording.csv'].filter((w) => w !== '').join(' ');
  }
}
