// Shows the explanation of a recording: its time line, the motions, and one in detail.
'use strict';

const kManyShort = 20;   // motions that are too short: out of the way at first
const kMoment = 5;       // s around the moment that a link names
const kSecondsADay = 86400;

const counted = (n, one, many = one + 's') =>
  `${n.toLocaleString('en')} ${n === 1 ? one : many}`;

function showHeader(e) {
  const s = e.settings;
  const name = e.recording.split('/').pop();
  document.title = name + ' explained';
  $('#title').textContent = name;
  $('#facts').textContent =
      `${e.samples.toLocaleString('en')} samples at ${s.rate} samples/s. Shortest motion ` +
      `${s.shortest_motion} samples, rest window ${s.rest_window} samples, least strength ` +
      `${s.least_strength.toFixed(2)} m/s². Model for wearer ${s.wearer}, mode ${s.mode}: ` +
      `${e.model.templates} templates of ${e.model.classes.length} classes.`;
  const counts = new Map();
  for (const m of e.motions) counts.set(m.cause, (counts.get(m.cause) ?? 0) + 1);
  for (const [cause, count] of [...counts].sort((a, b) => b[1] - a[1])) {
    $('#counts').append(el('li', {}, chip(cause, `${count.toLocaleString('en')} ${cause}`)));
  }
}

function showFooter({origin}, samples) {
  const first = origin.first_stamp;
  const more = [samples.count === 0 ? 'no samples' : Math.abs(first) < kEpoch
      ? `recorded ${clock(samples.end, 1)} from stamp ${first.toFixed(3)} s on; its stamps ` +
        'hold no date'
      : `recorded ${dateText(first)}, shown as 0:00:00`];
  if (!samples.stamped) more.push('the clock steps back: drawn at the nominal sample rate');
  showOrigin(origin, more);
}

// What the time line draws as bands; `rank`: the greater is drawn above.
function makeMarks(data, samples) {
  const {explanation: e} = data;
  const base = samples.origin;
  const wanted = new Set(e.expected.filter((x) => x.recognised).map((x) => x.motion - 1));
  const unexpected = (i) => e.expected.length > 0 && !wanted.has(i);
  const expected = e.expected.map((x, i) => ({begin: x.begin - base, end: x.end - base,
    item: {kind: 'expected', i}, missed: !x.recognised, outside: true, ...(x.recognised
      ? {look: 'empty', paint: 'mark-good', rank: 0, tall: 0.7, name: `${kGlyphs.came} ${x.class}`}
      : {look: 'dashed', paint: 'mark-bad', rank: 1, tall: 1,
        name: `${kGlyphs.missed} ${x.class}`})}));
  const motions = e.motions.map((m, i) => ({...samples.bands[i], item: {kind: 'motion', i},
    ...(m.cause === 'reported'
      ? {look: 'full', paint: 'mark-good', rank: 2, tall: 1, name: `reported ${m.reported}`}
      : m.cause === 'rejected'
        ? {look: 'hatched', paint: 'mark-bad', rank: 1, tall: 1, name: 'rejected'}
        : {look: 'empty', paint: 'mark-other', rank: 0, tall: 1, name: m.cause})}));
  const of = e.motions.map((m, i) => i).filter((i) => e.motions[i].cause === 'reported');
  const reported = samples.events.filter((event) => event.class !== 5).map((event, k) => {
    const odd = of[k] !== undefined && unexpected(of[k]);
    return {begin: event.t, end: event.t, outside: true, look: 'full',
      item: of[k] === undefined ? null : {kind: 'motion', i: of[k]},
      paint: odd ? 'mark-bad' : 'mark-good', rank: odd ? 1 : 0, tall: odd ? 1 : 0.7,
      name: `${odd ? kGlyphs.unexpected : kGlyphs.reported} ${event.class}`};
  });
  const rests = samples.rests.map((r, i) => ({...r, item: {kind: 'rest', i}}));
  const ended = (how) => motions.filter(({item}) => outcome(e.motions[item.i].cause) === how);
  const lanes = {expected, reported, 'motions-reported': ended('reported'),
    'motions-rejected': ended('rejected'), 'motions-dropped': ended('dropped')};
  return {expected, reported, motions, rests, lanes, unexpected};
}

