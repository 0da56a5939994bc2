// Draws the stream of a recording with uPlot: both sensors, one time and one cursor.
'use strict';

const kJudgements = ['moving', 'blind', 'acc', 'gyro', 'both'];  // as they are numbered
const kStep = 0.25;  // of the view, that a key moves it
const kEventsWithLines = 60;  // more of them would hide the curves
const kZoom = 0.6;   // of the view, that is left after zooming in

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
