// Reads the numbers of the page of wgr explain. All times are seconds since the first
// sample; `origin` is its stamp.
'use strict';

const kTimeUnit = 0.001, kAccUnit = 0.05, kGyroUnit = 1, kTemplateUnit = 0.01;
const kTraceUnit = 0.1, kSpeedUnit = 0.005, kShapeUnit = 0.02, kScaleUnit = 0.001;
const kUnitOfUnits = 0.001;
const kChannels = 6;
const kOrders = 3;  // of differences: none, first, second
const kFactor = 4;  // of a pyramid's level to the one below
const kFewest = 64;  // values of a pyramid's highest level
const kGapPeriods = 1.75;

// A time as it is shown: the stamp, or, where that is of the epoch, since the first one.
let shownBase = 0;
const shownTime = (t) => t + shownBase;

// Whole numbers and series, one behind the other.
class Reader {
  constructor(bytes) {
    this.bytes = bytes;
    this.at = 0;
  }
  get ended() { return this.at >= this.bytes.length; }
  whole() {
    let value = 0;
    for (let scale = 1;; scale *= 128) {
      const byte = this.bytes[this.at++];
      value += (byte & 127) * scale;
      if (byte < 128) return value;
    }
  }
  series(unit, Values = Float64Array) {
    const head = this.whole();
    const values = new Values(Math.floor(head / kOrders));
    const order = head % kOrders;
    const {bytes} = this;
    let {at} = this;
    let sum = 0, step = 0;
    for (let i = 0; i < values.length; ++i) {
      let folded = bytes[at++];
      if (folded > 127) {  // most are one byte
        --at;
        folded = 0;
        for (let scale = 1, byte = 128; byte > 127; scale *= 128) {
          byte = bytes[at++];
          folded += (byte & 127) * scale;
        }
      }
      const value = folded % 2 === 0 ? folded / 2 : -(folded + 1) / 2;
      if (order === 0) sum = value;
      else if (order === 1) sum += value;
      else sum += step += value;
      values[i] = sum * unit;
    }
    this.at = at;
    return values;
  }
  axes(unit) { return kAxes.map(() => this.series(unit, Float32Array)); }
  block() {
    const size = this.whole();
    this.at += size;
    return new Reader(this.bytes.subarray(this.at - size, this.at));
  }
}

// The least and the greatest of every kFactor values, of every kFactor of those, and so
// on. A bucket of several samples comes as a pair.
function pyramid(values, bucket) {
  let low = values, high = values;
  if (bucket > 1) {
    const count = values.length / 2;
    low = new Float32Array(count);
    high = new Float32Array(count);
    for (let i = 0; i < count; ++i) {
      low[i] = Math.min(values[2 * i], values[2 * i + 1]);
      high[i] = Math.max(values[2 * i], values[2 * i + 1]);
    }
  }
  const levels = [{low, high}];
  while (low.length > kFewest) {
    const count = Math.ceil(low.length / kFactor);
    const lower = new Float32Array(count);
    const higher = new Float32Array(count);
    for (let k = 0; k < count; ++k) {
      const end = Math.min((k + 1) * kFactor, low.length);
      let least = Infinity, greatest = -Infinity;
      for (let i = k * kFactor; i < end; ++i) {
        if (low[i] < least) least = low[i];
        if (high[i] > greatest) greatest = high[i];
      }
      lower[k] = least;
      higher[k] = greatest;
    }
    levels.push({low: low = lower, high: high = higher});
  }
  return levels;
}

// The first place in the ascending `values` whose value is greater.
function placeAfter(values, value) {
  let from = 0, to = values.length;
  while (from < to) {
    const middle = (from + to) >> 1;
    if (values[middle] > value) to = middle;
    else from = middle + 1;
  }
  return from;
}