// What the filter offers: [value, text, items].
function choices(e, marks) {
  const of = (kind, items, keep) => items.flatMap((one, i) => keep(one, i) ? [{kind, i}] : []);
  const motions = (keep) => of('motion', e.motions, keep);
  const all = [];
  const add = (value, name, items, always = false) => {
    if (items.length > 0 || always) all.push([value, `${name} (${items.length})`, items]);
  };
  add('missed', 'missed', of('expected', e.expected, (x) => !x.recognised));
  add('unexpected', 'reported, not expected',
      motions((m, i) => m.cause === 'reported' && marks.unexpected(i)));
  add('expected', 'expected', of('expected', e.expected, () => true));
  const short = e.motions.filter((m) => m.cause === 'too-short').length;
  if (short > 0) add('long', 'motions, all but too-short', motions((m) => m.cause !== 'too-short'));
  add('', 'all motions', motions(() => true), true);
  const causes = new Map();
  e.motions.forEach(({cause}, i) => {
    if (!causes.has(cause)) causes.set(cause, []);
    causes.get(cause).push({kind: 'motion', i});
  });
  for (const [cause, items] of [...causes].sort((a, b) => b[1].length - a[1].length)) {
    add(cause, cause, items);
  }
  add('rests', 'at rest', of('rest', e.rests, () => true));
  const first = all[0][0] === 'missed' ? 'missed' : short > kManyShort ? 'long' : '';
  return [all, first];
}

class Report {
  constructor(data, samples) {
    this.data = data;
    this.samples = samples;
    this.e = data.explanation;
    this.chosen = null;
    this.marks = makeMarks(data, samples);
    this.order = this.e.expected.map((x, i) => i).filter((i) => !this.e.expected[i].recognised)
        .sort((a, b) => this.e.expected[a].begin - this.e.expected[b].begin);
    for (const button of document.querySelectorAll('[data-view$=missed]')) {
      button.hidden = this.order.length === 0;
    }
    this.list = makeList($('#list'), {fill: (item) => this.row(item),
      choose: (item) => this.choose(item)});
    this.makeFilter();
    if (samples.count > 0) {
      this.timeline = makeTimeline(samples, this.marks, {
        choose: (item) => this.choose(item),
        step: (side, missed) => this.step(side, missed)});
    } else {
      $('#stream').replaceChildren(el('p', {}, 'The recording has no samples.'));
    }
    addEventListener('hashchange', () => this.followLink());
    this.followLink();
  }

  band({kind, i}) {
    return this.marks[{motion: 'motions', expected: 'expected', rest: 'rests'}[kind]][i];
  }

  makeFilter() {
    const [all, first] = choices(this.e, this.marks);
    const filter = $('#filter');
    filter.append(...all.map(([value, text]) => el('option', {value}, text)));
    filter.value = first;
    const empty = {'': 'The recording has no motion.'};
    const show = () => {
      const items = all.find(([value]) => value === filter.value)[2];
      $('#list').hidden = items.length === 0;
      $('#empty').hidden = items.length > 0;
      $('#empty').textContent = empty[filter.value] ?? '';
      $('#printed').textContent = items.length <= kPrinted ? '' :
        `${counted(items.length - kPrinted, 'more row')}: wgr explain prints all of them.`;
      this.list.show(items);
      if (this.chosen) this.list.mark((item) => this.same(item));
    };
    filter.addEventListener('change', show);
    show();
  }

  same(item) {
    return this.chosen !== null && item.kind === this.chosen.kind && item.i === this.chosen.i;
  }

  row({kind, i}) {
    const {e, samples: {origin}} = this;
    const text = (when, mark, why) => [
      el('span', {class: 'when'}, when), mark, el('span', {class: 'why'}, why)];
    if (kind === 'motion') {
      const m = e.motions[i];
      return text(`${i + 1}. ${span(m, origin)}`,
          chip(m.cause, m.reported === null ? m.cause : `${m.cause}: ${m.reported}`), m.sentence);
    }
    if (kind === 'rest') return text(span(e.rests[i], origin), '', e.rests[i].sentence);
    const x = e.expected[i];
    return text(`${x.recognised ? kGlyphs.came : kGlyphs.missed} class ${x.class}, ${span(x, origin)}`,
        chip(x.cause, x.cause), x.recognised ? 'It was recognised.' : x.sentence);
  }

  // Shows one beside the time line, and where it is in it.
  choose(item) {
    this.chosen = item;
    this.list.mark((one) => this.same(one));
    this.timeline?.mark(this.band(item));
    this.showDetails(item);
  }

