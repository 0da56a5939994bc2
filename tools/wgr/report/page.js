// Draws the report: the stream with uPlot, everything else as inline SVG.
'use strict';

const kJudgements = ['moving', 'blind', 'acc', 'gyro', 'both'];  // as they are numbered
const kAxes = ['x', 'y', 'z'];
const kStep = 0.25;  // of the view, that a key moves it
const kEventsWithLines = 60;  // more of them would hide the curves
const kManyShort = 20;        // motions that are too short: out of the way at first
const kZoom = 0.6;   // of the view, that is left after zooming in

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
  const values = new Float64Array(series.d.length);
  let sum = 0;
  for (let i = 0; i < values.length; ++i) values[i] = (sum += series.d[i]) * series.unit;
  return values;
}

// reported, rejected (reported as 5) or dropped
const outcome = (cause) => cause === 'reported' || cause === 'rejected' ? cause : 'dropped';
const chip = (cause, text) => el('span', {class: 'chip ' + outcome(cause)}, text);

const kButShort = '-too-short';
function applyFilter() {
  const {value} = $('#filter');
  for (const item of document.querySelectorAll('.motion')) {
    const {cause} = item.dataset;
    item.hidden = value === kButShort ? cause === 'too-short'
                                      : value !== '' && cause !== value;
  }
}

function showHeader(e) {
  const s = e.settings;
  const name = e.recording.split('/').pop();
  document.title = name + ' explained';
  $('#title').textContent = name;
  $('#facts').textContent =
      `${e.samples} samples at ${s.rate} samples/s. Shortest motion ${s.shortest_motion} ` +
      `samples, rest window ${s.rest_window} samples, least strength ` +
      `${s.least_strength.toFixed(2)} m/s². Model for wearer ${s.wearer}, mode ${s.mode}: ` +
      `${e.model.templates} templates of ${e.model.classes.length} classes.`;
  const counts = new Map();
  for (const m of e.motions) counts.set(m.cause, (counts.get(m.cause) ?? 0) + 1);
  const filter = $('#filter');
  filter.append(el('option', {value: ''}, `all ${e.motions.length} motions`));
  const short = counts.get('too-short') ?? 0;
  if (short > 0) {
    filter.append(el('option', {value: kButShort},
        `all but too-short (${e.motions.length - short})`));
  }
  for (const [cause, count] of [...counts].sort((a, b) => b[1] - a[1])) {
    $('#counts').append(el('li', {}, chip(cause, `${count} ${cause}`)));
    filter.append(el('option', {value: cause}, `${cause} (${count})`));
  }
  if (short > kManyShort) filter.value = kButShort;
  filter.addEventListener('change', applyFilter);
}

function showMissing(e, openMotion) {
  const missing = e.expected.filter((x) => !x.came);
  if (e.expected.length === 0) return;
  $('#missing').hidden = false;
  if (missing.length === 0) {
    $('#missing h2').textContent = 'Expected, and there';
    $('#missing ol').append(el('li', {}, `All ${e.expected.length} gestures came.`));
  }
  for (const x of missing) {
    const item = el('li', {}, el('div', {class: 'tools'},
        el('strong', {}, `class ${x.class}, ${seconds(x.begin)} to ${seconds(x.end)}`),
        chip(x.cause, x.cause)), el('p', {}, x.sentence));
    if (x.motion !== null) {
      const button = el('button', {type: 'button'}, `Motion ${x.motion}`);
      button.addEventListener('click', () => openMotion(x.motion - 1));
      item.append(button);
    }
    $('#missing ol').append(item);
  }
}

// ---- the stream ------------------------------------------------------------------------

