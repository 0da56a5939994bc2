// The time line of a recording: its view, and what pointer, touch and keys do with it.
'use strict';

const kPanStep = 0.2;   // of the view, that a key moves it
const kZoom = 0.6;      // of the view, that is left after zooming in
const kWheel = 0.0015;  // of a zoom, a pixel of a wheel
const kClick = 5;       // pixels; further is no click but a drag
const kNear = 8, kNearTouch = 22;  // pixels from a band that still mean it
const kAround = 1.5;    // s around what is shown, at least
const kSaid = 400;      // ms of rest after which the view is announced

const clamp = (v, low, high) => Math.min(Math.max(v, low), Math.max(low, high));

// The whole recording in one strip: how fast it turns, what was missed and reported, and
// which part is in view.
function drawOverview(canvas, samples, marks, view) {
  const width = canvas.clientWidth, height = canvas.clientHeight;
  if (width === 0) return;
  const scale = Math.max(devicePixelRatio, 1);
  canvas.width = Math.round(width * scale);
  canvas.height = Math.round(height * scale);
  const ctx = canvas.getContext('2d');
  const paint = paints();
  ctx.scale(scale, scale);
  ctx.fillStyle = paint.paper;
  ctx.fillRect(0, 0, width, height);
  const x = (t) => t / Math.max(samples.end, 1e-9) * width;
  const most = new Float32Array(Math.ceil(width));
  for (const levels of samples.channels.slice(3)) {
    let level = levels.length - 1;
    while (level > 0 && levels[level].low.length < width) --level;
    const {low, high} = levels[level];
    for (let i = 0; i < low.length; ++i) {
      const at = Math.min(i * kFactor ** level, samples.t.length - 1);
      const column = Math.min(Math.floor(x(samples.t[at])), most.length - 1);
      most[column] = Math.max(most[column], -low[i], high[i]);
    }
  }
  const top = most.reduce((a, b) => Math.max(a, b), 1);
  ctx.fillStyle = paint['mark-rest'];
  most.forEach((v, i) => ctx.fillRect(i, height - 1 - v / top * (height - 18), 1,
      v / top * (height - 18) + 1));
  for (const band of [...marks.expected, ...marks.reported].sort((a, b) => a.rank - b.rank)) {
    ctx.fillStyle = paint[band.paint];
    ctx.fillRect(x(band.begin) - 1, band.tall < 1 ? 6 : 1, 2, band.tall < 1 ? 6 : 11);
  }
  samples.gaps.begin.forEach((begin, i) => {
    const wide = x(samples.gaps.end[i]) - x(begin);
    if (wide < 1) return;
    ctx.fillStyle = paint.paper;
    ctx.fillRect(x(begin), 0, wide, height);
    hatch(ctx, x(begin), 0, wide, height, paint['mark-gap'], 6);
  });
  const from = x(view.from), to = Math.max(x(view.to), from + 3);
  ctx.fillStyle = paint.veil;
  ctx.fillRect(0, 0, from, height);
  ctx.fillRect(to, 0, width - to, height);
  ctx.strokeStyle = paint.ink;
  ctx.lineWidth = 2;
  ctx.strokeRect(from + 1, 1, Math.max(to - from - 2, 1), height - 2);
}

// Whatever of `bands` is nearest to a time, no further away than `near`; a shorter one
// before a longer one.
function bandAt(bands, t, near) {
  let best = null, least = Infinity;
  for (const band of bands) {
    const away = Math.max(band.begin - t, t - band.end, 0);
    if (away > near) continue;
    const cost = away + (band.end - band.begin) * 1e-3;
    if (cost < least) [best, least] = [band, cost];
  }
  return best;
}

