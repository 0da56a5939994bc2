// What is known of one motion, of one expected gesture, of one rest.
'use strict';

const kRowHeight = 74;  // of one axis in a picture

// reported, rejected (reported as 5) or dropped
const outcome = (cause) => cause === 'reported' || cause === 'rejected' ? cause : 'dropped';
const chip = (cause, text) => el('span', {class: 'chip ' + outcome(cause)}, text);
const span = ({begin, end}, base = 0) =>
  `${clock(begin - base + shownTime(0))} to ${clock(end - base + shownTime(0))}`;

// The best templates as bars of their distance, minus the score, with the class's threshold.
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
    picture.append(svg('rect', {class: 'bar ' + (accepted ? 'accepted' : 'rejected'), x: left,
      y: y + 4, width: Math.max(x(-s.score) - left, 1), height: 16, rx: 2}));
    if (s.threshold !== null) {
      const at = x(-s.threshold);
      picture.append(svg('line', {class: 'tick', x1: at, x2: at, y1: y, y2: y + 24}));
    }
    picture.append(svg('text', {x: width, y: y + 16, 'text-anchor': 'end'},
        `${s.score.toFixed(4)} ${accepted ? '✓' : '✕'}`));
  });
  return picture;
}

// Filled from the least to the greatest of each bucket.
function envelopeOf({x, y}, t, values) {
  let upper = '', lower = '';
  for (let i = 0; i + 1 < values.length; i += 2) {
    const from = x(t[i / 2]), to = x(t[Math.min(i / 2 + 1, t.length - 1)]);
    const high = y(Math.max(values[i], values[i + 1])) - 0.5;
    const low = y(Math.min(values[i], values[i + 1])) + 0.5;
    upper += `${i === 0 ? 'M' : 'L'}${from.toFixed(1)} ${high.toFixed(1)}L${to.toFixed(1)} ` +
        high.toFixed(1);
    lower = `L${to.toFixed(1)} ${low.toFixed(1)}L${from.toFixed(1)} ${low.toFixed(1)}` + lower;
  }
  return upper + lower + 'Z';
}

// A line that ends where a step takes longer than `longest`.
function brokenPath({x, y}, t, values, longest) {
  let d = '';
  for (let i = 0; i < values.length; ++i) {
    const on = i > 0 && t[i] - t[i - 1] <= longest;
    d += `${on ? 'L' : 'M'}${x(t[i]).toFixed(1)} ${y(values[i]).toFixed(1)}`;
  }
  return d;
}

// Lines over time, one below the other so that none hides another: rows of {name, lines},
// a line {values, kind}. Values may be the extremes of buckets that begin at `t`.
function rowsFigure(t, rows, {active, limit, unit, thinned, longest = Infinity}) {
  const width = pictureWidth(), left = 44, right = 22, foot = 24;
  const all = rows.flatMap((row) => row.lines.map((line) => [line.values]));
  const [low, high] = rangeOf(all, 0, limit ?? 0);
  const last = t[t.length - 1];
  const x = (v) => left + (v - t[0]) / Math.max(last - t[0], 1e-9) * (width - left - right);
  const height = rows.length * kRowHeight + foot;
  const picture = svg('svg', {viewBox: `0 0 ${width} ${height}`, role: 'img'});
  rows.forEach((row, k) => {
    const top = k * kRowHeight + 8, bottom = top + kRowHeight - 16;
    const y = (v) => top + (high - v) / (high - low) * (bottom - top);
    if (active) {
      picture.append(svg('rect', {class: 'active', x: x(active[0]), y: top,
        width: Math.max(x(active[1]) - x(active[0]), 1), height: bottom - top}));
    }
    addLevels({picture, left, right: width - right, y}, low, high);
    picture.append(svg('text', {x: width, y: (top + bottom) / 2 + 4, class: 'strong',
      'text-anchor': 'end'}, row.name));
    for (const {values, kind} of row.lines) {
      picture.append(svg('path', thinned
          ? {class: kind + ' filled', d: envelopeOf({x, y}, t, values)}
          : {class: kind, d: brokenPath({x, y}, t, values, longest)}));
    }
    if (limit !== undefined) {
      picture.append(svg('line', {class: 'limit', x1: left, x2: width - right, y1: y(limit),
        y2: y(limit)}));
    }
  });
  addFooter({picture, left, right: width - right, bottom: height - foot},
      clock(shownTime(t[0])), unit, clock(shownTime(last)));
  return picture;
}

