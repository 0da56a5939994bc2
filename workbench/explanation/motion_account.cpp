#include "explanation/motion_account.h"

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
                        MotionAccount& account) {
  for (size_t t = 0; t < scores.size(); ++t) {
    const int label = model.templates[t].first;
    account.scores.push_back({t, label, scores[t], threshold_of(model, label)});
  }
  account.compared_templates = account.scores.size();
  std::sort(account.scores.begin(), account.scores.end(), ranks_before);
}

static TracedPath path_of_best(const Gmodel& model, const MotionAccount& account) {
  const Points& best = model.templates[account.scores.front().index].second;
  return trace_path(account.compared, motion_points(account.compared, model.havegravity),
                    best, motion_points(best, model.havegravity));
}

static void take_speeds(const FastSteps& fast, const std::vector<double>& squared_speed,
                        MotionAccount& account) {
  for (const double squared : squared_speed) account.speed.push_back(std::sqrt(squared));
  account.fast_from = std::sqrt(fast.fast_from);
  account.starts_fast = fast.starts_fast;
  account.ends_fast = fast.ends_fast;
  account.active = fast.active;
}

static void take_result(const RecognitionResult& result, MotionAccount& account) {
  account.cause = result.ending;
  for (size_t i = static_cast<size_t>(result.ending) + 1; i < kEndings; ++i) {
    const Ending reason = static_cast<Ending>(i);
    if (result.reasons.has(reason)) account.also.emplace_back(reason);
  }
  account.predicted = result.compared();
  if (account.predicted) account.strength = result.strength;
  account.engine_class = result.gesture_class;
  account.duration_ms = result.duration_ms;
}

static Samples beginning(const Samples& samples, size_t count) {
  return Samples(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(count));
}

void MotionAccount::drop_traces(size_t most_scores) {
  corrected = Points();
  compared = Points();
  path = TracedPath();
  if (speed.size() > 2) speed = {speed.front(), speed.back()};
  speed.shrink_to_fit();
  if (scores.size() > most_scores) scores.resize(most_scores);
  scores.shrink_to_fit();
}

MotionAccount account_of(const AgGes& engine, Intermediates intermediates,
                         const Samples& acc, const Samples& rates, size_t first,
                         size_t collected) {
  MotionAccount account;
  account.first = first;
  account.collected = collected;
  account.ran = is_long_enough(collected, engine.min_motion_len);
  if (account.ran) {
    const size_t padding = static_cast<size_t>(std::max(engine.static_window >> 1, 0));
    account.trimmed = std::min(padding, collected);
  }
  take_result(engine.result, account);
  if (account.kept() == 0) return account;

  const Samples motion_rates = beginning(rates, account.kept());
  FastSteps fast = engine.result.fast;
  account.gravity = engine.gravity;
  if (!account.ran) {
    // Too short to be run, but not to be looked at.
    Recognition made;
    recognise(acc, rates, engine.parameters(), *engine.hgr, made, &intermediates);
    fast = made.result.fast;
    account.gravity = made.gravity;
  }
  account.lost_at = find_loss(motion_rates, engine.sample_rate);
  if (account.lost_at) {
    account.zero_rate = squared_length(motion_rates[*account.lost_at]) == 0.0;
  }
  take_speeds(fast, intermediates.squared_speed, account);
  account.corrected = std::move(intermediates.corrected);
  account.compared = std::move(intermediates.compared);
  rank_scores(*engine.hgr->model, intermediates.scores, account);
  if (engine.result.scored()) account.path = path_of_best(*engine.hgr->model, account);
  return account;
}

}  // namespace wgr
