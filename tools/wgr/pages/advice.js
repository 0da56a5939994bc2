// Draws what the page of a model says first: whether it is ready, why, and what to do next;
// then what changed since an earlier evaluation, the map of all examples, and how accuracy
// grows with what is recorded.
'use strict';

const kMapSize = 560;   // of the map's picture, at most
const kDot = 4.5;       // half the size of a dot
const kShapes = 6;
const kMostRows = 12;   // of a list, until all are asked for

const sentence = (text) => text[0].toUpperCase() + text.slice(1) + (/[.!?]$/.test(text) ? '' : '.');

// A table with heads, which scrolls by itself where it is wide.
function plainTable(name, heads, rows) {
  return el('div', {class: 'wide', tabindex: 0, role: 'region', 'aria-label': name},
      el('table', {class: 'plain'},
          el('thead', {}, el('tr', {}, ...heads.map((head) => el('th', {scope: 'col'}, head)))),
          el('tbody', {}, ...rows.map(([first, ...rest]) => el('tr', {},
              el('th', {scope: 'row'}, first),
              ...rest.map((cell) => el('td', {}, cell)))))));
}

function showAdvice({advice}, showExamples) {
  const box = el('div', {class: 'answer' + (advice.ready ? '' : ' fault')},
      el('h2', {}, advice.headline + (advice.ready ? '' : ', because')),
      el('ul', {class: 'reasons'}, ...advice.reasons.map(({good, text}) =>
        el('li', {class: good ? 'good' : 'missed'},
            el('span', {class: 'mark'}, good ? 'reached' : 'not reached'), ' ', text))));
  if (advice.caveats.length > 0) {
    box.append(el('h3', {}, 'Limits of these results'), el('ul', {class: 'caveats'},
        ...advice.caveats.map((text) => el('li', {}, sentence(text)))));
  }
  $('#advice').append(box);
  if (advice.next.length > 0) {
    $('#advice').append(el('h2', {}, 'What to do next'), el('ol', {class: 'next'},
        ...advice.next.map(({text, label, outcome}) => {
          const item = el('li', {}, text);
          if (label === null) return item;
          const button = el('button', {type: 'button'}, 'Show them');
          button.addEventListener('click', () => showExamples(label, outcome));
          item.append(' ', button);
          return item;
        })));
  }
  if (advice.subjects.length > 1) {
    const worst = [...advice.subjects].sort((a, b) =>
      a.right / a.examples - b.right / b.examples);
    $('#advice').append(el('details', {}, el('summary', {}, 'Subjects, the worst first'),
        plainTable('Subjects', ['Subject', 'Right', 'Of', 'Share', 'No less than'],
            worst.map((s) => [s.name, String(s.right), String(s.examples),
              percent(s.right / s.examples), percent(s.least)]))));
  }
}

// ---- compared with an earlier evaluation ----------------------------------------------

const kUnits = {
  share: (v) => percent(v), count: (v) => String(v), s: (v) => `${(1000 * v).toFixed(0)} ms`,
  'an hour': (v) => `${v.toFixed(2)} an hour`,
};
const kGroupNames = {figures: 'Figures', classes: 'Classes', outcomes: 'What was reported',
  misses: 'Causes of misses'};

// "-2.0 to +5.1 points", of counts too: of what they are counted from.
const kIntervals = {share: [100, 1, 'points'], count: [100, 1, 'points'], s: [1000, 0, 'ms'],
  'an hour': [1, 2, 'an hour']};
function intervalText({unit, low_95: low, high_95: high}) {
  const [scale, digits, name] = kIntervals[unit];
  const signed = (v) => (v < 0 ? '−' : '+') + Math.abs(scale * v).toFixed(digits);
  return `${signed(low)} to ${signed(high)} ${name}`;
}
function senseOf(one) {
  const same = one.old === one.new;
  if (one.old === null || one.new === null) return '';
  if (one.chance === null) return same ? 'as before' : 'no interval is known';
  const sense = same ? 'as before' : one.chance ? 'no more than chance'
    : one.better === null ? 'differs' : chip(one.better, one.better ? 'better' : 'worse');
  return el('span', {}, sense, ` (${intervalText(one)})`);
}

