#include "explanation/motion_account.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "base/class_codes.h"
#include "dtw/similarity.h"
#include "engine/orientation.h"

namespace wgr {

const char* name_of(Cause cause) {
  switch (cause) {
    case Cause::kReported:
      return "reported";
    case Cause::kUnlike:
      return "rejected";
    case Cause::kTooShort:
      return "too-short";
    case Cause::kNotANumber:
      return "not-a-number";
    case Cause::kStartsFast:
      return "starts-fast";
    case Cause::kEndsFast:
      return "ends-fast";
    case Cause::kStretchTooShort:
      return "stretch-too-short";
    case Cause::kTooWeak:
      return "too-weak";
    case Cause::kNoTemplates:
      return "no-templates";
    case Cause::kNoScore:
      return "no-score";
    case Cause::kNeverReported:
      return "never-reported";
    case Cause::kUnfinished:
      return "unfinished";
    case Cause::kCutByReport:
      return "cut-by-report";
    case Cause::kWrongMode:
      return "wrong-mode";
    case Cause::kAtRest:
      return "at-rest";
    case Cause::kOtherClass:
      return "other-class";
    case Cause::kSharedMotion:
      return "shared-motion";
    case Cause::kNoSamples:
      return "no-samples";
  }
  return "unknown";
}

static bool has_nan(const Point3Df& p) {
  return std::isnan(p.x) || std::isnan(p.y) || std::isnan(p.z);
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

static std::optional<double> threshold_of(const Gmodel& model, int label) {
  if (model.class_thresholds.empty()) return std::nullopt;
  const size_t classes =
      std::min({static_cast<size_t>(std::max(model.nclasses, 0)),
                model.class_labels.size(), model.class_thresholds.size()});
  for (size_t c = 0; c < classes; ++c) {
    if (model.class_labels[c] == label) return model.class_thresholds[c];
  }
  return std::nullopt;
}

static bool ranks_before(const TemplateScore& a, const TemplateScore& b) {
  if (std::isnan(a.score) != std::isnan(b.score)) return std::isnan(b.score);
  if (a.score != b.score && !std::isnan(a.score)) return a.score > b.score;
  return a.index < b.index;
}

// Scores `compared` with every template; false, with a path, unless it resembles none.
static void score_all(HGR& hgr, MotionAccount& account) {
  const Gmodel& model = *hgr.model;
  const size_t count =
      std::min(static_cast<size_t>(std::max(model.nTemplate, 0)), model.templates.size());
  for (size_t t = 0; t < count; ++t) {
    const auto& [label, trace] = model.templates[t];
    account.scores.push_back(
        {t, label, hgr.cal_simlarity(account.compared, trace, model.havegravity),
         threshold_of(model, label)});
  }
  account.compared_templates = account.scores.size();
  std::sort(account.scores.begin(), account.scores.end(), ranks_before);
}

static void trace_best(const HGR& hgr, MotionAccount& account) {
  const int k = hgr.model->havegravity;
  const TemplateScore& best = account.scores.front();
  const Points& other = hgr.model->templates[best.index].second;
  const size_t na = motion_points(account.compared, k);
  const size_t nb = motion_points(other, k);
  account.path = trace_path(account.compared, na, other, nb);
  const float score =
      score_of(account.path.path, gravity_distance(account.compared, other, k), k);
  if (score != best.score) {
    throw std::logic_error("the warping path found does not have the library's score");
  }
}

// The last step: names the motion and tells what decided.
static void classify(AgGes& engine, MotionAccount& account) {
  account.compared.push_back(account.gravity);
  int reject = 0;
  double score = 0.0;
  account.predicted = true;
  account.engine_class =
      engine.hgr->predict(account.compared, &account.strength, &score, &reject);
  // predict() leaves the trace scaled only for a model that compares scaled traces.
  score_all(*engine.hgr, account);

  const bool similar = !account.scores.empty() &&
                       static_cast<double>(account.scores.front().score) >= score &&
                       std::isfinite(score);
  std::vector<Cause> causes;
  if (account.strength < engine.strength_threshold) causes.push_back(Cause::kTooWeak);
  if (account.scores.empty()) {
    causes.push_back(Cause::kNoTemplates);
  } else if (!similar) {
    causes.push_back(Cause::kNoScore);
  } else {
    const TemplateScore& best = account.scores.front();
    if (static_cast<double>(best.score) != score || best.label != account.engine_class) {
      throw std::logic_error("the templates' scores do not lead to the library's class");
    }
    trace_best(*engine.hgr, account);
    if (reject != 0) causes.push_back(Cause::kUnlike);
    if (!report_of(account.engine_class)) causes.push_back(Cause::kNeverReported);
  }
  if (causes.empty()) causes.push_back(Cause::kReported);
  account.cause = causes.front();
  account.also.assign(causes.begin() + 1, causes.end());

  if (account.cause == Cause::kTooWeak) {
    account.engine_class = kNoGesture;
  } else if (reject != 0) {
    account.engine_class = kRejected;
  }
}

static void measure_speed(const AgGes& engine, MotionAccount& account) {
  const Kinematics motion = integrate(account.corrected, engine.sample_rate);
  const double threshold = fast_from(motion);
  account.fast_from = std::sqrt(threshold);
  account.active = active_stretch(motion);
  for (const double squared : motion.squared_speed) {
    account.speed.push_back(std::sqrt(squared));
  }
  if (motion.squared_speed.empty()) return;
  account.starts_fast = is_fast(motion.squared_speed.front(), threshold);
  account.ends_fast = is_fast(motion.squared_speed.back(), threshold);
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

MotionAccount account_of(AgGes& engine, const Samples& acc, const Samples& rates,
                         size_t first, size_t collected) {
  MotionAccount account;
  account.first = first;
  account.collected = collected;
  account.engine_class = kNoGesture;
  account.cause = Cause::kTooShort;
  const long long least = engine.min_motion_len;
  account.ran = static_cast<long long>(collected) >= least;
  if (account.ran) {
    const size_t margin = static_cast<size_t>(std::max(engine.static_window >> 1, 0));
    account.trimmed = std::min(margin, collected);
  }
  if (account.kept() == 0) return account;

  const Samples motion_acc = beginning(acc, account.kept());
  const Samples motion_rates = beginning(rates, account.kept());
  account.gravity =
      orient(motion_acc, motion_rates, engine.sample_rate, account.corrected);
  account.lost_at = find_loss(motion_rates, engine.sample_rate);
  if (account.lost_at) {
    account.zero_rate = squared_length(motion_rates[*account.lost_at]) == 0.0;
  }
  measure_speed(engine, account);
  if (!account.ran) return account;

  account.compared = account.corrected;
  Points velocity;
  Points position;
  reconstruct(account.compared, engine.sample_rate, velocity, position);
  account.duration_ms = static_cast<double>(account.compared.size()) * 1000.0 /
                        static_cast<double>(engine.sample_rate);
  if (account.lost_at || has_nan(account.gravity)) {
    account.cause = Cause::kNotANumber;
  } else if (account.starts_fast) {
    account.cause = Cause::kStartsFast;
    if (account.ends_fast) account.also.push_back(Cause::kEndsFast);
  } else if (account.ends_fast) {
    account.cause = Cause::kEndsFast;
  } else if (account.compared.empty() ||
             static_cast<long long>(account.compared.size()) < least) {
    account.cause = Cause::kStretchTooShort;
  } else {
    classify(engine, account);
  }
  return account;
}

}  // namespace wgr
