// Draws the report of a model: how it classified examples.
'use strict';

const kMostListed = 200;  // examples at a time
const kFarthest = 3;      // right examples of each class that are listed for being least alike
const kBinMs = 20;        // of the latencies
const kRejected = 'rejected';

const isNumber = (text) => /^-?\d+$/.test(text);
const plural = (n, word) => `${n} ${word}${n === 1 ? '' : 's'}`;
const percent = (share) => (100 * share).toFixed(1) + ' %';

// Background is right when nothing is made of it.
const isRight = (example) => example.label < 0 ? !isNumber(example.outcome)
                                         : example.outcome === String(example.label);
const nameOf = (data, label) => {
  if (label < 0) return 'background';
  const name = data.classes.find((c) => c.label === label)?.name;
  return name ? `class ${label} ${name}` : `class ${label}`;
};
const outcomeText = (example) => isNumber(example.outcome) ? `reported ${example.outcome}`
                                                     : example.outcome;
// A share with what it is with 95 % confidence each: "95.0 % (88.3 to 98.6)".
const shareOf = ({part, whole}) => whole > 0 ? part / whole : 0;
const bounds = ({least, most}) => `${(100 * least).toFixed(1)} to ${(100 * most).toFixed(1)}`;
const bounded = (share) => `${percent(shareOf(share))} (${bounds(share)})`;
const chip = (good, text) => el('span', {class: 'chip ' + (good ? 'right' : 'wrong')}, text);

// The times of a trace: seconds, or its points where the rate is not known. Fewer of its
// points may be drawn than it has.
const lengthOf = (data, trace) => (trace.points - 1) / (data.rate > 0 ? data.rate : 1);
const timesOf = (data, trace) => Float64Array.from(trace[0],
    (_, i) => lengthOf(data, trace) * i / Math.max(trace[0].length - 1, 1));
const timeText = (data) => data.rate > 0 ? seconds : (t) => `point ${t + 1}`;

function showHeader(data) {
  document.title = data.title;
  $('#title').textContent = data.title;
  $('#facts').textContent = data.facts.join(' ');
  for (const {what, good, share} of data.outcomes) {
    $('#counts').append(el('li', {}, chip(good,
        `${share.part} of ${share.whole} ${what}: ${bounds(share)} %`)));
  }
}

// ---- results ----------------------------------------------------------

const kMostMatrixClasses = 15;  // beyond that the worst pairs come first
const kMostPairs = 30;

// What was reported wrongly, the most frequent first.
function wrongPairs({matrix: {columns, rows}}) {
  return rows.flatMap((row) => row.counts.map((count, i) => ({label: row.label,
    outcome: columns[i], count, all: row.counts.reduce((sum, n) => sum + n, 0)})))
      .filter((pair) => pair.count > 0 && !isRight(pair))
      .sort((a, b) => b.count - a.count);
}

function showPairs(data, showExamples) {
  const pairs = wrongPairs(data);
  if (data.matrix.rows.length <= kMostMatrixClasses || pairs.length === 0) return;
  $('#pairs').append(plainTable('The worst pairs', ['Made', 'Reported', 'Examples', 'Of'],
      pairs.slice(0, kMostPairs).map((pair) => {
        const button = el('button', {type: 'button'}, String(pair.count));
        button.addEventListener('click', () => showExamples(pair.label, pair.outcome));
        return [nameOf(data, pair.label), outcomeName(data, pair.outcome), button,
          String(pair.all)];
      })));
}

const outcomeName = (data, outcome) =>
  isNumber(outcome) ? nameOf(data, Number(outcome)) : outcome;