function showComparison({comparison}) {
  if (comparison === null) return;
  const section = $('#comparison');
  section.hidden = false;
  section.append(el('p', {class: 'hint'}, `With ${comparison.with}. In brackets the ` +
      'difference at 95 % confidence; of counts, that of their shares.' +
      (comparison.same_set ? '' : ' Their recordings differ: counts cannot be compared.')));
  const text = (value, unit) => value === null ? '–' : kUnits[unit](value);
  for (const [group, name] of Object.entries(kGroupNames)) {
    const rows = comparison.changes.filter((one) => one.group === group).map((one) => [one.name,
      text(one.old, one.unit), text(one.new, one.unit), senseOf(one)]);
    if (rows.length === 0) continue;
    const table = (some) => plainTable(name, [name, 'Before', 'Now', 'Change'], some);
    section.append(table(rows.slice(0, kMostRows)));
    if (rows.length > kMostRows) {
      section.append(el('details', {}, el('summary', {},
          `${rows.length - kMostRows} smaller changes`), table(rows.slice(kMostRows))));
    }
  }
}

// ---- the map ----------------------------------------------------------------------------

// Classes differ by shape and colour, so that either is enough with the other's help.
function dotPath(shape, x, y) {
  const r = kDot;
  switch (shape % kShapes) {
    case 0: return `M${x - r} ${y}a${r} ${r} 0 1 0 ${2 * r} 0a${r} ${r} 0 1 0 ${-2 * r} 0Z`;
    case 1: return `M${x - r} ${y - r}h${2 * r}v${2 * r}h${-2 * r}Z`;
    case 2: return `M${x} ${y - r - 1}l${r + 1} ${2 * r}h${-2 * r - 2}Z`;
    case 3: return `M${x} ${y - r - 2}l${r + 2} ${r + 2}l${-r - 2} ${r + 2}l${-r - 2} ${-r - 2}Z`;
    case 4: return `M${x} ${y + r + 1}l${r + 1} ${-2 * r}h${-2 * r - 2}Z`;
    default: return `M${x - r} ${y - 1.5}h${r - 1.5}v${1.5 - r}h3v${r - 1.5}h${r - 1.5}v3h${1.5 - r}` +
        `v${r - 1.5}h-3v${1.5 - r}h${1.5 - r}Z`;
  }
}

// A class's number among those of the map, which gives its shape and colour.
const kHues = ['x', 'y', 'speed', 'z', 'ink'];
const dotClass = (index) => `dot hue-${kHues[index % kHues.length]}`;

function drawMap(data, known, chosen) {
  const size = Math.min(kMapSize, Math.max($('main').clientWidth - 8, 280));
  const at = ([x, y]) => [12 + (x + 1000) / 2000 * (size - 24), 12 + (1000 - y) / 2000 * (size - 24)]
      .map((v) => Math.round(10 * v) / 10);
  const picture = svg('svg', {viewBox: `0 0 ${size} ${size}`, role: 'img', 'aria-label':
    'Every example as a dot: the closer two are, the more alike; templates are ringed'});
  picture.style.maxWidth = `${size}px`;
  const order = data.classes.map((c) => c.label);
  const dots = [];
  data.map.points.forEach((point, i) => {
    if (point === null) return;
    const template = i < data.exemplars.length;
    const one = template ? data.exemplars[i] : data.examples[i - data.exemplars.length];
    if (!known(one)) return;
    const [x, y] = at(point);
    const kind = order.indexOf(one.label);
    if (template) {
      picture.append(svg('circle', {class: 'template-ring', cx: x, cy: y, r: 2 * kDot}));
    }
    const wrong = !template && !isRight(one);
    const dot = svg('path', {d: kind < 0 ? `M${x - 3} ${y - 3}l6 6M${x + 3} ${y - 3}l-6 6`
        : dotPath(kind, x, y), class: kind < 0 ? 'dot cross' : dotClass(kind) +
          (wrong ? ' missed' : '')});
    if (!template) dots.push({x, y, dot, example: one});
    picture.append(dot);
  });
  // One place for pointer and keyboard: dots lie too close to be touched one by one.
  picture.addEventListener('click', (event) => {
    const box = picture.getBoundingClientRect();
    const [x, y] = [event.clientX - box.left, event.clientY - box.top].map((v) =>
      v * size / box.width);
    let near = null;
    for (const dot of dots) {
      const distance = Math.hypot(dot.x - x, dot.y - y);
      if (distance < (near?.distance ?? 22)) near = {...dot, distance};
    }
    if (near !== null) chosen(near.example, near.dot);
  });
  return {picture, dots};
}

