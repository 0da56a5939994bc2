// Draws the lanes of a recording on a canvas: what was expected, reported and moved, who
// found rest, and the samples. Nothing is shown by colour alone.
'use strict';

const kLabelWidth = 104;  // where lanes are named at their left
const kNarrow = 600;     // narrower ones are named above
const kAcc = 2, kGyro = 3, kBoth = 4, kBlind = 1;  // as judgements are numbered
const kThinnest = 1.5;  // pixels, of a band
const kShortest = 14;   // pixels, of a name with its margins
const kGlyphs = {came: '✓', missed: '✕', reported: '▲', unexpected: '◆'};

// Colours of the page's styles, each read once for a drawing.
function paints() {
  const style = getComputedStyle(document.documentElement);
  return Object.fromEntries(['paper', 'ink', 'soft', 'rule', 'chosen', 'veil', 'line-x',
    'line-y', 'line-z', ...['good', 'bad', 'other', 'rest', 'gap'].map((kind) => 'mark-' + kind)]
      .map((name) => [name, style.getPropertyValue('--' + name).trim()]));
}

// Slanting lines over a rectangle, each `step` pixels.
function hatch(ctx, x, y, width, height, colour, step) {
  ctx.save();
  ctx.beginPath();
  ctx.rect(x, y, width, height);
  ctx.clip();
  ctx.beginPath();
  const from = Math.floor((x - height) / step) * step;  // lines meet across rectangles
  for (let at = from; at < x + width; at += step) {
    ctx.moveTo(at, y + height);
    ctx.lineTo(at + height, y);
  }
  ctx.strokeStyle = colour;
  ctx.lineWidth = 1;
  ctx.stroke();
  ctx.restore();
}

// "0:12:03.250", with as many digits behind the point as wanted; from an hour on hours.
function clock(t, digits = 3) {
  const scale = 10 ** digits;
  let rest = Math.round(Math.abs(t) * scale);
  const part = rest % scale;
  rest = (rest - part) / scale;
  const two = (v) => String(v).padStart(2, '0');
  return (t < 0 ? '−' : '') + `${Math.floor(rest / 3600)}:` +
      `${two(Math.floor(rest / 60) % 60)}:${two(rest % 60)}` +
      (digits > 0 ? '.' + String(part).padStart(digits, '0') : '');
}

// A round step of time, so that at most `most` fit, and the digits that distinguish them.
function timeStep(width, most) {
  const steps = [0.001, 0.002, 0.005, 0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1, 2, 5, 10, 15, 30,
    60, 120, 300, 600, 900, 1800, 3600, 7200, 14400, 21600, 43200, 86400];
  const step = steps.find((s) => width / s <= most) ?? 86400 * Math.ceil(width / 86400 / most);
  return [step, step >= 1 ? 0 : step >= 0.1 ? 1 : step >= 0.01 ? 2 : 3];
}

// Lanes from top to bottom for a width: {name, label, top, height}, and where time goes.
function layOut(width, {expected}) {
  const narrow = width < kNarrow;
  const trace = narrow ? 30 : 40;
  const lanes = [
    ...(expected ? [['expected', 'Expected', 20]] : []),
    ['reported', 'Reported', 20], ['motions-reported', 'Motion: reported', 14],
    ['motions-rejected', 'Motion: rejected', 14], ['motions-dropped', 'Motion: other', 14],
    ['rest-acc', 'Rest: acc', 12], ['rest-gyro', 'Rest: gyro', 12],
    ...kAxes.map((axis) => ['acc-' + axis, `Acc ${axis}, m/s²`, trace]),
    ...kAxes.map((axis) => ['gyro-' + axis, `Gyro ${axis}, °/s`, trace]),
  ];
  const left = narrow ? 0 : kLabelWidth;
  let top = 24;  // of the axis
  const laid = lanes.map(([name, label, height]) => {
    top += narrow ? 15 : 5;
    const lane = {name, label, top, height};
    top += height;
    return lane;
  });
  return {narrow, left, width: width - left, lanes: laid, height: top + 6};
}

class LaneDrawing {
  constructor(canvas, samples, marks) {
    this.canvas = canvas;
    this.samples = samples;
    this.marks = marks;  // {expected, reported, motions}: what is drawn as bands
    // One scale for a sensor's three axes.
    this.ranges = [0, 3].map((first) => {
      const tops = samples.channels.slice(first, first + 3).map((l) => l[l.length - 1]);
      const low = Math.min(...tops.flatMap((l) => [...l.low]), 0);
      const high = Math.max(...tops.flatMap((l) => [...l.high]), 0);
      return high > low ? [low, high] : [low, low + 1];
    });
  }