function makeStream(data) {
  const {stream, explanation} = data;
  const t = unpack(stream.t);
  const runs = stream.judgements;  // [first second, judgement] pairs
  const end = t[t.length - 1];
  const colour = (name) => getComputedStyle(document.documentElement)
      .getPropertyValue(name);
  let charts = [];

  const drawBands = (u) => {
    const {ctx, bbox} = u;
    const left = (x) => u.valToPos(x, 'x', true);
    const {min, max} = u.scales.x;
    ctx.save();
    ctx.beginPath();
    ctx.rect(bbox.left, bbox.top, bbox.width, bbox.height);
    ctx.clip();
    for (const b of stream.bands) {
      if (b.end < min || b.begin > max) continue;
      ctx.fillStyle = colour('--band-' + outcome(b.cause));
      // Parts of a pixel tint it in part, so that many narrow bands do not add up to one.
      ctx.fillRect(left(b.begin), bbox.top, left(b.end) - left(b.begin), bbox.height);
    }
    const height = 7 * devicePixelRatio;
    const strips = kJudgements.map((name) => colour('--strip-' + name));
    for (let i = 0; i < runs.length; ++i) {
      const [from, judgement] = runs[i];
      const to = i + 1 < runs.length ? runs[i + 1][0] : end;
      if (to < min || from > max) continue;
      ctx.fillStyle = strips[judgement];
      const x = left(from);
      ctx.fillRect(x, bbox.top, left(to) - x, height);
    }
    ctx.restore();
  };
  const drawEvents = (u) => {
    const {ctx, bbox} = u;
    ctx.save();
    const ink = colour('--good');
    const paper = colour('--paper');
    ctx.font = `${12 * devicePixelRatio}px system-ui, sans-serif`;
    ctx.textAlign = 'right';
    const {min, max} = u.scales.x;
    const shown = stream.events.filter((event) => event.t >= min && event.t <= max);
    const crowded = shown.length > kEventsWithLines;
    let free = -Infinity;  // where the last label ends: labels do not overlap
    for (const event of shown) {
      const x = u.valToPos(event.t, 'x', true);
      ctx.fillStyle = ink;
      ctx.fillRect(x, bbox.top, 1.5 * devicePixelRatio,
          crowded ? 14 * devicePixelRatio : bbox.height);
      if (crowded) continue;
      const label = String(event.class);
      const start = x - ctx.measureText(label).width - 4 * devicePixelRatio;
      if (start < free) continue;
      ctx.fillStyle = paper;  // so that the curves do not cross the label
      ctx.fillRect(start, bbox.top + 10 * devicePixelRatio, x - start,
          15 * devicePixelRatio);
      ctx.fillStyle = ink;
      ctx.fillText(label, x - 3 * devicePixelRatio, bbox.top + 22 * devicePixelRatio);
      free = x;
    }
    ctx.restore();
  };

  // Both charts show the same time; uPlot's synchronised cursors see to it when the
  // mouse zooms.
  const setView = (min, max) => {
    const width = Math.min(Math.max(max - min, 10 / explanation.settings.rate), end - t[0]);
    min = Math.max(Math.min(min, end - width), t[0]);
    for (const chart of charts) chart.setScale('x', {min, max: min + width});
  };
  const view = (how) => {
    const {min, max} = charts[0].scales.x;
    const width = max - min;
    const centre = (min + max) / 2;
    if (how === 'all') setView(t[0], end);
    if (how === 'in') setView(centre - width * kZoom / 2, centre + width * kZoom / 2);
    if (how === 'out') setView(centre - width / kZoom / 2, centre + width / kZoom / 2);
    if (how === 'left') setView(min - width * kStep, max - width * kStep);
    if (how === 'right') setView(min + width * kStep, max + width * kStep);
  };

  const make = (id, label, channels) => {
    const holder = $('#' + id);
    const axis = {stroke: colour('--soft'), grid: {stroke: colour('--rule'), width: 1},
      ticks: {stroke: colour('--rule'), width: 1}};
    const narrow = holder.clientWidth < 600;
    return new uPlot({
      width: holder.clientWidth,
      height: narrow ? 190 : 230,
      scales: {x: {time: false}},
      cursor: {sync: {key: 'stream', setSeries: false}, drag: {x: true, y: false}},
      axes: [
        {...axis, size: 32, values: (u, marks) => marks.map((m) => m + ' s')},
        {...axis, size: 52, values: (u, marks) => marks.map(String)},
      ],
      series: [
        {label: 't', value: (u, v) => v === null ? '–' : seconds(v)},
        ...kAxes.map((name) => ({label: label + name,
          stroke: colour('--' + name), width: 1.25, points: {show: false},
          value: (u, v) => v === null || v === undefined ? '–' : v.toFixed(2)})),
      ],
      hooks: {drawAxes: [drawBands], draw: [drawEvents]},
    }, [t, ...channels], holder);
  };
  const draw = () => {
    const shown = charts.length > 0 ? charts[0].scales.x : null;
    for (const chart of charts) chart.destroy();
    charts = [make('acc', 'a', acc), make('gyro', 'g', gyro)];
    if (shown !== null) setView(shown.min, shown.max);
  };
  const acc = stream.acc.map(unpack);
  const gyro = stream.gyro.map(unpack);
  draw();
  matchMedia('(prefers-color-scheme: dark)').addEventListener('change', draw);
  let width = $('#acc').clientWidth;
  new ResizeObserver(() => {
    if ($('#acc').clientWidth === width) return;
    width = $('#acc').clientWidth;
    draw();
  }).observe($('#acc'));

  for (const button of document.querySelectorAll('[data-view]')) {
    button.addEventListener('click', () => view(button.dataset.view));
  }
  // The arrows move the cursor, with shift the view.
  const keys = {'+': 'in', '=': 'in', '-': 'out', '0': 'all', 'Home': 'all'};
  const moveCursor = (pixels) => {
    const u = charts[0];
    const at = u.cursor.left >= 0 ? u.cursor.left : u.over.clientWidth / 2;
    const left = Math.min(Math.max(at + pixels, 0), u.over.clientWidth - 1);
    for (const chart of charts) {
      chart.setCursor({left, top: chart.over.clientHeight / 2}, false);
    }
  };
  for (const id of ['acc', 'gyro']) {
    $('#' + id).addEventListener('keydown', (event) => {
      if (event.ctrlKey || event.metaKey || event.altKey) return;
      const side = {ArrowLeft: -1, ArrowRight: 1}[event.key];
      if (side && event.shiftKey) {
        view(side < 0 ? 'left' : 'right');
      } else if (side) {
        moveCursor(4 * side);
      } else if (keys[event.key]) {
        view(keys[event.key]);
      } else {
        return;
      }
      event.preventDefault();
    });
  }
  if (stream.bucket > 1) {
    $('#decimated').hidden = false;
    $('#decimated').textContent = `Drawn from the least and greatest of every ` +
        `${stream.bucket} samples; all figures are from every sample.`;
  }
  return {setView, charts: () => charts};
}

