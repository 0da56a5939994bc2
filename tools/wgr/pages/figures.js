// Pictures as inline SVG.
'use strict';

// Pictures are drawn for the width they get, so that their letters stay readable.
const pictureWidth = () => Math.max(Math.min(480, $('main').clientWidth - 32), 240);

// The frame of a picture: places for values, and room around it for their names.
function frame(width, height, [x0, x1], [low, high]) {
  const left = 44, right = 8, top = 8, bottom = 24;
  const x = (v) => left + (v - x0) / Math.max(x1 - x0, 1e-9) * (width - left - right);
  const y = (v) => top + (high - v) / (high - low) * (height - top - bottom);
  return {left, right: width - right, top, bottom: height - bottom, x, y,
    picture: svg('svg', {viewBox: `0 0 ${width} ${height}`, role: 'img'})};
}

// Level lines with their numbers; 0 where it does not crowd them.
function addLevels({picture, left, right, y}, low, high) {
  for (const mark of new Set([low, high, 0])) {
    if (mark === 0 && (y(0) - y(high) < 12 && high !== 0 || y(low) - y(0) < 12 && low !== 0))
      continue;
    picture.append(svg('line', {class: 'grid', x1: left, x2: right, y1: y(mark),
      y2: y(mark)}), svg('text', {x: left - 5, y: y(mark) + 4, 'text-anchor': 'end'},
      Number.isInteger(mark) ? String(mark) : mark.toFixed(Math.abs(mark) < 10 ? 1 : 0)));
  }
}

// What is written below a frame: at its left, in its middle, at its right.
function addFooter({picture, left, right, bottom}, first, middle, last) {
  const y = bottom + 18;
  picture.append(svg('text', {x: left, y}, first),
      svg('text', {x: right, y, 'text-anchor': 'end'}, last),
      svg('text', {x: (left + right) / 2, y, 'text-anchor': 'middle'}, middle));
}

function pathOf({x, y}, t, values) {
  let d = '';
  for (let i = 0; i < values.length; ++i) {
    d += (i === 0 ? 'M' : 'L') + x(t[i]).toFixed(1) + ' ' + y(values[i]).toFixed(1);
  }
  return d;
}

function rangeOf(lines, low = 0, high = 0) {
  for (const [values] of lines) {
    for (const v of values) { low = Math.min(low, v); high = Math.max(high, v); }
  }
  return high === low ? [low, low + 1] : [low, high];
}

// Lines over time in one frame: [values, class] each, on the times of `t`. `range` and
// `end` are those of values and times unless they are given; `time` writes a time.
function lineFigure(t, lines, {limit, active, unit, range, end, time = seconds}) {
  const [low, high] = range ?? rangeOf(lines, 0, limit ?? 0);
  const last = end ?? t[t.length - 1];
  const f = frame(pictureWidth(), 190, [t[0], last], [low, high]);
  if (active) {
    f.picture.append(svg('rect', {class: 'active', x: f.x(active[0]), y: f.top,
      width: Math.max(f.x(active[1]) - f.x(active[0]), 1), height: f.bottom - f.top}));
  }
  addLevels(f, low, high);
  addFooter(f, time(t[0]), unit, time(last));
  for (const [values, kind] of lines) {
    f.picture.append(svg('path', {class: kind, d: pathOf(f, t, values)}));
  }
  if (limit !== undefined) {
    f.picture.append(svg('line', {class: 'limit', x1: f.left, x2: f.right, y1: f.y(limit),
      y2: f.y(limit)}));
  }
  return f.picture;
}

// A picture with its caption, in which x, y and z, and the words of `named`, have the
// colour of their line.
function figure(caption, picture, named = []) {
  const words = el('figcaption', {class: 'figure-key'});
  for (const part of caption.split(new RegExp(`\\b(${[...kAxes, ...named].join('|')})\\b`))) {
    words.append(kAxes.includes(part) || named.includes(part)
        ? el('b', {class: part}, part) : part);
  }
  picture.setAttribute('aria-label', caption);
  return el('figure', {}, picture, words);
}
