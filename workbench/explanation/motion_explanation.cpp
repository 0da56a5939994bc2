#include "explanation/motion_explanation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "classifier/class_threshold.h"
#include "dtw/similarity.h"
#include "engine/orientation.h"

namespace wgr {

static constexpr std::array<const char*, kEndings> kEndingNames = {
    "too-short", "corrected-only",    "not-a-number",   "starts-fast",
    "ends-fast", "stretch-too-short", "too-weak",       "no-templates",
    "no-score",  "rejected",          "never-reported", "reported"};
static constexpr std::array<const char*, kCircumstances> kCircumstanceNames = {
    "unfinished",  "cut-by-report", "wrong-mode", "at-rest",
    "other-class", "shared-motion", "no-samples"};

const char* name_of(const Cause& cause) {
  return cause.ending() ? kEndingNames[static_cast<size_t>(*cause.ending())]
                        : kCircumstanceNames[static_cast<size_t>(cause.circumstance())];
}

static bool attitude_lost(const Samples& rates, size_t count, int sample_rate) {
  const Samples head(rates.begin(), rates.begin() + static_cast<std::ptrdiff_t>(count));
  double attitude[9];
  mean_attitude_inverse(head, sample_rate, attitude);
  return std::any_of(attitude, attitude + 9, [](double x) { return std::isnan(x); });
}

// The sample with which the mean attitude stops being a number; once lost it stays so.
static std::optional<size_t> find_loss(const Samples& rates, int sample_rate) {
  if (rates.empty() || !attitude_lost(rates, rates.size(), sample_rate)) {
    return std::nullopt;
  }
  size_t good = 0;
  size_t lost = rates.size();
  while (lost - good > 1) {
    const size_t middle = good + (lost - good) / 2;
    (attitude_lost(rates, middle, sample_rate) ? lost : good) = middle;
  }
  return lost - 1;
}

static bool ranks_before(const TemplateScore& a, const TemplateScore& b) {
  if (std::isnan(a.score) != std::isnan(b.score)) return std::isnan(b.score);
  if (a.score != b.score && !std::isnan(a.score)) return a.score > b.score;
  return a.index < b.index;
}

static void rank_scores(const Gmodel& model, const std::vector<float>& scores,
                        MotionExplanation& explained) {
  for (size_t t = 0; t < scores.size(); ++t) {
    const int label = model.templates[t].first;
    explained.scores.push_back({t, label, scores[t], threshold_of(model, label)});
  }
  explained.compared_templates = explained.scores.size();
  std::sort(explained.scores.begin(), explained.scores.end(), ranks_before);
}

static TracedPath path_of_best(const Gmodel& model, const MotionExplanation& explained) {
  const Points& best = model.templates[explained.scores.front().index].second;
  return trace_path(explained.compared,
                    motion_points(explained.compared, model.havegravity), best,
                    motion_points(best, model.havegravity));
}

static void take_speeds(const FastSteps& fast, const std::vector<double>& squared_speed,
                        MotionExplanation& explained) {
  for (const double squared : squared_speed)
    explained.speed.push_back(std::sqrt(squared));
  explained.fast_from = std::sqrt(fast.fast_from);
  explained.starts_fast = fast.starts_fast;
  explained.ends_fast = fast.ends_fast;
  explained.active = fast.active;
}

static void take_result(const RecognitionResult& result, MotionExplanation& explained) {
  explained.cause = result.ending;
  for (size_t i = static_cast<size_t>(result.ending) + 1; i < kEndings; ++i) {
    const Ending reason = static_cast<Ending>(i);
    if (result.reasons.has(reason)) explained.also.emplace_back(reason);
  }
  explained.predicted = result.compared();
  if (explained.predicted) explained.strength = result.strength;
  explained.engine_class = result.gesture_class;
  explained.duration_ms = result.duration_ms;
}

static Samples beginning(const Samples& samples, size_t count) {
  return Samples(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(count));
}

void MotionExplanation::drop_traces(size_t most_scores) {
  corrected = Points();
  compared = Points();
  path = TracedPath();
  if (speed.size() > 2) speed = {speed.front(), speed.back()};
  speed.shrink_to_fit();
  if (scores.size() > most_scores) scores.resize(most_scores);
  scores.shrink_to_fit();
}

MotionExplanation explanation_of(const AgGes& engine, Intermediates intermediates,
                                 const Samples& acc, const Samples& rates, size_t first,
                                 size_t collected) {
  MotionExplanation explained;
  explained.first = first;
  explained.collected = collected;
  explained.ran = is_long_enough(collected, engine.min_motion_len);
  if (explained.ran) {
    const size_t padding = static_cast<size_t>(std::max(engine.static_window >> 1, 0));
    explained.trimmed = std::min(padding, collected);
  }
  take_result(engine.result, explained);
  if (explained.kept() == 0) return explained;

  const Samples motion_rates = beginning(rates, explained.kept());
  FastSteps fast = engine.result.fast;
  explained.gravity = engine.gravity;
  if (!explained.ran) {
    // Too short to be run, but not to be looked at.
    Recognition made;
    recognise(acc, rates, engine.parameters(), *engine.hgr, made, &intermediates);
    fast = made.result.fast;
    explained.gravity = made.gravity;
  }
  explained.lost_at = find_loss(motion_rates, engine.sample_rate);
  if (explained.lost_at) {
    explained.zero_rate = squared_length(motion_rates[*explained.lost_at]) == 0.0;
  }
  take_speeds(fast, intermediates.squared_speed, explained);
  explained.corrected = std::move(intermediates.corrected);
  explained.compared = std::move(intermediates.compared);
  rank_scores(*engine.hgr->model, intermediates.scores, explained);
  if (engine.result.scored())
    explained.path = path_of_best(*engine.hgr->model, explained);
  return explained;
}

}  // namespace wgr