// The numbers of the motions; what is text of them is in `texts`, by its number in `all`.
function readMotions(reader, texts, all, origin) {
  const [begin, end, judged] = [0, 1, 2].map(() => reader.series(kTimeUnit));
  const [first, collected, preroll, trimmed, active, duration, reported, lost, fast] =
      Array.from({length: 9}, () => reader.series(1));
  const strength = reader.series(0.001);
  const predicted = reader.series(1);
  const fastFrom = reader.series(0.001);
  return texts.causes.map((cause, i) => ({
    begin: begin[i] + origin, end: end[i] + origin, judged: judged[i] + origin,
    cause: all[cause], also: texts.also[i] ?? [], sentence: all[texts.sentences[i]],
    reported: reported[i] > 0 ? reported[i] - 1 : null,
    first_sample: first[i], collected: collected[i], preroll: preroll[i],
    trimmed: trimmed[i], lost_at: lost[i] > 0 ? lost[i] - 1 : null,
    starts_fast: fast[i] % 2 > 0, ends_fast: fast[i] > 1, fast_from: fastFrom[i],
    active_samples: active[i], duration_ms: duration[i],
    strength: predicted[i] ? strength[i] : null,
    best_templates: (texts.scores[i] ?? []).map(([template, score]) => {
      const label = texts.classes[template - 1];
      return {template, class: label, score, threshold: texts.thresholds[label] ?? null};
    }),
  }));
}

// When a sample came: between the first ones of two buckets as the rate says.
function timeOf(samples, place) {
  const {bucket, t, rate, stamped} = samples;
  if (!stamped) return place / rate;
  const k = Math.min(Math.floor(place / bucket), t.length - 1);
  return t[k] + (place - k * bucket) / rate;
}

// When the samples of a motion came, or of every `bucket` of them the first.
function timesOf(samples, {first_sample: first}, count, bucket) {
  const stretch = samples.stretches.find((one) =>
    one.first <= first && first + count * bucket <= one.first + one.count);
  const from = stretch === undefined ? 0 : first - stretch.first;
  const t = stretch === undefined || bucket > 1 ? null : stretch.samples().t;
  return Float64Array.from({length: count}, (_, i) =>
    t === null ? timeOf(samples, first + i * bucket) : t[from + i]);
}

// What was drawn of one motion's inside, or nothing.
function readTrace(block, samples, motion) {
  if (block === undefined) return null;
  const reader = new Reader(block.bytes);
  const bucket = reader.whole();
  const trace = {bucket, corrected: reader.axes(kTraceUnit),
    speed: reader.series(kSpeedUnit), active: null, compared: null};
  const kept = motion.collected - motion.trimmed;
  const t = trace.t = timesOf(samples, motion, Math.ceil(kept / bucket), bucket);
  const [begin, end, template] = [reader.whole(), reader.whole(), reader.whole()];
  const at = (sample) => t[Math.min(Math.floor(sample / bucket), t.length - 1)];
  // With a step's state goes the acceleration one sample before its start.
  if (end > 0) trace.active = [at(begin - 1), at(end - 2)];
  if (template === 0) return trace;
  const scale = reader.series(kScaleUnit);
  const full = scale.length > 0 ? null : reader.axes(kShapeUnit);
  const firsts = reader.series(1), more = reader.series(1);
  const active = [begin - 1, begin - 1 + firsts.length];
  trace.compared = full ?? trace.corrected.map((values) =>
    values.slice(...active).map((v) => v / scale[0]));
  trace.compared_t = t.slice(...active);
  // For every point the mean of the template's points that are laid upon it.
  trace.template = samples.templates[template - 1].map((axis) =>
    Array.from(firsts, (first, i) => {
      let sum = 0;
      for (let k = 0; k <= more[i]; ++k) sum += axis[first + k];
      return sum / (more[i] + 1);
    }));
  return trace;
}

// A stretch of which every sample is kept: they are unpacked when they are needed.
function readStretch(reader, samples) {
  const first = reader.whole(), count = reader.whole();
  const start = reader.at;
  let unpacked = null;
  const unpackIt = () => {
    reader.at = start;
    let t = reader.series(kTimeUnit);
    if (!samples.stamped) t = t.map((_, i) => (first + i) / samples.rate);
    return {t, values: [...reader.axes(kAccUnit), ...reader.axes(kGyroUnit)]};
  };
  // About: a gap may be in the bucket that it begins in.
  return {first, count, begin: timeOf(samples, first),
    end: timeOf(samples, Math.min(first + count + samples.bucket, samples.count - 1)),
    samples: () => unpacked ??= unpackIt()};
}