function showMap(data) {
  const section = $('#map');
  const drawn = data.map.points.filter((point) => point !== null).length;
  if (drawn === 0) {
    section.append(el('p', {class: 'note'}, 'There are too few examples for a map.'));
    return;
  }
  const legend = el('ul', {class: 'legend'}, ...data.classes.map((c, i) => el('li', {},
      svg('svg', {viewBox: '0 0 16 16', 'aria-hidden': 'true'},
          svg('path', {d: dotPath(i, 8, 8), class: dotClass(i)})), nameOf(data, c.label))));
  const select = el('select', {'aria-label': 'Classes on the map'},
      el('option', {value: ''}, 'all classes'), ...data.classes.map((c) =>
        el('option', {value: c.label}, nameOf(data, c.label))));
  const stepper = el('button', {type: 'button'}, 'Next wrong one');
  const place = el('div', {class: 'map'}), details = el('div', {'aria-live': 'polite'});
  let dots = [], marked = null, wrongAt = -1;
  const choose = (example, dot) => {
    marked?.classList.remove('marked');
    (marked = dot).classList.add('marked');
    const item = exampleItem(data, example);
    item.open = true;
    details.replaceChildren(item);
  };
  const draw = () => {
    const label = select.value === '' ? null : Number(select.value);
    const map = drawMap(data, (one) => label === null || one.label === label, choose);
    dots = map.dots;
    place.replaceChildren(map.picture);
    marked = null;
    wrongAt = -1;
    stepper.disabled = !dots.some(({example}) => !isRight(example));
  };
  select.addEventListener('change', draw);
  stepper.addEventListener('click', () => {
    const wrong = dots.filter(({example}) => !isRight(example));
    wrongAt = (wrongAt + 1) % wrong.length;
    choose(wrong[wrongAt].example, wrong[wrongAt].dot);
  });
  section.append(el('p', {class: 'hint'}, 'Each mark is an example: the closer two are, the more ' +
      'alike. Filled: reported as their class; hollow: not; ringed: a template; crosses: ' +
      'background. A mark opens its motion over its nearest template. The two directions hold ' +
      `${percent(data.map.held)} of how the examples differ.`),
  legend, el('div', {class: 'tools'}, el('label', {}, 'Show ', select), stepper), place, details);
  draw();
}

// ---- would more help? -------------------------------------------------------------------

function curveFigure({points, people}) {
  const least = lowestShare(points.map(({right}) => right));
  const most = points[points.length - 1].from;
  const f = frame(pictureWidth(), 190, [0, most], [least, 100]);
  addLevels(f, least, 100);
  addFooter(f, '0', people ? 'people' : 'repetitions of each class', most.toFixed(0));
  f.picture.append(svg('path', {class: 'right', d: pathOf(f, points.map(({from}) => from),
      points.map(({right}) => 100 * shareOf(right)))}));
  for (const {from, right} of points) {
    f.picture.append(whisker(f, from, right), svg('circle', {class: 'chosen', cx: f.x(from),
      cy: f.y(100 * shareOf(right)), r: 3}));
  }
  return figure('Classified right, in percent, by the nearest example of so many ' +
      (people ? 'other people' : 'other repetitions') + '; the ' +
      'lines are bounds, each with 95 % confidence',
  f.picture);
}