// ---- one motion ------------------------------------------------------------------------

// Pictures are drawn for the width they get, so that their letters stay readable.
const pictureWidth = () => Math.max(Math.min(480, $('#list').clientWidth - 32), 240);

// Lines over time in one frame: [values, class, width?] each, on the times of `t`.
function lineFigure(t, lines, {limit, active, unit}) {
  const width = pictureWidth(), height = 190, left = 44, right = 8, top = 8, bottom = 24;
  let low = 0, high = limit ?? 0;
  for (const [values] of lines) {
    for (const v of values) { low = Math.min(low, v); high = Math.max(high, v); }
  }
  if (high === low) high = low + 1;
  const x = (v) => left + (v - t[0]) / Math.max(t[t.length - 1] - t[0], 1e-9) *
      (width - left - right);
  const y = (v) => top + (high - v) / (high - low) * (height - top - bottom);
  const picture = svg('svg', {viewBox: `0 0 ${width} ${height}`, role: 'img'});
  if (active) {
    picture.append(svg('rect', {class: 'active', x: x(active[0]), y: top,
      width: Math.max(x(active[1]) - x(active[0]), 1), height: height - top - bottom}));
  }
  for (const mark of new Set([low, high, 0])) {
    if (mark === 0 && (y(0) - y(high) < 12 && high !== 0 || y(low) - y(0) < 12 && low !== 0))
      continue;
    picture.append(svg('line', {class: 'grid', x1: left, x2: width - right, y1: y(mark),
      y2: y(mark)}), svg('text', {x: left - 5, y: y(mark) + 4, 'text-anchor': 'end'},
      mark === 0 ? '0' : mark.toFixed(Math.abs(mark) < 10 ? 1 : 0)));
  }
  picture.append(svg('text', {x: left, y: height - 6}, seconds(t[0])),
      svg('text', {x: width - right, y: height - 6, 'text-anchor': 'end'},
          seconds(t[t.length - 1])),
      svg('text', {x: (left + width) / 2, y: height - 6, 'text-anchor': 'middle'}, unit));
  for (const [values, kind] of lines) {
    let path = '';
    for (let i = 0; i < values.length; ++i) {
      path += (i === 0 ? 'M' : 'L') + x(t[i]).toFixed(1) + ' ' + y(values[i]).toFixed(1);
    }
    picture.append(svg('path', {class: kind, d: path}));
  }
  if (limit !== undefined) {
    picture.append(svg('line', {class: 'limit', x1: left, x2: width - right, y1: y(limit),
      y2: y(limit)}));
  }
  return picture;
}