  x(t) {
    const {left, width} = this.layout;
    return left + (t - this.view.from) / (this.view.to - this.view.from) * width;
  }
  time(x) {
    const {left, width} = this.layout;
    return this.view.from + (x - left) / width * (this.view.to - this.view.from);
  }

  // Draws the view {from, to} with the chosen {begin, end}, if any, and the cursor.
  draw(view, chosen, cursor) {
    const width = this.canvas.clientWidth;
    if (width === 0) return;
    this.view = view;
    this.paint = paints();
    this.layout = layOut(width, {expected: this.marks.expected.length > 0});
    const scale = Math.max(devicePixelRatio, 1);
    this.canvas.width = Math.round(width * scale);
    this.canvas.height = Math.round(this.layout.height * scale);
    this.canvas.style.height = this.layout.height + 'px';
    const ctx = this.ctx = this.canvas.getContext('2d');
    ctx.scale(scale, scale);
    this.pixel = 1 / scale;
    ctx.font = '12px system-ui, sans-serif';
    ctx.textBaseline = 'middle';
    ctx.fillStyle = this.paint.paper;
    ctx.fillRect(0, 0, width, this.layout.height);
    this.drawAxis();
    if (chosen) this.drawChosen(chosen, false);
    ctx.save();
    ctx.beginPath();
    ctx.rect(this.layout.left, 0, this.layout.width, this.layout.height);
    ctx.clip();
    for (const lane of this.layout.lanes) this.drawLane(lane);
    this.drawGaps();
    if (chosen) this.drawChosen(chosen, true);
    if (cursor !== null) this.drawCursor(cursor);
    ctx.restore();
    this.drawLabels();
  }

  drawAxis() {
    const {ctx, paint, layout, view} = this;
    const [step, digits] = timeStep(view.to - view.from, layout.width / 84);
    const base = shownTime(0);
    ctx.fillStyle = paint.soft;
    ctx.strokeStyle = paint.rule;
    ctx.lineWidth = 1;
    ctx.textAlign = 'center';
    for (let k = Math.ceil((view.from + base) / step);; ++k) {
      const at = k * step - base;
      if (at > view.to) break;
      const x = Math.round(this.x(at)) + 0.5;
      ctx.beginPath();
      ctx.moveTo(x, 20);
      ctx.lineTo(x, layout.height);
      ctx.stroke();
      const half = ctx.measureText(clock(k * step, digits)).width / 2;
      if (x - half >= layout.left && x + half <= layout.left + layout.width) {
        ctx.fillText(clock(k * step, digits), x, 11);
      }
    }
  }

  drawLabels() {
    const {ctx, paint, layout} = this;
    ctx.textAlign = 'left';
    ctx.font = '12px system-ui, sans-serif';
    for (const lane of layout.lanes) {
      if (layout.narrow) {
        ctx.font = '11px system-ui, sans-serif';
        ctx.fillStyle = paint.soft;
        ctx.fillText(lane.label, 0, lane.top - 7);
        continue;
      }
      ctx.fillStyle = paint.paper;
      ctx.fillRect(0, lane.top - 2, layout.left - 1, lane.height + 4);
      ctx.fillStyle = paint.ink;
      ctx.fillText(lane.label, 0, lane.top + lane.height / 2);
    }
  }

  drawLane(lane) {
    const {ctx, paint, layout} = this;
    ctx.strokeStyle = paint.rule;
    ctx.lineWidth = 1;
    ctx.beginPath();
    ctx.moveTo(layout.left, lane.top + lane.height + 0.5);
    ctx.lineTo(layout.left + layout.width, lane.top + lane.height + 0.5);
    ctx.stroke();
    const [kind, axis] = lane.name.split('-');
    if (kind === 'rest') return this.drawRests(lane, axis === 'acc' ? kAcc : kGyro);
    if (kind === 'acc' || kind === 'gyro') {
      const sensor = kind === 'acc' ? 0 : 1;
      return this.drawChannel(lane, 3 * sensor + kAxes.indexOf(axis), this.ranges[sensor],
          paint['line-' + axis]);
    }
    this.drawBands(lane, this.marks.lanes[lane.name]);
  }

  // ---- bands ---------------------------------------------------------------------------