// `choose` is called with {kind, i} when a band is clicked, `step` with (-1 or 1, whether
// only to missed ones) by keys.
function makeTimeline(samples, marks, {choose, step}) {
  const canvas = $('#lanes'), overview = $('#overview');
  const drawing = new LaneDrawing(canvas, samples, marks);
  const end = Math.max(samples.end, 1 / samples.rate);
  const view = {from: 0, to: end};
  let chosen = null, cursor = null, pending = 0, said = 0;

  const draw = () => {
    cancelAnimationFrame(pending);
    pending = 0;
    drawing.draw(view, chosen, cursor);
    drawOverview(overview, samples, marks, view);
    document.documentElement.dataset.drawn = String(Date.now());
  };
  const later = () => { pending ||= requestAnimationFrame(draw); };

  const announce = () => {
    const inside = (bands) => bands.filter((b) => b.end >= view.from && b.begin <= view.to);
    const count = (n, one, many = one + 's') => `${n.toLocaleString('en')} ${n === 1 ? one : many}`;
    const missed = inside(marks.expected).filter((b) => b.missed).length;
    $('#view').textContent = `${clock(shownTime(view.from), 1)} to ` +
        `${clock(shownTime(view.to), 1)}: ${count(inside(marks.motions).length, 'motion')}, ` +
        `${inside(marks.reported).length} reported` +
        (marks.expected.length > 0 ? `, ${missed} missed` : '');
    const wide = (view.to - view.from) / Math.max(canvas.clientWidth, 1);
    $('#thinned').hidden = samples.bucket === 1 || wide * samples.rate > samples.bucket;
  };
  const setView = (from, to) => {
    const width = clamp(to - from, Math.min(10 / samples.rate, end), end);
    view.from = clamp(from + (to - from - width) / 2, 0, end - width);
    view.to = view.from + width;
    for (const button of document.querySelectorAll('[data-view]')) {
      const {view: how} = button.dataset;
      button.disabled = ['all', 'out'].includes(how) && width >= end ||
          how === 'left' && view.from <= 0 || how === 'right' && view.to >= end;
    }
    clearTimeout(said);
    said = setTimeout(announce, kSaid);
    later();
  };
  const zoom = (factor, at = (view.from + view.to) / 2) => {
    const width = clamp((view.to - view.from) * factor, 10 / samples.rate, end);
    const share = (at - view.from) / (view.to - view.from);
    setView(at - share * width, at - share * width + width);
  };
  const pan = (by) => setView(view.from + by, view.to + by);
  const width = () => view.to - view.from;
  const moves = {
    in: () => zoom(kZoom), out: () => zoom(1 / kZoom), all: () => setView(0, end),
    left: () => pan(-kPanStep * width()), right: () => pan(kPanStep * width()),
    first: () => pan(-view.from), last: () => pan(end - view.to),
    'previous-missed': () => step(-1, true), 'next-missed': () => step(1, true),
    previous: () => step(-1, false), next: () => step(1, false),
  };

  const setCursor = (t) => {
    cursor = t === null ? null : clamp(t, 0, end);
    $('#readout').textContent = cursor === null ? '' : readOut(samples, cursor);
    later();
  };
  // What there is at a place of the canvas.
  const itemAt = (x, y, near) => {
    const {lanes, left} = drawing.layout;
    if (x < left) return null;
    const lane = lanes.find((l) => y < l.top + l.height + 2) ?? lanes[lanes.length - 1];
    const t = drawing.time(x), wide = near / drawing.layout.width * width();
    const bands = marks.lanes[lane.name];
    const band = bands ? bandAt(bands, t, wide) :
        lane.name.startsWith('rest') ? bandAt(marks.rests, t, 0) :
        bandAt(marks.motions, t, 0) ?? bandAt(marks.rests, t, 0);
    return band?.item ?? null;
  };

  // ---- pointers ------------------------------------------------------------------------

  const held = new Map();  // pointer to its place
  let moved = 0;
  const place = (event) => {
    const box = canvas.getBoundingClientRect();
    return [event.clientX - box.left, event.clientY - box.top];
  };
  canvas.addEventListener('pointerdown', (event) => {
    if (event.button !== 0) return;
    canvas.setPointerCapture(event.pointerId);
    if (held.size === 0) moved = 0;
    held.set(event.pointerId, place(event));
  });
  canvas.addEventListener('pointermove', (event) => {
    const [x, y] = place(event);
    const before = held.get(event.pointerId);
    if (before === undefined) {
      if (event.pointerType === 'mouse') setCursor(drawing.time(x));
      return;
    }
    const other = [...held].find(([id]) => id !== event.pointerId)?.[1];
    moved += Math.abs(x - before[0]) + Math.abs(y - before[1]);
    const a = drawing.time(before[0]), b = drawing.time(x);
    held.set(event.pointerId, [x, y]);
    if (other === undefined) {
      if (moved > kClick) pan(a - b);
      return;
    }
    // What is below each of two fingers stays there.
    moved = Infinity;
    const fixed = drawing.time(other[0]);
    const apart = Math.abs(x - other[0]), was = Math.abs(before[0] - other[0]);
    if (apart > 4 && was > 4) zoom(was / apart, fixed);
  });
  const release = (event) => {
    const [x, y] = place(event);
    const clicked = held.delete(event.pointerId) && event.type === 'pointerup' &&
        moved <= kClick;
    if (!clicked) return;
    setCursor(drawing.time(x));
    const item = itemAt(x, y, event.pointerType === 'mouse' ? kNear : kNearTouch);
    if (item !== null) choose(item);
  };
  canvas.addEventListener('pointerup', release);
  canvas.addEventListener('pointercancel', release);
  canvas.addEventListener('pointerleave', () => setCursor(null));
  canvas.addEventListener('dblclick', (event) => zoom(kZoom ** 2, drawing.time(place(event)[0])));
  canvas.addEventListener('wheel', (event) => {
    const lines = event.deltaMode === 1 ? 30 : 1;
    const across = (event.shiftKey ? event.deltaY : event.deltaX) * lines;
    const along = event.shiftKey ? 0 : event.deltaY * lines;
    if (Math.abs(across) > Math.abs(along)) {
      pan(across / drawing.layout.width * width());
    } else if (along > 0 && width() >= end) {
      return;  // there is no more to see: the page moves on
    } else {
      zoom(Math.exp(along * (event.ctrlKey ? 6 : 1) * kWheel),
          drawing.time(place(event)[0]));
    }
    event.preventDefault();
  }, {passive: false});

  const toCentre = (event) => {
    const box = overview.getBoundingClientRect();
    const at = (event.clientX - box.left) / box.width * end;
    setView(at - width() / 2, at + width() / 2);
  };
  overview.addEventListener('pointerdown', (event) => {
    overview.setPointerCapture(event.pointerId);
    toCentre(event);
  });
  overview.addEventListener('pointermove', (event) => {
    if (overview.hasPointerCapture(event.pointerId)) toCentre(event);
  });

  // ---- keys and buttons ----------------------------------------------------------------

  const keys = {'+': 'in', '=': 'in', '-': 'out', '0': 'all', Home: 'first', End: 'last',
    ArrowLeft: 'left', ArrowRight: 'right', n: 'next-missed', p: 'previous-missed',
    '.': 'next', ',': 'previous'};
  canvas.addEventListener('keydown', (event) => {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const side = {ArrowLeft: -1, ArrowRight: 1}[event.key];
    if (side && event.shiftKey) {
      const at = cursor ?? (view.from + view.to) / 2;
      setCursor(at + side * 4 / drawing.layout.width * width());
      if (cursor < view.from || cursor > view.to) pan(side * kPanStep * width());
    } else if (event.key === 'Enter') {
      const item = bandAt(marks.motions, cursor ?? (view.from + view.to) / 2, width())?.item;
      if (item) choose(item);
    } else if (keys[event.key]) {
      moves[keys[event.key]]();
    } else {
      return;
    }
    event.preventDefault();
  });
  for (const button of document.querySelectorAll('[data-view]')) {
    button.addEventListener('click', () => moves[button.dataset.view]());
  }

  for (const media of ['(prefers-color-scheme: dark)', 'print']) {
    matchMedia(media).addEventListener('change', draw);
  }
  new ResizeObserver(later).observe(canvas.parentElement);
  setView(0, end);
  draw();
  announce();
  return {
    setView, draw,
    view: () => ({...view}),
    x: (t) => drawing.x(t),
    lanes: () => drawing.layout.lanes,
    // Marks a band; it comes into view, with what is around it, where it is not.
    mark(band) {
      chosen = band;
      if (band === null) return later();
      const long = band.end - band.begin;
      const inside = band.begin >= view.from && band.end <= view.to;
      if (!inside || long < width() / 200) {
        const around = Math.max(long, kAround);
        setView(band.begin - around, band.end + around);
      }
      later();
    },
  };
}

