// A stream of any length in parts: each is examined by itself, and what they show is made
// one diagnosis.
#include <algorithm>
#include <cmath>
#include <utility>

#include "diagnosis/diagnosis.h"
#include "diagnosis/examination.h"
#include "recording/clock.h"

namespace wgr {

// How long a stream is examined as a whole; from its rate, if that is believable.
static constexpr double kSecondsAtOnce = 3660.0;  // an hour by any clock
static constexpr double kLowestRate = 10.0;       // samples per second
static constexpr double kHighestUsual = 1000.0;
static constexpr size_t kFewestAtOnce = 45'000;  // at the lowest rate

namespace {

// What was found in one part of a stream, and when that was.
struct Part {
  Diagnosis diagnosis;
  double begin;  // s
  double end;    // s
};

// One finding of all parts.
struct Merged {
  Finding finding;
  size_t parts = 0;
  double begin = 0.0;  // of the first of them, s
  double end = 0.0;
};

}  // namespace

struct StreamDiagnosis::Parts {
  void choose_length();
  void examine(size_t count);

  DiagnosisOptions options;
  Stream stream;  // what is not examined yet, behind what is carried over
  Carried carried;
  std::vector<Part> done;
  size_t at_once = kFewestAtOnce;  // samples; chosen once there are so many
  bool chosen = false;
};

// These report all parts up to their own.
static constexpr FindingId kSums[] = {
    FindingId::kGap,      FindingId::kRepeated,  FindingId::kOrder,   FindingId::kAbsent,
    FindingId::kAccSpike, FindingId::kGyroSpike, FindingId::kZeroRate};

static bool is_sum(FindingId id) {
  return std::find(std::begin(kSums), std::end(kSums), id) != std::end(kSums);
}

static void merge(const Part& part, std::vector<Merged>& all) {
  for (const Finding& finding : part.diagnosis.findings) {
    auto same = std::find_if(all.begin(), all.end(), [&](const Merged& m) {
      return m.finding.id == finding.id && m.finding.about == finding.about;
    });
    if (same == all.end()) {
      all.push_back({finding, 0, part.begin, part.end});
      same = all.end() - 1;
    }
    ++same->parts;
    if (is_sum(finding.id) || finding.sure > same->finding.sure) {
      same->finding = finding;
    }
  }
}

static std::vector<Finding> merged_findings(const std::vector<Part>& parts,
                                            bool long_enough) {
  std::vector<Merged> all;
  for (const Part& part : parts) merge(part, all);
  std::stable_sort(all.begin(), all.end(), [](const Merged& a, const Merged& b) {
    return a.finding.id < b.finding.id;
  });
  std::vector<Finding> findings;
  for (Merged& merged : all) {
    Finding& finding = merged.finding;
    if (finding.id == FindingId::kShort && long_enough) continue;
    if (merged.parts < parts.size() && !is_sum(finding.id)) {
      finding.in = {merged.parts, parts.size(), merged.begin, merged.end};
      finding.repair.reset();  // of all samples it would spoil the other parts
    }
    findings.push_back(finding);
  }
  return findings;
}

// A figure averaged over the parts, by the samples that each has.
static double averaged(const std::vector<Part>& parts, double StreamFacts::*figure) {
  double sum = 0.0;
  size_t samples = 0;
  for (const Part& part : parts) {
    const StreamFacts& facts = part.diagnosis.facts;
    sum += static_cast<double>(facts.samples) * (facts.*figure);
    samples += facts.samples;
  }
  return sum / static_cast<double>(samples);
}

// The duration, and the rate of those parts that have one.
static void merge_time(const std::vector<Part>& parts, StreamFacts& all) {
  double samples = 0.0;
  double seconds = 0.0;
  double jitter = 0.0;  // squared
  double begin = parts.front().begin;
  double end = parts.front().end;
  for (const Part& part : parts) {
    const StreamFacts& facts = part.diagnosis.facts;
    const double count = static_cast<double>(facts.samples);
    all.seconds += facts.seconds;
    begin = std::min(begin, part.begin);
    end = std::max(end, part.end);
    if (!facts.rate) continue;
    samples += count;
    seconds += count / *facts.rate;
    jitter += count * facts.jitter * facts.jitter;
  }
  if (!(samples > 0.0)) return;
  all.seconds = end - begin;
  all.rate = samples / seconds;
  all.jitter = std::sqrt(jitter / samples);
}

// Figures of parts as one: shares and noise by the samples that each part has, gravity
// and bias as usual among the parts.
static StreamFacts merged_facts(const std::vector<Part>& parts) {
  StreamFacts all;
  double turn_errors = 0.0;
  std::vector<double> gravities;
  std::vector<double> biases[3];
  for (const Part& part : parts) {
    const StreamFacts& facts = part.diagnosis.facts;
    all.samples += facts.samples;
    if (facts.gravity) gravities.push_back(*facts.gravity);
    for (size_t a = 0; facts.bias && a < 3; ++a) {
      biases[a].push_back((*facts.bias).*kAxes[a].first);
    }
    all.longest_motion = std::max(all.longest_motion, facts.longest_motion);
    all.turns += facts.turns;
    turn_errors += static_cast<double>(facts.turns) * facts.turn_error;
  }
  for (double StreamFacts::*figure :
       {&StreamFacts::acc_noise, &StreamFacts::gyro_noise, &StreamFacts::rest_share,
        &StreamFacts::acc_rest_share, &StreamFacts::gyro_rest_share}) {
    all.*figure = averaged(parts, figure);
  }
  merge_time(parts, all);
  if (!gravities.empty()) all.gravity = median(gravities);
  if (!biases[0].empty())
    all.bias = {median(biases[0]), median(biases[1]), median(biases[2])};
  if (all.turns > 0) all.turn_error = turn_errors / static_cast<double>(all.turns);
  return all;
}

template <class Sequence>
static Sequence beginning(const Sequence& all, size_t count) {
  return Sequence(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count));
}