function traceFigures(m, trace, {normalised, explanation}) {
  const longest = kGapPeriods / explanation.settings.rate;
  const figures = [];
  const thinned = trace.bucket > 1;
  const note = thinned ? ` (thinned: minimum and maximum of every ${trace.bucket} samples)`
      : '';
  const rows = (axes) => axes.map((values, k) =>
    ({name: kAxes[k], lines: [{values, kind: kAxes[k]}]}));
  if (trace.corrected[0].length > 0) {
    figures.push(figure('Acceleration x, y, z without gravity, turned into one frame; the ' +
        'active stretch is shaded' + note, rowsFigure(trace.t, rows(trace.corrected),
        {active: trace.active, unit: 'm/s²', thinned, longest})));
  }
  if (trace.speed.length > 0) {
    const t = thinned ? trace.t : trace.t.slice(1);
    figures.push(figure('Speed; both ends are trimmed where it is below the dashed line' +
        note, rowsFigure(t, [{name: '', lines: [{values: trace.speed, kind: 'speed'}]}],
        {limit: m.fast_from, active: trace.active, unit: 'm/s', thinned, longest})));
  }
  if (trace.compared) {
    const best = m.best_templates[0];
    figures.push(figure(`The compared trace, x, y, z; dotted: the best template, no. ` +
        `${best.template} of class ${best.class}, laid over it along the warping path`,
    rowsFigure(trace.compared_t, trace.compared.map((values, k) => ({name: kAxes[k], lines: [
      {values, kind: kAxes[k]}, {values: trace.template[k], kind: kAxes[k] + ' template'}]})),
    {unit: normalised ? 'times the strength' : 'm/s²', longest})));
  }
  return figures;
}

function motionDetails(m, trace, data) {
  const {settings} = data.explanation;
  const facts = [
    ['collected', `${m.collected} samples`],
    ['pre-roll', `${m.preroll} samples`],
    ['trimmed', `${m.trimmed} samples`],
    ['judged', clock(m.judged - data.origin.first_stamp + shownTime(0))],
    ['active stretch', `${m.active_samples} samples, ${m.duration_ms.toFixed(0)} ms`],
    ['starts / ends fast', `${m.starts_fast ? 'yes' : 'no'} / ${m.ends_fast ? 'yes' : 'no'}`],
  ];
  if (m.lost_at !== null) facts.push(['attitude lost at', `sample ${m.lost_at + 1}`]);
  if (m.strength !== null) {
    facts.push(['strength', `${m.strength.toFixed(3)} of at least ` +
        `${settings.least_strength.toFixed(3)} m/s²`]);
  }
  const figures = el('div', {class: 'figures'});
  if (trace === null && m.collected > 0) {
    figures.append(el('p', {class: 'note'},
        'Its samples are left out to keep the page small.'));
  }
  if (trace !== null) figures.append(...traceFigures(m, trace, data));
  if (m.best_templates.length > 0) {
    figures.append(figure('The best templates: shorter is more alike; a bar that reaches ' +
        'its mark, the threshold of its class, is rejected (✕)', scoreFigure(m.best_templates)));
  }
  return [el('p', {class: 'why'}, m.sentence), el('dl', {}, ...facts.map(([name, value]) =>
    el('div', {}, el('dt', {}, name), el('dd', {}, value)))), figures];
}
