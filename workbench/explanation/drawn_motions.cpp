#include "explanation/drawn_motions.h"

#include <string>

#include "explanation/series.h"
#include "json/json_text.h"

namespace wgr {

using Json = nlohmann::ordered_json;

static constexpr double kSpeedUnit = 0.001;  // m/s
static constexpr double kShapeUnit = 0.01;   // of the strength

static constexpr size_t kMostForMotions = 1'500'000;  // characters of base64
static constexpr size_t kPointsPerMotion = 400;       // at most
static constexpr size_t kFewestPoints = 4;            // fewer are not halved

// The best template along the warping path: for every point of the motion the mean of the
// template's points that are laid upon it.
static Points laid_over(const MotionExplanation& m, const Points& best, size_t count) {
  Points laid(count, {0.0, 0.0, 0.0});
  std::vector<double> pairs(count, 0.0);
  for (const auto& [i, j] : m.path.pairs) {
    laid[i] = laid[i] + best[j];
    pairs[i] += 1.0;
  }
  for (size_t i = 0; i < count; ++i) laid[i] = laid[i] / pairs[i];
  return laid;
}

// How many points the warping path and its template are drawn over.
static size_t points_on_path(const MotionExplanation& m) {
  return m.path.pairs.empty() ? 0 : m.path.pairs.back().first + 1;
}

// `t`: when each of the motion's samples is drawn.
static Json motion_series(const MotionExplanation& m, const Gmodel& model,
                          const std::vector<double>& t, size_t most) {
  if (m.corrected.empty()) return nullptr;
  const size_t bucket = bucket_for(t.size(), most);
  Json json = {{"t", series(times_of_extremes(t, bucket), kTimeUnit)},
               {"active", nullptr}};
  if (!m.lost_at) {
    json["corrected"] = axes_json(m.corrected, t.size(), bucket, kAccUnit);
  }
  if (m.compared_points() > 0) {
    // With a step's state goes the acceleration one sample before its start.
    json["active"] = {t[m.active.begin - 1], t[m.active.end - 2]};
  }
  if (!m.speed.empty() && !m.lost_at) {
    const std::vector<double> steps(t.begin() + 1, t.end());
    json["speed_t"] = series(times_of_extremes(steps, bucket), kTimeUnit);
    json["speed"] = series(extremes(m.speed, bucket), kSpeedUnit);
  }
  if (const size_t count = points_on_path(m); count > 0) {
    const auto first = t.begin() + static_cast<std::ptrdiff_t>(m.active.begin - 1);
    const std::vector<double> compared_t(first,
                                         first + static_cast<std::ptrdiff_t>(count));
    const Points& best = model.templates[m.scores.front().index].second;
    const size_t thin = bucket_for(count, most);
    json["compared_t"] = series(times_of_extremes(compared_t, thin), kTimeUnit);
    json["compared"] = axes_json(m.compared, count, thin, kShapeUnit);
    json["template"] = axes_json(laid_over(m, best, count), count, thin, kShapeUnit);
  }
  return json;
}

bool DrawnMotions::Timeline::Array::fits() const {
  return most <= kFewestPoints || text->size_in_page() <= kMostForMotions;
}

DrawnMotions::Timeline::Timeline() {
  for (size_t most = kPointsPerMotion;; most /= 2) {
    arrays_.push_back({most, std::make_unique<Deflated>(Z_BEST_SPEED)});
    if (most <= kFewestPoints) return;
  }
}

void DrawnMotions::Timeline::drop_too_large() {
  while (!arrays_.front().fits()) arrays_.erase(arrays_.begin());
}

void DrawnMotions::Timeline::add(const MotionExplanation& m, const Gmodel& model,
                                 const std::vector<double>& t) {
  std::string text;
  size_t buckets[2] = {0, 0};
  for (const Array& array : arrays_) {
    const size_t own[2] = {bucket_for(t.size(), array.most),
                           bucket_for(points_on_path(m), array.most)};
    // A short motion is drawn alike however few points there may be.
    if (text.empty() || own[0] != buckets[0] || own[1] != buckets[1]) {
      text = (empty_ ? "[" : ",") + json_text(motion_series(m, model, t, array.most));
      buckets[0] = own[0];
      buckets[1] = own[1];
    }
    array.text->add(text);
  }
  empty_ = false;
  drop_too_large();
}

void DrawnMotions::Timeline::write(const TextSink& sink) {
  for (const Array& array : arrays_) {
    array.text->add(empty_ ? "[]" : "]");
    array.text->finish();
  }
  drop_too_large();
  arrays_.front().text->write(sink);
}

void DrawnMotions::add(const MotionExplanation& motion, const Gmodel& model,
                       const std::deque<double>& times, int rate) {
  std::vector<double> stamps;
  std::vector<double> nominal;
  for (size_t i = 0; i < motion.corrected.size(); ++i) {
    stamps.push_back(times[motion.first + i]);
    nominal.push_back(nominal_time(times.front(), motion.first + i, rate));
  }
  stamped_.add(motion, model, stamps);
  nominal_.add(motion, model, nominal);
}

void DrawnMotions::write(bool stamped, const TextSink& sink) {
  (stamped ? stamped_ : nominal_).write(sink);
}

}  // namespace wgr