// The rests, from the runs of judgements that are no motion.
function findRests(s, runs, firsts, sentences, explanation) {
  explanation.rests = [];
  s.rests = [];
  let open = null;
  const close = (k) => {
    const last = k < firsts.length ? firsts[k] - 1 : s.count - 1;
    const end = k < firsts.length ? Math.min(timeOf(s, last), runs.t[k]) : s.end;
    s.rests.push({begin: runs.t[open], end});
    explanation.rests.push({begin: runs.t[open] + s.origin, end: end + s.origin,
      sentence: sentences[s.rests.length - 1], samples: last - firsts[open] + 1});
    open = null;
  };
  for (let k = 0; k < firsts.length && sentences.length > 0; ++k) {
    if (runs.judged[k] === 0 && open !== null) close(k);
    else if (runs.judged[k] !== 0) open ??= k;
  }
  if (open !== null) close(firsts.length);
}

// Unpacks `bytes`; the motions and rests go to data.explanation.
function readSamples(data, bytes) {
  const reader = new Reader(bytes);
  const {origin: {first_stamp: origin}, explanation} = data;
  const s = {origin, rate: explanation.settings.rate, stamped: reader.whole() > 0,
    count: reader.whole(), bucket: reader.whole()};
  shownBase = Math.abs(origin) < kEpoch ? origin : 0;
  const drawn = (t, first) => s.stamped ? t : first / s.rate;
  const [accUnit, gyroUnit] = [0, 1].map(() => reader.whole() * kUnitOfUnits);
  s.t = reader.series(kTimeUnit).map((t, i) => drawn(t, i * s.bucket));
  s.channels = [...reader.axes(accUnit), ...reader.axes(gyroUnit)]
      .map((values) => pyramid(values, s.bucket));
  s.gapCount = reader.whole();
  s.gaps = {begin: reader.series(kTimeUnit), end: reader.series(kTimeUnit)};
  const firsts = reader.series(1);
  s.runs = {t: reader.series(kTimeUnit).map((t, i) => drawn(t, firsts[i])),
    judged: reader.series(1)};
  const eventTimes = reader.series(kTimeUnit), eventClasses = reader.series(1);
  explanation.motions = readMotions(reader, data.motions, data.texts, origin);
  s.bands = explanation.motions.map((m) => ({
    begin: drawn(m.begin - origin, m.first_sample),
    end: drawn(m.end - origin, m.first_sample + Math.max(m.collected - m.trimmed, 1) - 1)}));
  s.events = Array.from(eventTimes, (t, i) => ({t, class: eventClasses[i]}));
  if (!s.stamped) {
    // A report comes with the sample that ends its motion.
    const ends = explanation.motions.filter((m) => m.reported !== null)
        .map((m) => (m.first_sample + m.collected) / s.rate);
    s.events.forEach((event, i) => { event.t = ends[i] ?? event.t; });
  }
  s.templates = Array.from({length: reader.whole()}, () => reader.axes(kTemplateUnit));
  s.stretches = [];
  s.trace = () => null;  // so far
  s.end = s.count === 0 ? 0 : Math.max(timeOf(s, s.count - 1),
      ...s.runs.t.slice(-1), ...s.bands.slice(-1).map((band) => band.end));
  findRests(s, s.runs, firsts, data.rests.map((place) => data.texts[place]), explanation);
  return s;
}

// Adds what is seen of single motions and from near, unpacked when it is asked for.
function addDetails(samples, motions, bytes) {
  const reader = new Reader(bytes);
  for (let left = reader.whole(); left > 0; --left) {
    samples.stretches.push(readStretch(reader.block(), samples));
  }
  const traces = new Map();
  while (!reader.ended) traces.set(reader.whole(), reader.block());
  samples.trace = (i) => readTrace(traces.get(i), samples, motions[i]);
}
