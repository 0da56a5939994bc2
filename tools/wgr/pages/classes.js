// Draws one class of a model: its templates over all its examples, and what its threshold lets
// through.
'use strict';

const kMostDrawn = 150;   // examples of a class that are drawn over each other
const kMostBold = 12;     // templates of a class in that picture
const kSteps = 400;       // of the slider that tries a threshold

// Every so many of a list, so that no more than `most` are left.
const some = (list, most) => {
  const step = Math.ceil(list.length / most);
  return list.filter((_, i) => i % Math.max(step, 1) === 0);
};

// Exemplars over examples, an axis below the other.
function overlayFigure(data, examples, exemplars, axis) {
  const traces = examples.map((example) => example.trace[axis]);
  const bold = exemplars.map((e) => e.trace[axis]);
  const range = rangeOf([...traces, ...bold].map((values) => [values]));
  const longest = Math.max(...[...examples, ...exemplars].map((one) => lengthOf(data, one.trace)));
  const f = frame(pictureWidth(), 150, [0, longest], range);
  addLevels(f, ...range);
  const text = timeText(data);
  addFooter(f, text(0), kAxes[axis], text(longest));
  const add = (trace, kind) => f.picture.append(svg('path', {class: kind,
    d: pathOf(f, timesOf(data, trace), trace[axis])}));
  for (const example of examples) add(example.trace, `${kAxes[axis]} all`);
  for (const e of exemplars) add(e.trace, 'exemplar');
  return f.picture;
}

// How many of the sorted scores exceed a threshold.
function above(scores, threshold) {
  let low = 0, high = scores.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (scores[middle] > threshold) high = middle; else low = middle + 1;
  }
  return scores.length - low;
}

const kGroups = ['right', 'wrong', 'background'];

// The scores of what came out nearest to a class, ascending.
function scoresOf(data, label) {
  const groups = {right: [], wrong: [], background: []};
  for (const example of data.examples) {
    if (example.nearest_class !== label || example.score === null) continue;
    groups[example.label < 0 ? 'background' : example.label === label ? 'right' : 'wrong']
        .push(example.score);
  }
  for (const group of kGroups) groups[group].sort((a, b) => a - b);
  return groups;
}

// Which share of each group is accepted with each threshold.
function tradeOff(groups, thresholds) {
  const all = kGroups.flatMap((group) => groups[group]);
  // What is far below everything that decides would squeeze the rest.
  const best = ['wrong', 'background'].flatMap((group) => groups[group].slice(-1));
  const least = Math.max(1.05 * Math.min(...all, ...thresholds, -1e-3),
      1.2 * Math.min(...groups.right, ...thresholds, ...best));
  const width = pictureWidth();
  const f = frame(width, 200, [least, 0], [0, 100]);
  addLevels(f, 0, 100);
  addFooter(f, least.toFixed(2), 'threshold', '0');
  kGroups.forEach((group, row) => {
    const scores = groups[group];
    if (scores.length === 0) return;
    const share = (t) => 100 * above(scores, t) / scores.length;
    const t = [least], values = [share(least)];
    for (const score of scores) {
      if (score <= least) continue;
      t.push(score, score);
      values.push(values[values.length - 1], share(score));
      f.picture.append(svg('line', {class: `rug ${group}`, x1: f.x(score), x2: f.x(score),
        y1: f.bottom - 4 - 7 * row, y2: f.bottom - 10 - 7 * row}));
    }
    t.push(0);
    values.push(values[values.length - 1]);
    f.picture.append(svg('path', {class: group, d: pathOf(f, t, values)}));
  });
  const line = (kind, at) => svg('line', {class: kind, x1: f.x(at), x2: f.x(at), y1: f.top,
    y2: f.bottom});
  const tried = line('tried', thresholds[thresholds.length >> 1] ?? least);
  f.picture.append(tried);
  for (const threshold of thresholds) f.picture.append(line('limit', threshold));
  return {picture: f.picture, least, left: f.left / width, moveTo(at) {
    tried.setAttribute('x1', f.x(at));
    tried.setAttribute('x2', f.x(at));
  }};
}