// The best templates as bars of their distance, minus the score, with the class's limit.
function scoreFigure(templates) {
  const row = 30, left = 108, width = pictureWidth(), right = 64;
  const distances = templates.flatMap((s) => [-s.score, -(s.threshold ?? 0)]);
  const most = Math.max(...distances, 1e-9) * 1.02;
  const x = (v) => left + Math.min(Math.max(v / most, 0), 1) * (width - left - right);
  const picture = svg('svg', {viewBox: `0 0 ${width} ${templates.length * row + 4}`,
    role: 'img'});
  templates.forEach((s, i) => {
    const y = i * row + 4;
    picture.append(svg('text', {x: 0, y: y + 16, class: 'strong'},
        `class ${s.class}, no. ${s.template}`));
    if (s.score === null) {
      picture.append(svg('text', {x: left, y: y + 16}, 'cannot be compared'));
      return;
    }
    const accepted = s.threshold === null || s.score > s.threshold;
    picture.append(svg('rect', {class: 'bar ' + (accepted ? 'accepted' : 'refused'), x: left,
      y: y + 4, width: Math.max(x(-s.score) - left, 1), height: 16, rx: 2}));
    if (s.threshold !== null) {
      const at = x(-s.threshold);
      picture.append(svg('line', {class: 'tick', x1: at, x2: at, y1: y, y2: y + 24}));
    }
    picture.append(svg('text', {x: width, y: y + 16, 'text-anchor': 'end'},
        s.score.toFixed(4)));
  });
  return picture;
}

function figure(caption, picture) {
  const words = el('figcaption', {class: 'figure-key'});
  for (const part of caption.split(/(\b[xyz]\b)/)) {
    words.append(kAxes.includes(part) ? el('b', {class: part}, part) : part);
  }
  picture.setAttribute('aria-label', caption);
  return el('figure', {}, picture, words);
}

