#include "evaluation/evaluation.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>

#include "base/class_codes.h"
#include "base/errors.h"
#include "base/progress.h"
#include "base/text.h"
#include "classifier/HGR.h"
#include "evaluation/confidence.h"
#include "hostrun/host_run.h"
#include "training/model_output.h"

namespace wgr {

static constexpr double kSecondsPerHour = 3600.0;
static constexpr size_t kFewestExamples = 2;  // of a class, to find a threshold from
static constexpr size_t kEventSamples = 1;    // that a motion may end behind its event

double Evaluation::accuracy() const { return share(right, repetitions); }
double Evaluation::kept_accuracy() const { return share(kept_right, kept); }
double Evaluation::classified_right() const { return share(kept_classified, kept); }

std::optional<double> Evaluation::baseline_1nn() const {
  if (baseline.examples == 0) return std::nullopt;
  return share(baseline.right, baseline.examples);
}

std::optional<double> Evaluation::false_positives_per_hour() const {
  if (!(background_hours > 0.0)) return std::nullopt;
  return static_cast<double>(false_positives) / background_hours;
}

std::optional<double> Evaluation::false_per_hour_bound() const {
  if (!(background_hours > 0.0)) return std::nullopt;
  return most_expected(false_positives) / background_hours;
}

std::optional<double> Evaluation::recall(int label) const {
  const auto row = confusion.find(label);
  if (row == confusion.end()) return std::nullopt;
  size_t all = 0;
  for (const auto& [what, count] : row->second) all += count;
  const auto own = row->second.find(std::to_string(label));
  return share(own == row->second.end() ? 0 : own->second, all);
}

size_t Evaluation::reported_as(int label) const {
  const auto all = events.find(label);
  return all == events.end() ? 0 : all->second;
}

std::optional<double> Evaluation::precision(int label) const {
  const size_t all = reported_as(label);
  const auto row = confusion.find(label);
  if (all == 0 || row == confusion.end()) return std::nullopt;
  const auto own = row->second.find(std::to_string(label));
  return share(own == row->second.end() ? 0 : own->second, all);
}

std::optional<double> Evaluation::latency(double quantile) const {
  if (latencies.empty()) return std::nullopt;
  const double last = static_cast<double>(latencies.size() - 1);
  return latencies[static_cast<size_t>(std::lround(quantile * last))];
}

namespace {

// Which fold each repetition, and the background of each recording, is left out in.
struct Division {
  std::vector<std::string> names;
  std::vector<std::vector<size_t>> repetitions;  // recording, annotation
  std::vector<size_t> background;                // recording
};

}  // namespace

static size_t index_of(const std::string& name, std::vector<std::string>& names) {
  const auto found = std::find(names.begin(), names.end(), name);
  if (found != names.end()) return static_cast<size_t>(found - names.begin());
  names.push_back(name);
  return names.size() - 1;
}

// A recording is a session of its own where the index names none.
static std::string session_of(const SetEntry& entry) {
  if (entry.session.empty()) return entry.file;
  return entry.subject.empty() ? entry.session : entry.subject + ", " + entry.session;
}

static Division divide(const SegmentedSet& set, const EvaluationOptions& options) {
  Division division;
  const size_t folds = static_cast<size_t>(options.folds);
  std::map<int, size_t> repetitions_of;  // of each class so far
  for (size_t r = 0; r < set.recordings.size(); ++r) {
    const SegmentedRecording& recording = set.recordings[r];
    const SetEntry& entry = recording.entry;
    size_t fold = 0;
    if (options.leave_out == LeaveOut::kSubject) {
      if (entry.subject.empty()) {
        throw UsageError(entry.path + ": index.csv names no subject to be left out");
      }
      fold = index_of(entry.subject, division.names);
    } else if (options.leave_out == LeaveOut::kSession) {
      fold = index_of(session_of(entry), division.names);
    } else if (options.leave_out == LeaveOut::kRepetition) {
      fold = r % folds;
    }
    division.background.push_back(fold);
    division.repetitions.emplace_back();
    for (const Annotation& annotation : recording.annotations) {
      const bool in_turn = options.leave_out == LeaveOut::kRepetition;
      division.repetitions.back().push_back(
          in_turn ? repetitions_of[annotation.label]++ % folds : fold);
    }
  }
  if (options.leave_out == LeaveOut::kNothing) division.names = {"nothing"};
  if (options.leave_out == LeaveOut::kRepetition) {
    for (size_t f = 0; f < folds; ++f) {
      division.names.push_back(
          fmt::format("every {}th repetition, from {}", folds, f + 1));
    }
  } else if (options.leave_out != LeaveOut::kNothing && division.names.size() < 2) {
    throw UsageError("leaving out needs at least two subjects or sessions");
  }
  return division;
}

// What the library says to each motion of a recording: the class that is reported, and
// when.
using Answers = std::vector<std::optional<GestureEvent>>;

static Answers play_stream(const SegmentedRecording& recording,
                           const Provenance& provenance, const Gmodel& model) {
  HostRunOptions options;
  options.model = std::make_shared<const Gmodel>(model);
  options.rate = provenance.rate;
  const HostSettings host = host_settings_of(provenance);
  options.shortest = host.shortest;
  options.rest_window = host.static_window;
  options.sensitivity = host.sensitivity;
  HostRun host_run(options);
  Answers answers(recording.motions.size());
  // By the samples' order: the clock may step back.
  size_t motion = 0;
  for (size_t i = 0; i < recording.samples.size(); ++i) {
    const std::optional<GestureEvent> event = host_run.feed(recording.samples[i]);
    // A motion's last sample is the one before that which completes it.
    while (motion < recording.motions.size() && recording.motions[motion].last + 1 < i) {
      ++motion;
    }
    if (event) {
      if (motion == recording.motions.size() ||
          recording.motions[motion].last > i + kEventSamples || answers[motion]) {
        throw std::logic_error(recording.entry.path +
                               ": the library segmented another motion than wgr segment");
      }
      answers[motion] = event;
    }
  }
  return answers;
}

static Answers ask_classifier(HGR& classifier, const SegmentedRecording& recording) {
  Answers answers;
  for (const Motion& motion : recording.motions) {
    answers.emplace_back();
    if (motion.verdict != Verdict::kKept) continue;
    Points trace = motion.trace;
    int reject = 0;
    double strength = 0.0;
    const int label = classifier.predict(trace, &strength, nullptr, &reject);
    const std::optional<int> reported = report_of(reject != 0 ? kRejected : label);
    if (reported) answers.back() = GestureEvent{motion.end, *reported, strength, 0.0};
  }
  return answers;
}

static double overlap(const Motion& motion, const Annotation& annotation) {
  return std::min(annotation.end, motion.end) - std::max(annotation.begin, motion.begin);
}

// The annotation that a motion overlaps most, or the other way round; -1: none.
template <class Items>
static int most_overlapped(
    const Items& items,
    const std::function<double(const typename Items::value_type&)>& common) {
  int best = -1;
  double most = 0.0;
  for (size_t i = 0; i < items.size(); ++i) {
    const double here = common(items[i]);
    if (here <= most) continue;
    most = here;
    best = static_cast<int>(i);
  }
  return best;
}

// The class of the nearest template, whatever its threshold.
static int nearest_class(HGR& classifier, const Motion& motion) {
  Points trace = motion.trace;
  return classifier.predict(trace, nullptr, nullptr, nullptr);
}

static std::string outcome_of(const std::optional<GestureEvent>& answer) {
  if (!answer) return kOutcomeNotDetected;
  return answer->gesture == report_of(kRejected) ? kOutcomeRejected
                                                 : std::to_string(answer->gesture);
}

namespace {

// The motion that is a repetition's own, or else the one that overlaps it most.
struct FoundMotion {
  std::optional<size_t> index;
  bool own;
};

// What was reported for a repetition, and why it was not its class.
struct Answer {
  std::string outcome = kOutcomeNotDetected;
  std::string cause = "no motion: the wrist counted as resting";
};

}  // namespace

static FoundMotion find_motion(const SegmentedRecording& recording, size_t repetition) {
  const auto own = std::find(recording.annotation_of.begin(),
                             recording.annotation_of.end(), static_cast<int>(repetition));
  if (own != recording.annotation_of.end()) {
    return {static_cast<size_t>(own - recording.annotation_of.begin()), true};
  }
  const Annotation& annotation = recording.annotations[repetition];
  const int nearest = most_overlapped<std::vector<Motion>>(
      recording.motions, [&](const Motion& m) { return overlap(m, annotation); });
  if (nearest < 0) return {std::nullopt, false};
  return {static_cast<size_t>(nearest), false};
}

static Answer answer_for(const SegmentedRecording& recording, size_t repetition,
                         const FoundMotion& found, const Answers& answers) {
  Answer answer;
  if (!found.index) return answer;
  const Motion& motion = recording.motions[*found.index];
  const std::optional<GestureEvent>& event = answers[*found.index];
  const std::string verdict = kVerdictNames[static_cast<size_t>(motion.verdict)];
  const int most = most_overlapped<std::vector<Annotation>>(
      recording.annotations, [&](const Annotation& a) { return overlap(motion, a); });
  if (most != static_cast<int>(repetition)) {
    answer.cause = "one motion with another repetition";
  } else if (!event) {
    answer.cause = motion.verdict == Verdict::kKept
                       ? "nearest to a template of background"
                       : verdict;
  } else {
    answer.outcome = outcome_of(event);
    answer.cause = answer.outcome == kOutcomeRejected
                       ? "rejected: less alike than the threshold"
                       : "misclassified";
    if (!found.own) answer.cause += " (" + verdict + ")";
  }
  return answer;
}

static Played score_repetition(const SegmentedRecording& recording, size_t repetition,
                               const Answers& answers, HGR& classifier, Fold& fold,
                               Evaluation& result) {
  const Annotation& annotation = recording.annotations[repetition];
  const FoundMotion found = find_motion(recording, repetition);
  const Answer answer = answer_for(recording, repetition, found, answers);
  const bool right = answer.outcome == std::to_string(annotation.label);
  ++result.repetitions;
  ++fold.repetitions;
  result.pre_segmented += recording.pre_segmented ? 1 : 0;
  ++result.confusion[annotation.label][answer.outcome];
  result.right += right ? 1 : 0;
  fold.right += right ? 1 : 0;
  if (!right) ++result.misses[answer.cause];
  if (right && !recording.pre_segmented) {
    result.latencies.push_back(answers[*found.index]->t - annotation.end);
  }
  if (found.own) {
    const Motion& motion = recording.motions[*found.index];
    ++result.kept;
    result.kept_right += right ? 1 : 0;
    result.kept_classified += nearest_class(classifier, motion) == annotation.label;
  }
  Played played;
  played.repetition = repetition;
  played.motion = found.index;
  played.outcome = answer.outcome;
  if (!right) played.cause = answer.cause;
  return played;
}

static void play(const SegmentedSet& set, const Division& division, size_t f,
                 HGR& classifier, Fold& fold, Evaluation& result, Progress& progress) {
  for (size_t r = 0; r < set.recordings.size(); ++r) {
    const SegmentedRecording& recording = set.recordings[r];
    const std::vector<size_t>& folds = division.repetitions[r];
    const bool background = division.background[r] == f;
    if (!background && std::count(folds.begin(), folds.end(), f) == 0) continue;
    const Answers answers =
        recording.pre_segmented
            ? ask_classifier(classifier, recording)
            : play_stream(recording, set.provenance, *classifier.model);
    if (background) progress.add(1);
    const auto note = [&](Played played) {
      played.recording = r;
      played.fold = f;
      result.played.push_back(std::move(played));
    };
    for (size_t repetition = 0; repetition < folds.size(); ++repetition) {
      if (folds[repetition] != f) continue;
      note(score_repetition(recording, repetition, answers, classifier, fold, result));
    }
    if (background) result.background_hours += recording.background_seconds;
    for (size_t m = 0; m < answers.size(); ++m) {
      const bool asked = recording.motions[m].verdict == Verdict::kKept;
      if (!answers[m] && !asked) continue;
      const int annotation = most_overlapped<std::vector<Annotation>>(
          recording.annotations,
          [&](const Annotation& s) { return overlap(recording.motions[m], s); });
      const bool counts =
          annotation < 0 ? background : folds[static_cast<size_t>(annotation)] == f;
      if (!counts) continue;
      if (annotation < 0) note({0, {}, m, 0, outcome_of(answers[m]), ""});
      if (!answers[m]) continue;
      const bool rejected = answers[m]->gesture == report_of(kRejected);
      if (!rejected) ++result.events[answers[m]->gesture];
      if (annotation < 0) ++(rejected ? result.rejected_outside : result.false_positives);
    }
  }
}

static std::vector<bool> taken_in(const SegmentedSet& set, const Division& division,
                                  size_t fold) {
  std::vector<bool> taken;
  for (size_t r = 0; r < set.recordings.size(); ++r) {
    const SegmentedRecording& recording = set.recordings[r];
    for (size_t m = 0; m < recording.motions.size(); ++m) {
      if (recording.motions[m].verdict != Verdict::kKept) continue;
      const int annotation = recording.annotation_of[m];
      const size_t out = annotation < 0
                             ? division.background[r]
                             : division.repetitions[r][static_cast<size_t>(annotation)];
      taken.push_back(out != fold);
    }
  }
  return taken;
}

// Whether a model can accept something as the class.
static bool is_accepted(int label, const BuildReport& report) {
  return std::any_of(report.classes.begin(), report.classes.end(),
                     [label](const ClassReport& c) {
                       return c.label == label && c.examples >= kFewestExamples;
                     });
}

static void count_unjudged(const SegmentedSet& set, const Division& division, size_t f,
                           const BuildReport& report, Evaluation& result) {
  for (size_t r = 0; r < set.recordings.size(); ++r) {
    const std::vector<Annotation>& annotations = set.recordings[r].annotations;
    for (size_t repetition = 0; repetition < annotations.size(); ++repetition) {
      if (division.repetitions[r][repetition] != f ||
          is_accepted(annotations[repetition].label, report))
        continue;
      ++result.unjudged[annotations[repetition].label];
    }
  }
}

// Of the model's background, in hours.
static double hours_in(const SegmentedSet& set, const Division& division, size_t fold) {
  double seconds = 0.0;
  for (size_t r = 0; r < set.recordings.size(); ++r) {
    if (division.background[r] == fold) continue;
    seconds += set.recordings[r].background_seconds;
  }
  return seconds / kSecondsPerHour;
}

// The model of a fold; an error names what was left out.
static Gmodel build_without(const std::string& left_out, const ModelBuilder& builder,
                            const std::vector<bool>& taken, const BuildOptions& options,
                            BuildReport& report) {
  try {
    return builder.build(taken, options, report);
  } catch (const UsageError& error) {
    throw UsageError(fmt::format(
        "--leave-out: with {} left out, {}: record more, or leave out less at "
        "a time (--leave-out repetition, more --folds)",
        left_out, error.what()));
  }
}

// How many annotations a fold's model may be built from.
static size_t repetitions_in(const Division& division, size_t fold) {
  size_t count = 0;
  for (const std::vector<size_t>& folds : division.repetitions) {
    count +=
        folds.size() - static_cast<size_t>(std::count(folds.begin(), folds.end(), fold));
  }
  return count;
}

// The alternative that is best for what is not left out.
static size_t choose_for_fold(const SegmentedAlternatives& sets, const Division& division,
                              size_t fold, const EvaluationOptions& options) {
  if (sets.count() == 1) return 0;
  std::vector<TriedSettings> tried;
  for (size_t i = 0; i < sets.count(); ++i) {
    BuildOptions build = options.build;
    build.background_hours = hours_in(sets.set(i), division, fold);
    tried.push_back(sets.try_one(i, taken_in(sets.set(i), division, fold),
                                 repetitions_in(division, fold), build));
  }
  return choose_settings(tried);
}

// Builds the model of a fold into the classifier, and notes what it was built from.
static void build_fold(const SegmentedSet& set, const ModelBuilder& builder,
                       const Division& division, size_t f,
                       const EvaluationOptions& options, HGR& classifier, Fold& fold,
                       Evaluation& result) {
  BuildOptions build = options.build;
  build.background_hours = hours_in(set, division, f);
  BuildReport report;
  const std::vector<bool> taken = taken_in(set, division, f);
  *classifier.model =
      as_read_back(build_without(fold.left_out, builder, taken, build, report));
  count_unjudged(set, division, f, report, result);
  const Tally baseline = builder.baseline_1nn(taken);
  result.baseline.examples += baseline.examples;
  result.baseline.right += baseline.right;
  fold.examples = report.examples();
  fold.templates = classifier.model->templates.size();
}

static void finish(const SegmentedSet& set, Evaluation& result) {
  result.wrists = wrist_answers(set);
  result.background_hours /= kSecondsPerHour;
  std::sort(result.latencies.begin(), result.latencies.end());
}

Evaluation evaluate(const SegmentedAlternatives& sets, const EvaluationOptions& options) {
  const Division division = divide(sets.set(0), options);
  const size_t recordings = sets.set(0).recordings.size();
  size_t drawn = 0;  // the alternative that the curve is of
  Evaluation result;
  Progress progress(fmt::format("playing {} recordings", recordings), recordings);
  for (size_t f = 0; f < division.names.size(); ++f) {
    const size_t chosen = choose_for_fold(sets, division, f, options);
    drawn = chosen;
    const SegmentedSet& set = sets.set(chosen);
    Fold fold;
    fold.left_out = division.names[f];
    fold.host = host_settings_of(set.provenance);
    HGR classifier(0);
    build_fold(set, sets.builder(chosen), division, f, options, classifier, fold, result);
    result.models.push_back(*classifier.model);
    play(set, division, f, classifier, fold, result, progress);
    result.folds.push_back(fold);
  }
  result.curve = learning_curve(sets.builder(drawn));
  finish(sets.set(0), result);
  return result;
}

Evaluation evaluate(const SegmentedSet& set, const EvaluationOptions& options) {
  if (options.leave_out != LeaveOut::kNothing) {
    return evaluate(SegmentedAlternatives({set}, options.build.threads), options);
  }
  const Division division = divide(set, options);
  Evaluation result;
  Progress progress(fmt::format("playing {} recordings", set.recordings.size()),
                    set.recordings.size());
  Fold fold;
  fold.left_out = division.names[0];
  fold.host = host_settings_of(set.provenance);
  HGR classifier(0);
  *classifier.model = options.model;
  fold.templates = classifier.model->templates.size();
  result.models.push_back(*classifier.model);
  play(set, division, 0, classifier, fold, result, progress);
  result.folds.push_back(fold);
  finish(set, result);
  return result;
}

}  // namespace wgr