  // Where bands share pixels those that matter more are drawn above.
  drawBands(lane, bands) {
    const {view} = this;
    const seen = {};  // by look
    const shown = [];
    for (const band of bands) {
      if (band.end < view.from || band.begin > view.to) continue;
      const from = this.x(band.begin), to = this.x(band.end);
      if (to - from < 3) {
        const key = Math.round(from) * 4 + Math.round(to) - Math.round(from);
        const same = seen[band.look] ??= new Set();
        if (same.has(key)) continue;  // hides behind another
        same.add(key);
      }
      shown.push([band, from, Math.max(to, from + kThinnest)]);
    }
    shown.sort((a, b) => a[0].rank - b[0].rank);
    for (const [band, from, to] of shown) this.drawBand(lane, band, from, to);
    // Names overlap neither each other nor other bands.
    shown.sort((a, b) => a[1] - b[1]);
    const {left, width} = this.layout;
    shown.forEach(([band, from, to], k) => {
      const room = k + 1 < shown.length ? shown[k + 1][1] : left + width;
      this.nameBand(lane, band, Math.max(from, left), Math.min(to, left + width), room);
    });
  }

  drawBand(lane, band, from, to) {
    const {ctx, paint} = this;
    const height = lane.height * band.tall;
    const top = lane.top + lane.height - height;
    const width = to - from;
    const colour = paint[band.paint];
    if (band.look === 'full') {
      ctx.fillStyle = colour;
      ctx.fillRect(from, top, width, height);
    } else if (band.look === 'hatched') {
      ctx.fillStyle = colour;
      ctx.fillRect(from, top, width, height);
      if (width > 6) hatch(ctx, from + 1, top + 1, width - 2, height - 2, paint.paper, 6);
    } else if (width < 5) {
      ctx.fillStyle = colour;
      ctx.fillRect(from, top, width, height);
    } else {
      ctx.fillStyle = paint.paper;
      ctx.fillRect(from, top, width, height);
      ctx.strokeStyle = colour;
      ctx.lineWidth = band.look === 'dashed' ? 2 : 1;
      ctx.setLineDash(band.look === 'dashed' ? [4, 2] : []);
      ctx.strokeRect(from + 1, top + 1, width - 2, height - 2);
      ctx.setLineDash([]);
    }
  }

  // A name inside its band, or right of it where nothing else is up to `room`.
  nameBand(lane, band, from, to, room) {
    const {ctx, paint} = this;
    if (to - from < kShortest && room - to < kShortest) return;
    ctx.font = `${Math.min(12, lane.height - 3)}px system-ui, sans-serif`;
    const wide = ctx.measureText(band.name).width;
    const inside = to - from > wide + 6;
    if (!inside && (!band.outside || to + wide + 4 > room)) return;
    const x = inside ? from + 3 : to + 3;
    const y = lane.top + lane.height * (inside ? 1 - band.tall / 2 : 0.5) + 0.5;
    ctx.textAlign = 'left';
    if (band.look === 'hatched' || !inside) {  // so that no line crosses the name
      ctx.fillStyle = paint.paper;
      ctx.fillRect(x - 1, y - lane.height / 2 + 1, wide + 2, lane.height - 2);
    }
    ctx.fillStyle = band.look === 'full' && inside ? paint.paper : paint.ink;
    ctx.fillText(band.name, x, y);
  }

  // Solid where the sensor rests, hatched where nobody could say. Where a pixel holds many
  // runs it is as dark as the share of it that is at rest.
  drawRests(lane, sensor) {
    const {ctx, paint, samples: {runs, end}, view, layout} = this;
    const rests = (judged) => judged === sensor || judged === kBoth;
    const fill = (x, width) => ctx.fillRect(x, lane.top + 2, width, lane.height - 2);
    ctx.fillStyle = paint['mark-rest'];
    const shares = new Float32Array(Math.ceil(layout.width) + 1);  // of short runs
    const draw = (from, to, kind) => {
      const x = Math.max(this.x(from), layout.left);
      const width = Math.min(this.x(to), layout.left + layout.width) - x;
      if (width <= 0 || kind === 0 || kind === 2 && width < 2) return;
      if (kind === 2) return hatch(ctx, x, lane.top, width, lane.height, paint['mark-other'], 5);
      if (width >= 1) return fill(x, width);
      shares[Math.floor(x - layout.left)] += width;
    };
    const first = Math.max(placeAfter(runs.t, view.from) - 1, 0);
    let from = runs.t[first], kind = -1;
    for (let i = first; i < runs.t.length && runs.t[i] <= view.to; ++i) {
      const next = runs.judged[i] === kBlind ? 2 : rests(runs.judged[i]) ? 1 : 0;
      if (next === kind) continue;
      if (kind >= 0) draw(from, runs.t[i], kind);
      from = runs.t[i];
      kind = next;
    }
    if (kind >= 0) draw(from, placeAfter(runs.t, view.to) < runs.t.length ? view.to : end, kind);
    shares.forEach((share, column) => {
      ctx.globalAlpha = Math.min(share, 1);
      if (share > 0) fill(layout.left + column, 1);
    });
    ctx.globalAlpha = 1;
  }

