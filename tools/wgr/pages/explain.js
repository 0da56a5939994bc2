// Draws the explanation of a recording: what happened to each motion.
'use strict';

const kManyShort = 20;  // motions that are too short: out of the way at first

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

// ---- one motion ------------------------------------------------------------------------

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
    picture.append(svg('rect', {class: 'bar ' + (accepted ? 'accepted' : 'rejected'), x: left,
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
        'its mark, the threshold of its class, is rejected', scoreFigure(m.best_templates)));
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
    const item = el('details', {class: 'card motion', 'data-cause': m.cause}, title, body);
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

start((data) => {
  showHeader(data.explanation);
  const stream = unpack(data.stream.t).length > 1 ? makeStream(data) :
    {setView() {}, charts: () => []};
  window.report = stream;  // for those who look into it with the browser's console
  const openMotion = showMotions(data, stream);
  showVerdict(data.explanation, openMotion);
  showRests(data.explanation);
});