function matrixTable(data, showExamples, inPercent) {
  const {columns, rows} = data.matrix;
  const shareCell = (share) => el('td', {}, ...share === null ? [el('span', {}, '–')]
      : [el('span', {}, percent(shareOf(share))), el('small', {}, bounds(share))]);
  const head = el('thead', {}, el('tr', {}, el('td', {}, 'made \\ reported'),
      ...[...columns.map((c) => outcomeName(data, c)), 'recall', 'precision'].map((c) =>
        el('th', {scope: 'col'}, c))));
  const body = el('tbody');
  for (const row of rows) {
    const all = row.counts.reduce((sum, n) => sum + n, 0);
    const cells = row.counts.map((count, i) => {
      if (count === 0) return el('td', {}, el('span', {}, '·'));
      const outcome = columns[i];
      const right = isRight({label: row.label, outcome});
      const button = el('button', {type: 'button', 'aria-label':
        `${plural(count, 'example')} of ${nameOf(data, row.label)}, reported as ` +
        `${outcomeName(data, outcome)}`},
      inPercent ? (100 * count / all).toFixed(1) : String(count));
      button.style.setProperty('--share', `${Math.round(12 + 18 * count / all)}%`);
      button.addEventListener('click', () => showExamples(row.label, outcome));
      return el('td', right ? {class: 'right'} : {}, button);
    });
    body.append(el('tr', {}, el('th', {scope: 'row'}, nameOf(data, row.label)), ...cells,
        ...[row.recall, row.precision].map(shareCell)));
  }
  return el('table', {}, head, body);
}

function showMatrix(data, showExamples) {
  const unit = $('#matrix-unit');
  const draw = () => $('#matrix').replaceChildren(
      matrixTable(data, showExamples, unit.value === 'percent'));
  unit.addEventListener('change', draw);
  showPairs(data, showExamples);
  draw();
}

// Bars of counts: [name, count] each.
function barFigure(bars) {
  const row = 26, width = pictureWidth();
  const most = Math.max(...bars.map(([, count]) => count));
  const picture = svg('svg', {viewBox: `0 0 ${width} ${bars.length * row * 1.5}`,
    role: 'img'});
  bars.forEach(([name, count], i) => {
    const y = i * row * 1.5;
    picture.append(svg('text', {x: 0, y: y + 13, class: 'strong'}, `${count}  ${name}`),
        svg('rect', {class: 'bar', x: 0, y: y + 19, height: 8, rx: 2,
          width: Math.max(width * count / most, 2)}));
  });
  return picture;
}

function latencyFigure(latencies) {
  const bins = new Map();
  for (const v of latencies) {
    const bin = Math.floor(v * 1000 / kBinMs);
    bins.set(bin, (bins.get(bin) ?? 0) + 1);
  }
  const first = Math.min(...bins.keys()), last = Math.max(...bins.keys()) + 1;
  const most = Math.max(...bins.values());
  const f = frame(pictureWidth(), 170, [first, last], [0, most]);
  addLevels(f, 0, most);
  addFooter(f, `${first * kBinMs} ms`, `examples in each ${kBinMs} ms`, `${last * kBinMs} ms`);
  for (const [bin, count] of bins) {
    f.picture.append(svg('rect', {class: 'bar', x: f.x(bin) + 1, y: f.y(count),
      width: Math.max(f.x(bin + 1) - f.x(bin) - 2, 1), height: f.bottom - f.y(count)}));
  }
  return f.picture;
}

function showMeasured(data) {
  const m = data.measured;
  $('#measured').append(el('dl', {}, ...m.facts.map(([name, value]) =>
    el('div', {}, el('dt', {}, name), el('dd', {}, value)))));
  const figures = el('div', {class: 'figures'});
  if (m.misses.length > 0) {
    figures.append(figure('Examples that were not reported as their class, by cause',
        barFigure(m.misses)));
  }
  if (m.latencies.length > 0) {
    figures.append(figure('Latency: from the labelled end of a repetition to its event',
        latencyFigure(m.latencies)));
  }
  $('#measured').append(figures);
  if (data.curve.points.length > 1) {
    $('#measured').append(el('div', {class: 'figures'}, curveFigure(data.curve)));
  }
  if (m.folds.length > 1) {
    $('#measured').append(plainTable('What was left out', ['Left out', 'Repetitions', 'Right',
      'Share', 'Templates', 'From examples'], m.folds.map((fold) => [fold.left_out,
      String(fold.right.whole), String(fold.right.part), bounded(fold.right),
      String(fold.templates), String(fold.examples)])));
  }
}

// ---- examples -----------------------------------------------------------------------------