function fillMotion(body, m, series, data, zoomTo) {
  const facts = [
    ['collected', `${m.collected} samples`],
    ['pre-roll', `${m.preroll} samples`],
    ['trimmed', `${m.trimmed} samples`],
    ['judged', seconds(m.judged)],
    ['active stretch', `${m.active_samples} samples, ${m.duration_ms.toFixed(0)} ms`],
    ['starts / ends fast', `${m.starts_fast ? 'yes' : 'no'} / ${m.ends_fast ? 'yes' : 'no'}`],
  ];
  if (m.lost_at !== null) facts.push(['attitude lost at', `sample ${m.lost_at + 1}`]);
  if (m.strength !== null) {
    facts.push(['strength', `${m.strength.toFixed(3)} of at least ` +
        `${data.explanation.settings.least_strength.toFixed(3)} m/s²`]);
  }
  const button = el('button', {type: 'button'}, 'Show in the stream');
  button.addEventListener('click', zoomTo);
  body.append(el('dl', {}, ...facts.map(([name, value]) =>
    el('div', {}, el('dt', {}, name), el('dd', {}, value)))), button);

  const figures = el('div', {class: 'figures'});
  if (series?.corrected) {
    const t = unpack(series.t);
    figures.append(figure('Acceleration x, y, z without gravity, turned into one frame, ' +
        'm/s²; the active stretch is shaded', lineFigure(t,
        series.corrected.map((s, i) => [unpack(s), kAxes[i]]),
        {active: series.active, unit: 'm/s²'})));
  }
  if (series?.speed) {
    figures.append(figure('Speed, m/s; what is slower than the dashed line at either end is cut off',
        lineFigure(unpack(series.speed_t), [[unpack(series.speed), 'speed']],
            {limit: m.fast_from ?? undefined, active: series.active, unit: 'm/s'})));
  }
  if (series?.compared) {
    const best = m.best_templates[0];
    figures.append(figure(`What was compared, x, y, z, and dotted the best template, no. ` +
        `${best.template} of class ${best.class}, laid over it along the warping path`,
        lineFigure(unpack(series.compared_t), [
          ...series.compared.map((s, i) => [unpack(s), kAxes[i]]),
          ...series.template.map((s, i) => [unpack(s), kAxes[i] + ' template']),
        ], {unit: data.normalised ? 'times the strength' : 'm/s²'})));
  }
  if (m.best_templates.length > 0) {
    figures.append(figure('The best templates: shorter is more alike; a bar that reaches ' +
        'its mark, the limit of its class, is refused', scoreFigure(m.best_templates)));
  }
  body.append(figures);
}

function showMotions(data, stream) {
  const {motions} = data.explanation;
  const list = $('#list');
  const items = motions.map((m, i) => {
    const band = data.stream.bands[i];
    const body = el('div', {class: 'body'});
    const title = el('summary', {},
        el('span', {class: 'when'}, `${i + 1}. ${seconds(m.begin)} to ${seconds(m.end)}`),
        chip(m.cause, m.reported === null ? m.cause : `${m.cause}: ${m.reported}`),
        el('p', {class: 'why'}, m.sentence));
    const item = el('details', {class: 'motion', 'data-cause': m.cause}, title, body);
    const zoomTo = () => {
      const margin = (band.end - band.begin) * 0.5 + 0.2;
      stream.setView(band.begin - margin, band.end + margin);
      $('#stream').scrollIntoView({block: 'start'});
      $('#acc').focus({preventScroll: true});
    };
    item.addEventListener('toggle', () => {
      if (!item.open || body.childElementCount > 0) return;
      fillMotion(body, m, data.series[i], data, zoomTo);
    });
    return item;
  });
  list.append(...items);
  applyFilter();
  if (items.length === 0) list.append(el('p', {}, 'There was no motion.'));
  return (i) => {
    items[i].hidden = false;
    items[i].open = true;
    items[i].scrollIntoView({block: 'start'});
    items[i].querySelector('summary').focus({preventScroll: true});
  };
}

function showRests(e) {
  $('#rests tbody').append(...e.rests.map((r) => el('tr', {},
      el('td', {}, seconds(r.begin)), el('td', {}, seconds(r.end)),
      el('td', {}, r.sentence))));
}

async function show() {
  if (!('DecompressionStream' in window)) {
    $('#facts').textContent = 'This browser is too old to unpack the page: it needs one of ' +
        'May 2023 or newer. wgr explain prints the same as text.';
    return;
  }
  const data = await readData();
  showHeader(data.explanation);
  const stream = data.stream.t.d.length > 1 ? makeStream(data) :
    {setView() {}, charts: () => []};
  window.report = stream;  // for those who look into it with the browser's console
  const openMotion = showMotions(data, stream);
  showMissing(data.explanation, openMotion);
  showRests(data.explanation);
  document.documentElement.dataset.ready = 'yes';
}
show();