  showDetails({kind, i}) {
    const {e, data, samples} = this;
    const one = e[{motion: 'motions', expected: 'expected', rest: 'rests'}[kind]][i];
    const name = {motion: `Motion ${i + 1}`, rest: 'At rest',
      expected: `Class ${one.class}, ${one.recognised ? 'recognised' : 'missed'}`}[kind];
    const parts = [el('h3', {}, name),
      el('p', {class: 'when'}, span(one, samples.origin))];
    if (one.cause) parts.push(chip(one.cause, one.reported === undefined ||
        one.reported === null ? one.cause : `${one.cause}: ${one.reported}`));
    if (kind === 'motion') parts.push(...this.motion(i));
    else parts.push(el('p', {}, kind === 'expected' && one.recognised ? 'It was recognised.' : one.sentence));
    if (kind === 'expected' && one.motion !== null) {
      parts.push(el('h4', {}, `The nearest motion, no. ${one.motion}: ` +
          e.motions[one.motion - 1].cause), ...this.motion(one.motion - 1));
    }
    const link = el('a', {href: `#t=${shownTime(one.begin - samples.origin).toFixed(3)}`},
        'Link to this moment');
    const close = el('button', {type: 'button'}, 'Show the whole recording');
    close.addEventListener('click', () => {
      const {begin, end} = this.band({kind, i});
      const margin = (end - begin) * 0.5 + 0.2;
      this.timeline.setView(begin - margin, end + margin);
    });
    parts.push(el('p', {class: 'tools'}, close, link));
    $('#details').replaceChildren(...parts);
    $('#details').scrollTop = 0;
    $('#chosen').textContent = `${name}, ${span(one, samples.origin)}`;
  }

  // Once there is more to show.
  drawAnew() {
    this.timeline?.draw();
    if (this.chosen) this.showDetails(this.chosen);
  }

  motion(i) {
    return motionDetails(this.e.motions[i], this.samples.trace(i), this.data);
  }

  // To the next or the previous motion, or missed gesture, from the chosen one or from the
  // middle of the view.
  step(side, missed) {
    const kind = missed ? 'expected' : 'motion';
    const places = missed ? this.order : this.marks.motions.map((_, i) => i);
    if (places.length === 0) return;
    const at = this.chosen ? this.band(this.chosen).begin : side > 0 ? -Infinity : Infinity;
    const begin = (i) => this.band({kind, i}).begin;
    const next = side > 0 ? places.find((i) => begin(i) > at)
        : places.findLast((i) => begin(i) < at);
    this.choose({kind, i: next ?? places[side > 0 ? 0 : places.length - 1]});
  }

  // "#t=30.3" or "#t=0:00:30.3": a moment, with what is there.
  followLink() {
    const given = /^#t=(?:(?:(\d+):)?(\d+):)?(-?\d+(?:\.\d+)?)$/.exec(location.hash);
    if (given === null || !this.timeline) return;
    const [hours, minutes, rest] = given.slice(1).map((v) => Number(v ?? 0));
    const t = hours * 3600 + minutes * 60 + rest - shownTime(0);
    this.timeline.setView(t - kMoment, t + kMoment);
    const near = 1 / this.samples.rate;
    const there = bandAt(this.marks.expected.filter((x) => x.missed), t, near) ??
        bandAt(this.marks.motions, t, near) ?? bandAt(this.marks.rests, t, near);
    if (there) this.choose(there.item);
    $('#stream').scrollIntoView({block: 'start'});
  }
}

start(async (data) => {
  const samples = readSamples(data, await unpackBytes('samples'));
  showHeader(data.explanation);
  showFooter(data, samples);
  if (samples.gapCount > 0) {
    const longest = samples.gaps.end.reduce((most, end, i) =>
      Math.max(most, end - samples.gaps.begin[i]), 0);
    $('#gaps').hidden = false;
    $('#gaps').textContent = `${counted(samples.gapCount, 'gap')} without samples, hatched ` +
        `or marked ▼ on the axis; the longest lasts ${longest.toFixed(2)} s.` +
        (samples.gapCount > samples.gaps.begin.length
          ? ` Only the ${counted(samples.gaps.begin.length, 'longest', 'longest')} are drawn.`
          : '');
  }
  $('#thinned').textContent = `Blocks are the least and greatest of every ` +
      `${samples.bucket} samples. What was reported, rejected or expected is drawn with every ` +
      'sample; all figures are computed from every sample.';
  // For those who look into it with the browser's console.
  window.report = new Report(data, samples);
  showVerdict(data.explanation, (i) => {
    window.report.choose({kind: 'motion', i});
    $('#stream').scrollIntoView({block: 'start'});
  });
  return async () => {
    addDetails(samples, data.explanation.motions, await unpackBytes('traces'));
    window.report.drawAnew();
  };
});