// The stream around a false positive: the motion is marked in it.
function addStream(figures, stream) {
  const [t0, t1] = [stream.begin, stream.end];
  for (const [name, unit] of [['acc', 'm/s²'], ['gyro', 'deg/s']]) {
    const axes = stream[name].map(unpack);
    const t = Float64Array.from(axes[0], (_, i) => t0 + (t1 - t0) * i / Math.max(axes[0].length - 1, 1));
    figures.append(figure(`${name === 'acc' ? 'Acceleration' : 'Angular velocity'} 3 s before ` +
        'and after, x, y, z; the motion is marked', lineFigure(t,
        axes.map((values, i) => [values, kAxes[i]]), {active: stream.motion, unit})));
  }
}

function exampleFigures(data, example) {
  const figures = el('div', {class: 'figures'});
  if (example.stream !== null) addStream(figures, example.stream);
  if (example.trace === null) return figures;
  const shown = [[`This example, x, y, z`, example.trace]];
  const add = (title, place, score) => {
    const e = data.exemplars[place];
    shown.push([`${title}, ${e.name} of ${nameOf(data, e.label)}: x, y, z` +
        (score === null ? '' : `, score ${score.toFixed(4)}`), e.trace]);
  };
  if (example.nearest !== null) add('The nearest template', example.nearest, example.score);
  if (example.own !== null && example.own !== example.nearest) {
    add('The nearest of its own class', example.own, example.own_score);
  }
  const range = rangeOf(shown.flatMap(([, trace]) => trace.map((values) => [values])));
  const end = Math.max(...shown.map(([, trace]) => lengthOf(data, trace)));
  for (const [caption, trace] of shown) {
    figures.append(figure(caption, lineFigure(timesOf(data, trace),
        trace.map((values, i) => [values, kAxes[i]]),
        {range, end, unit: data.normalised ? 'times the strength' : 'm/s²',
          time: timeText(data)})));
  }
  return figures;
}

function exampleItem(data, example) {
  const body = el('div', {class: 'body'});
  const words = [];
  if (example.score !== null) {
    words.push(`Nearest to ${nameOf(data, example.nearest_class)} with ${example.score.toFixed(4)}` +
        (example.threshold === null ? '.' : `; more than ${example.threshold.toFixed(4)} is accepted.`));
  }
  if (example.why) words.push(example.why[0].toUpperCase() + example.why.slice(1) + '.');
  const item = el('details', {class: 'card example'}, el('summary', {},
      el('span', {class: 'when'}, example.name),
      el('span', {}, nameOf(data, example.label)),
      chip(isRight(example), outcomeText(example)),
      el('p', {class: 'why'}, words.join(' '))), body);
  item.addEventListener('toggle', () => {
    if (item.open && body.childElementCount === 0) body.append(exampleFigures(data, example));
  });
  return item;
}

const kOutstanding = 'outstanding';

// Wrong examples, the worst first; then the least alike of each class that are right.
function outstanding(data) {
  const score = (example) => example.score ?? -Infinity;
  const wrong = data.examples.filter((example) => !isRight(example));
  const far = data.classes.flatMap((c) =>
    data.examples.filter((example) => example.label === c.label && isRight(example) && example.score !== null)
        .sort((a, b) => a.score - b.score).slice(0, kFarthest));
  const byScore = (a, b) => score(a) - score(b);
  return [...wrong.sort(byScore), ...far.sort(byScore)];
}

function showExamples(data) {
  const filter = $('#filter');
  const lists = new Map([[kOutstanding, outstanding(data)]]);
  filter.append(el('option', {value: kOutstanding},
      `wrong ones, and the ${kFarthest} least alike of each class ` +
      `(${lists.get(kOutstanding).length})`));
  for (const row of data.matrix.rows) {
    data.matrix.columns.forEach((outcome, i) => {
      if (row.counts[i] === 0) return;
      const key = `${row.label} ${outcome}`;
      const list = data.examples.filter((example) =>
        example.label === row.label && example.outcome === outcome);
      lists.set(key, list);
      filter.append(el('option', {value: key}, `${nameOf(data, row.label)}, ` +
          `${isNumber(outcome) ? 'reported ' : ''}${outcome} (${list.length})`));
    });
  }
  const show = () => {
    const list = lists.get(filter.value);
    $('#list').replaceChildren(...list.slice(0, kMostListed).map((example) =>
      exampleItem(data, example)));
    if (list.length === 0) $('#list').append(el('p', {}, 'There is none.'));
    $('#left-out').hidden = list.length <= kMostListed;
    $('#left-out').textContent = `The first ${kMostListed} of ${list.length}.`;
  };
  filter.addEventListener('change', show);
  show();
  return (label, outcome) => {
    filter.value = `${label} ${outcome}`;
    show();
    $('#examples').scrollIntoView({block: 'start'});
    filter.focus({preventScroll: true});
  };
}