template <class Sequence>
static void drop(Sequence& all, size_t count) {
  all.erase(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(count));
}

void StreamDiagnosis::Parts::choose_length() {
  std::vector<double> steps;
  for (size_t i = 1; i < stream.times.size(); ++i) {
    steps.push_back(stream.times[i] - stream.times[i - 1]);
  }
  // Jitter makes the one too low, and gaps the other.
  const double all = static_cast<double>(steps.size());
  const double by_time = all / std::max(stream.times.back() - stream.times.front(), 1e-9);
  const std::optional<double> by_steps = mean_rate(std::move(steps));
  const double rate = std::max(by_steps.value_or(0.0), by_time);
  const bool believable = rate >= kLowestRate && rate <= kHighestUsual;
  at_once = believable ? std::min(static_cast<size_t>(kSecondsAtOnce * rate), kMostAtOnce)
                       : kMostAtOnce;
  chosen = true;
  stream.times.reserve(at_once);
}

// Examines the first `count` samples, and keeps of them what the next part needs.
void StreamDiagnosis::Parts::examine(size_t count) {
  const bool last = count == stream.times.size();
  Stream part;
  if (last) {
    part = std::move(stream);
    stream = Stream();
  } else {
    part.times = beginning(stream.times, count);
    part.acc = beginning(stream.acc, count);
    part.gyro = beginning(stream.gyro, count);
  }
  Examination examination(std::move(part), options, carried);
  done.push_back({examination.examine(), 0.0, 0.0});
  const std::vector<double>& times = examination.times();
  if (!times.empty()) {
    const auto [earliest, latest] = std::minmax_element(times.begin(), times.end());
    done.back().begin = *earliest;
    done.back().end = *latest;
  }
  if (last) return;
  // The step to the next part, and the windows that end with its first samples.
  carried.seen = std::min(std::max<size_t>(carried.window, 2) - 1, count / 2);
  const size_t used = count - carried.seen;
  carried.before += used;
  drop(stream.times, used);
  drop(stream.acc, used);
  drop(stream.gyro, used);
}

StreamDiagnosis::StreamDiagnosis(const DiagnosisOptions& options)
    : parts_(std::make_unique<Parts>()) {
  parts_->options = options;
}
StreamDiagnosis::~StreamDiagnosis() = default;

void StreamDiagnosis::set_absent_axes(const std::string& axes) {
  parts_->options.absent_axes = axes;
}

void StreamDiagnosis::add(const RecordedSample& sample) {
  Stream& stream = parts_->stream;
  if (stream.times.size() == kFewestAtOnce && !parts_->chosen) parts_->choose_length();
  if (stream.times.size() == parts_->at_once) parts_->examine(parts_->at_once / 2);
  stream.times.push_back(sample.t);
  stream.acc.push_back(sample.acc);
  stream.gyro.push_back(sample.gyro);
}

Diagnosis StreamDiagnosis::finish() {
  parts_->examine(parts_->stream.times.size());
  if (parts_->done.size() == 1) return parts_->done.front().diagnosis;
  Diagnosis whole;
  whole.facts = merged_facts(parts_->done);
  whole.findings = merged_findings(parts_->done, whole.facts.seconds >= kLeastSeconds);
  return whole;
}

Diagnosis diagnose(const std::vector<RecordedSample>& samples,
                   const DiagnosisOptions& options) {
  StreamDiagnosis diagnosis(options);
  for (const RecordedSample& sample : samples) diagnosis.add(sample);
  return diagnosis.finish();
}

}  // namespace wgr