  // ---- samples -------------------------------------------------------------------------

  drawChannel(lane, channel, [low, high], colour) {
    const {ctx, samples, view} = this;
    const y = (v) => lane.top + 2 + (high - v) / (high - low) * (lane.height - 4);
    ctx.strokeStyle = this.paint.rule;
    ctx.lineWidth = 1;
    ctx.beginPath();
    ctx.moveTo(this.layout.left, Math.round(y(0)) + 0.5);
    ctx.lineTo(this.layout.left + this.layout.width, Math.round(y(0)) + 0.5);
    ctx.stroke();
    ctx.fillStyle = ctx.strokeStyle = colour;
    const {t} = samples;
    const from = Math.max(placeAfter(t, view.from) - 2, 0);
    const to = Math.min(placeAfter(t, view.to) + 1, t.length);
    if (from >= to) return;
    const columns = this.layout.width / this.pixel;
    const levels = samples.channels[channel];
    if (samples.bucket === 1 && to - from <= columns) {
      return this.drawLine(t, levels[0].low, from, to, y);
    }
    const wholly = samples.bucket === 1 || to - from > columns ? []
        : samples.stretches.filter(({begin, end}) => end >= view.from && begin <= view.to)
            .map((stretch) => stretch.samples());
    this.drawEnvelope(levels, from, to, y, wholly.map(({t: times}) =>
      [this.x(times[0]), this.x(times[times.length - 1])]));
    for (const {t: times, values: {[channel]: values}} of wholly) {
      const last = times.length - 1;
      const first = Math.max(placeAfter(times, view.from) - 1, 0);
      const end = Math.min(placeAfter(times, view.to) + 1, last + 1);
      if (end - first <= columns) this.drawLine(times, values, first, end, y);
      else this.drawColumns(first, end, 1, (i) => times[Math.min(i, last)], values, values, y);
    }
  }

  // Filled from the least to the greatest of each pixel, from the level that has a few
  // buckets a pixel; `holes` are drawn otherwise.
  drawEnvelope(levels, from, to, y, holes) {
    const columns = this.layout.width / this.pixel;
    let level = 0, step = 1;
    while (level + 1 < levels.length && (to - from) / (step * kFactor) > 2 * columns) {
      ++level;
      step *= kFactor;
    }
    const {t, end} = this.samples;
    const {low, high} = levels[level];
    this.drawColumns(Math.floor(from / step), Math.min(Math.ceil(to / step), low.length),
        this.samples.bucket * step, (i) => i * step < t.length ? t[i * step] : end, low,
        high, y, holes);
  }

  // Buckets `from` to `to`, each from its time to the next one's.
  drawColumns(from, to, size, time, low, high, y, holes = []) {
    const {layout, pixel, ctx} = this;
    const columns = Math.ceil(layout.width / pixel);
    const least = new Float32Array(columns).fill(Infinity);
    const greatest = new Float32Array(columns).fill(-Infinity);
    const column = (t) => Math.floor((this.x(t) - layout.left) / pixel);
    const longest = size * kGapPeriods / this.samples.rate;
    for (let i = from; i < to; ++i) {
      const begin = time(i);
      const end = Math.min(time(i + 1), begin + longest);
      const first = Math.max(column(begin), 0);
      const last = Math.min(Math.max(column(end) - 1, first), columns - 1);
      for (let c = first; c <= last; ++c) {
        least[c] = Math.min(least[c], low[i]);
        greatest[c] = Math.max(greatest[c], high[i]);
      }
    }
    for (const [left, right] of holes) {
      const first = Math.max(Math.ceil((left - layout.left) / pixel), 0);
      const last = Math.min(Math.floor((right - layout.left) / pixel), columns);
      least.fill(Infinity, first, Math.max(last, first));
      greatest.fill(-Infinity, first, Math.max(last, first));
    }
    ctx.beginPath();
    for (let c = 0; c < columns; ++c) {
      if (least[c] > greatest[c]) continue;
      // What is between two neighbours was passed.
      const reach = c > 0 && least[c - 1] <= greatest[c - 1];
      const top = Math.floor(y(reach ? Math.max(greatest[c], least[c - 1]) : greatest[c]) /
          pixel);
      const bottom = Math.ceil(y(reach ? Math.min(least[c], greatest[c - 1]) : least[c]) /
          pixel);
      ctx.rect(layout.left + c * pixel, top * pixel, pixel, Math.max(bottom - top, 1) * pixel);
    }
    ctx.fill();
  }