// The samples at a time, for people.
function readOut(samples, t) {
  const names = ['ax', 'ay', 'az', 'gx', 'gy', 'gz'];
  const gap = placeAfter(samples.gaps.begin, t) - 1;
  if (gap >= 0 && t < samples.gaps.end[gap] && t > samples.gaps.begin[gap]) {
    return `${clock(shownTime(t))} no samples`;
  }
  const around = samples.bucket === 1 ? [] :
    samples.stretches.filter((one) => one.begin <= t && t <= one.end);
  const stretch = around.map((one) => one.samples())
      .find((one) => one.t[0] <= t && t <= one.t[one.t.length - 1]);
  const times = stretch?.t ?? samples.t;
  const i = Math.max(placeAfter(times, t) - 1, 0);
  const digits = (c) => c < 3 ? 2 : 0;
  const value = (c) => {
    if (stretch) return stretch.values[c][i].toFixed(digits(c));
    const {low, high} = samples.channels[c][0];
    return samples.bucket === 1 ? low[i].toFixed(digits(c))
        : `${low[i].toFixed(digits(c))} to ${high[i].toFixed(digits(c))}`;
  };
  return `${clock(shownTime(times[i]))}  ` +
      names.map((name, c) => `${name} ${value(c)}`).join('  ');
}
