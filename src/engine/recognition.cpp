// From a collected motion to a class: orient, reconstruct, classify, accept.
#include "engine/recognition.h"

#include <algorithm>

#include "classifier/class_threshold.h"
#include "engine/orientation.h"

namespace wgr {

static constexpr double kMsPerSecond = 1000.0;

Point3Df correct(const Samples& acc, const Samples& gyro, int work_mode, int sample_rate,
                 Points& trace) {
  if (work_mode != kAccOnly && !gyro.empty()) {
    return orient(acc, gyro, sample_rate, trace);
  }
  trace.assign(acc.begin(), acc.end());
  return {0.0, 0.0, 0.0};
}

// Whether a trace is too short to be compared. One without points always is, however
// short a motion may be.
static bool too_short(const Points& trace, int min_motion_len) {
  return trace.empty() || static_cast<long long>(trace.size()) < min_motion_len;
}

static bool has_nan(const Point3Df& p) { return !(squared_length(p) >= 0.0); }

// Why a trace from both sensors is too short.
static void add_reasons_of_cut(const Recognition& made, Reasons& reasons) {
  const FastSteps& fast = made.result.fast;
  if (has_nan(made.gravity)) {
    reasons.add(Ending::kNotANumber);
    return;
  }
  if (fast.starts_fast) reasons.add(Ending::kStartsFast);
  if (fast.ends_fast) reasons.add(Ending::kEndsFast);
  if (!fast.starts_fast && !fast.ends_fast) {
    reasons.add(Ending::kStretchTooShort);
  }
}

static size_t template_count(const Gmodel& model) {
  return std::min(static_cast<size_t>(std::max(model.nTemplate, 0)),
                  model.templates.size());
}

static void keep_scores(HGR& classifier, const Points& compared, Intermediates& kept) {
  kept.compared = compared;
  for (size_t t = 0; t < template_count(*classifier.model); ++t) {
    kept.scores.push_back(classifier.cal_simlarity(
        compared, classifier.model->templates[t].second, classifier.model->havegravity));
  }
}

// Why the best template, or the lack of one, rejects the motion.
static void add_reasons_of_match(const Gmodel& model, bool rejected,
                                 RecognitionResult& result) {
  if (!result.scored()) {
    result.reasons.add(template_count(model) == 0 ? Ending::kNoTemplates
                                                  : Ending::kNoScore);
    return;
  }
  result.threshold = threshold_of(model, result.label);
  if (rejected) result.reasons.add(Ending::kBelowThreshold);
  if (!report_of(result.label)) result.reasons.add(Ending::kNeverReported);
}

// From the accelerometer alone: the label is taken as it is.
static void recognise_acc(const RecognitionParameters& parameters, HGR& classifier,
                          Recognition& made, Intermediates* kept) {
  RecognitionResult& result = made.result;
  if (too_short(made.trace, parameters.min_motion_len)) {
    result.reasons.add(Ending::kStretchTooShort);
    return;
  }
  result.label = classifier.predict(made.trace, nullptr, &result.score, nullptr);
  if (kept != nullptr) keep_scores(classifier, made.trace, *kept);
  add_reasons_of_match(*classifier.model, false, result);
  result.gesture_class = result.label;
}

static void recognise_both(const RecognitionParameters& parameters, HGR& classifier,
                           Recognition& made, Intermediates* kept) {
  RecognitionResult& result = made.result;
  result.fast =
      reconstruct(made.trace, parameters.sample_rate, made.velocity, made.position,
                  kept != nullptr ? &kept->squared_speed : nullptr);
  if (too_short(made.trace, parameters.min_motion_len)) {
    add_reasons_of_cut(made, result.reasons);
    return;
  }
  Points compared = made.trace;
  compared.push_back(made.gravity);
  int reject_flag = 0;
  result.label =
      classifier.predict(compared, &result.strength, &result.score, &reject_flag);
  // As a normalising model leaves it.
  if (kept != nullptr) keep_scores(classifier, compared, *kept);

  const bool too_weak = result.strength < parameters.strength_threshold;
  if (too_weak) result.reasons.add(Ending::kTooWeak);
  add_reasons_of_match(*classifier.model, reject_flag != 0, result);
  result.gesture_class = too_weak           ? kNoGesture
                         : reject_flag != 0 ? kRejected
                                            : result.label;
}

void recognise(const Samples& acc, const Samples& gyro,
               const RecognitionParameters& parameters, HGR& classifier,
               Recognition& made, Intermediates* intermediates) {
  const int mode = parameters.work_mode;
  RecognitionResult& result = made.result;
  made.gravity = correct(acc, gyro, mode, parameters.sample_rate, made.trace);
  if (intermediates != nullptr) intermediates->corrected = made.trace;

  if (mode != kAccOnly && mode != kAccAndGyro) {
    result.reasons.add(Ending::kCorrectedOnly);
  } else if (made.trace.empty()) {
    result.reasons.add(Ending::kTooShort);
  } else if (mode == kAccOnly) {
    recognise_acc(parameters, classifier, made, intermediates);
  } else {
    recognise_both(parameters, classifier, made, intermediates);
  }
  result.ending = result.reasons.first();
  result.duration_ms = static_cast<double>(made.trace.size()) * kMsPerSecond /
                       static_cast<double>(parameters.sample_rate);
}

}  // namespace wgr