function tradeOffFigure(data, c) {
  const groups = scoresOf(data, c.label);
  const total = kGroups.reduce((sum, group) => sum + groups[group].length, 0);
  if (total === 0) {
    return el('p', {class: 'note'}, 'No example is nearest to this class.');
  }
  const {picture, least, left, moveTo} = tradeOff(groups, c.thresholds);
  const result = figure('Accepted with each threshold, in percent: right examples of the ' +
      'class, wrong ones of other classes, and background that is nearest to it; below, ' +
      'the scores themselves. Dashed: the threshold', picture, kGroups);
  const start = c.thresholds[c.thresholds.length >> 1] ?? least;
  // Its value comes last: it is rounded to the steps that it knows.
  const slider = el('input', {type: 'range', min: least, max: 0, step: -least / kSteps,
    value: start, 'aria-label': `A threshold for ${nameOf(data, c.label)}`});
  slider.style.marginLeft = `${100 * left}%`;  // below its picture
  slider.style.width = `${98 - 100 * left}%`;
  const output = el('output');
  const showShares = (at) => {
    moveTo(at);
    const accepted = kGroups.filter((group) => groups[group].length > 0).map((group) =>
      `${above(groups[group], at)} of ${groups[group].length} ${group}`);
    output.textContent = `With ${at.toFixed(4)}: ${accepted.join(', ')} accepted.`;
    slider.setAttribute('aria-valuetext', output.textContent);
  };
  slider.addEventListener('input', () => showShares(Number(slider.value)));
  showShares(start);
  result.append(el('label', {class: 'try'}, 'Try a threshold', slider, output));
  return result;
}

function fillClass(body, data, c) {
  const own = data.examples.filter((example) => example.label === c.label && example.trace !== null);
  const used = new Map();
  for (const example of data.examples) {
    if (example.nearest !== null) used.set(example.nearest, (used.get(example.nearest) ?? 0) + 1);
  }
  const exemplars = data.exemplars.filter((e) => e.label === c.label);
  const right = own.filter(isRight).length;
  const facts = [
    ['examples compared', String(own.length)],
    ['of them right', String(right)],
    ['templates', String(exemplars.length)],
    [c.thresholds.length > 1 ? 'thresholds' : 'threshold',
      c.thresholds.length === 0 ? 'none'
      : c.thresholds.length === 1 ? c.thresholds[0].toFixed(4)
      : `${Math.min(...c.thresholds).toFixed(4)} to ${Math.max(...c.thresholds).toFixed(4)}`],
  ];
  if (c.note) facts.push(['chosen by', c.note]);
  body.append(el('dl', {}, ...facts.map(([name, value]) =>
    el('div', {}, el('dt', {}, name), el('dd', {}, value)))));
  const figures = el('div', {class: 'figures'});
  if (own.length + exemplars.length > 0) {
    const drawn = some(own, kMostDrawn);
    const bold = exemplars.map((e) => ({...e, used: used.get(data.exemplars.indexOf(e)) ?? 0}))
        .sort((a, b) => b.used - a.used).slice(0, kMostBold);
    const few = drawn.length < own.length ? ` (every ${Math.ceil(own.length / kMostDrawn)}. ` +
        'example)' : '';
    const most = bold.length < exemplars.length
        ? `the ${bold.length} templates that most examples are nearest to` : 'the templates';
    kAxes.forEach((axis, i) => figures.append(figure(i === 0
        ? `Acceleration along ${axis}, ${data.normalised ? 'times the strength' : 'm/s²'}: ` +
          `all examples of the class${few}, and in bold ${most}`
        : `The same along ${axis}`, overlayFigure(data, drawn, bold, i))));
  }
  figures.append(tradeOffFigure(data, c));
  body.append(figures);
}

function showClasses(data) {
  for (const c of data.classes) {
    const own = data.examples.filter((example) => example.label === c.label);
    const recall = data.matrix.rows.find((row) => row.label === c.label)?.recall;
    const right = own.filter(isRight).length;
    const body = el('div');
    const item = el('details', {class: 'card class', 'data-label': c.label},
        el('summary', {}, el('h3', {}, nameOf(data, c.label)),
            chip(right === own.length, `${right} of ${own.length} right` +
                (recall ? `: ${bounds(recall)} %` : ''))), body);
    item.addEventListener('toggle', () => {
      if (item.open && body.childElementCount === 0) fillClass(body, data, c);
    });
    $('#classes').append(item);
    if (c === data.classes[0]) item.open = true;
  }
}