// ---- cost ------------------------------------------------------------------------------

// Where a picture of shares with their bounds begins, in percent.
const lowestShare = (shares) =>
  Math.floor(Math.min(...shares.map(({least}) => 100 * least), 95) / 5) * 5;
// From the least to the most that a share is.
const whisker = (f, at, {least, most}) => svg('path', {class: 'whisker',
  d: `M${f.x(at) - 3} ${f.y(100 * least)}h6m-3 0V${f.y(100 * most)}m-3 0h6`});

// Accuracy over templates, for every kind of templates that was tried.
function kindsFigure(kinds) {
  const most = Math.max(...kinds.map((step) => step.templates));
  const least = lowestShare(kinds.map((step) => step.right));
  const f = frame(pictureWidth(), 200, [0, most * 1.05], [least, 100]);
  addLevels(f, least, 100);
  addFooter(f, '0', 'templates', String(Math.round(most * 1.05)));
  for (const step of [...kinds].sort((a, b) => a.chosen - b.chosen)) {
    f.picture.append(whisker(f, step.templates, step.right), svg('circle', {
      cx: f.x(step.templates), cy: f.y(100 * shareOf(step.right)),
      r: step.chosen ? 6 : 4, class: step.chosen ? 'chosen' : ''}));
  }
  return f.picture;
}

function kindsTable(kinds, judgedBy) {
  const table = plainTable('Kinds tried', ['Kind of templates', 'Templates', 'Classified right',
    'Choice'], kinds.map((step) => [step.kind, String(step.templates),
    bounded(step.right), step.chosen ? 'chosen' : '']));
  table.firstChild.id = 'kinds';
  table.firstChild.prepend(el('caption', {}, `Kinds of templates that were tried, ${judgedBy}`));
  return table;
}

function showCost(data) {
  const {cost} = data;
  const kilobytes = (bytes) => (bytes / 1000).toFixed(1);
  const rows = cost.classes.map((c) => [nameOf(data, c.label), String(c.templates),
    String(c.points), c.milliseconds.toFixed(2), kilobytes(c.memory)]);
  rows.push(['all', String(cost.templates), String(cost.points), cost.milliseconds.toFixed(2),
    kilobytes(cost.memory)]);
  $('#cost').append(
      el('p', {class: 'hint'}, `A recognition takes at most ${cost.milliseconds.toFixed(1)} ms on ` +
        'a 32-bit ARM processor of 1000 million instructions a second, for a motion of ' +
        `${cost.usual_points} points: early abandoning leaves much of that out. In memory the ` +
        `templates take ${kilobytes(cost.memory)} kB, the file ${kilobytes(cost.file)} kB.` +
        (cost.note ? ' ' + cost.note : '')),
      plainTable('The cost', ['Class', 'Templates', 'Points', 'ms a recognition',
        'kB of memory'], rows));
  if (cost.kinds.length > 0) {
    $('#cost').append(kindsTable(cost.kinds, cost.judged_by),
        el('div', {class: 'figures'}, figure(
            `Classified right, ${cost.judged_by}, in percent, for each kind of templates ` +
            'that was tried: the chosen one is filled; the lines are bounds, each with 95 % ' +
            'confidence', kindsFigure(cost.kinds))));
  }
}

start((data) => {
  for (const one of [...data.examples, ...data.exemplars]) {
    if (one.trace === null) continue;
    one.trace = one.trace.map(unpack);
    one.trace.points = one.points;
  }
  showHeader(data);
  showOrigin(data.origin);
  const show = showExamples(data);
  showAdvice(data, show);
  showComparison(data);
  showMatrix(data, show);
  showMeasured(data);
  showMap(data);
  showClasses(data);
  showCost(data);
});