  drawLine(t, values, from, to, y) {
    const {ctx, samples} = this;
    const gap = kGapPeriods / samples.rate;
    const wide = this.x(t[Math.min(from + 1, t.length - 1)]) - this.x(t[from]);
    ctx.lineWidth = 1.25;
    ctx.beginPath();
    for (let i = from; i < to; ++i) {
      const x = this.x(t[i]);
      if (i === from || samples.stamped && t[i] - t[i - 1] > gap) ctx.moveTo(x, y(values[i]));
      else ctx.lineTo(x, y(values[i]));
    }
    ctx.stroke();
    if (wide < 6) return;
    for (let i = from; i < to; ++i) ctx.fillRect(this.x(t[i]) - 1.5, y(values[i]) - 1.5, 3, 3);
  }

  // ---- above all lanes -----------------------------------------------------------------

  // Hatched where they have pixels, else a mark on the axis.
  drawGaps() {
    const {ctx, paint, samples: {gaps}, layout, view} = this;
    // What was expected stands there all the same.
    const top = layout.lanes.find(({name}) => name !== 'expected').top - 2;
    let marked = -Infinity;
    for (let i = Math.max(placeAfter(gaps.begin, view.from) - 1, 0);
      i < gaps.begin.length && gaps.begin[i] <= view.to; ++i) {
      const from = this.x(gaps.begin[i]), to = this.x(gaps.end[i]);
      if (to < layout.left) continue;
      if (to - from >= 3) {
        ctx.fillStyle = paint.paper;
        ctx.fillRect(from + 0.5, top, to - from - 1, layout.height - top);
        hatch(ctx, Math.max(from, layout.left), top,
            Math.min(to, layout.left + layout.width) - Math.max(from, layout.left),
            layout.height - top, paint['mark-gap'], 8);
        const text = 'no samples';
        if (to - from > 80) {
          ctx.font = '12px system-ui, sans-serif';
          const middle = (Math.max(from, layout.left) +
              Math.min(to, layout.left + layout.width)) / 2;
          ctx.textAlign = 'center';
          ctx.fillStyle = paint.paper;
          ctx.fillRect(middle - 36, top + 6, 72, 16);
          ctx.fillStyle = paint.ink;
          ctx.fillText(text, middle, top + 14);
        }
      } else if (from > marked + 4) {
        ctx.fillStyle = paint['mark-gap'];
        ctx.beginPath();
        ctx.moveTo(from - 3, 18);
        ctx.lineTo(from + 3, 18);
        ctx.lineTo(from, 24);
        ctx.fill();
        marked = from;
      }
    }
  }

  drawChosen({begin, end}, above) {
    const {ctx, paint, layout} = this;
    const from = this.x(begin), to = Math.max(this.x(end), from + 2);
    if (!above) {
      ctx.fillStyle = paint.chosen;
      ctx.fillRect(Math.max(from, layout.left), 20,
          Math.min(to, layout.left + layout.width) - Math.max(from, layout.left),
          layout.height - 20);
      return;
    }
    ctx.strokeStyle = paint.ink;
    ctx.lineWidth = 1.5;
    ctx.beginPath();
    for (const x of [from, to]) {
      ctx.moveTo(x, 20);
      ctx.lineTo(x, layout.height);
    }
    ctx.stroke();
    ctx.fillStyle = paint.ink;  // a bracket over the chosen one
    ctx.fillRect(from - 1, 19, to - from + 2, 4);
  }

  drawCursor(t) {
    const {ctx, paint, layout} = this;
    const x = this.x(t);
    ctx.strokeStyle = paint.soft;
    ctx.lineWidth = 1;
    ctx.setLineDash([3, 3]);
    ctx.beginPath();
    ctx.moveTo(x, 20);
    ctx.lineTo(x, layout.height);
    ctx.stroke();
    ctx.setLineDash([]);
  }
}
