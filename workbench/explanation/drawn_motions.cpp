#include "explanation/drawn_motions.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>

#include "explanation/packed_series.h"
#include "explanation/series.h"

namespace wgr {

static constexpr double kSpeedUnit = 0.005;  // m/s
static constexpr double kTraceUnit = 0.1;    // m/s²
static constexpr double kShapeUnit = 0.02;   // of the strength
static constexpr double kScaleUnit = 0.001;

static constexpr size_t kMostForThinned = 900'000;  // characters of base64
static constexpr size_t kPointsPerMotion = 400;     // at most, where they are thinned
static constexpr size_t kFewestPoints = 4;          // fewer show nothing

static void append_axes(std::string& bytes, const Points& points, size_t count,
                        size_t bucket, double unit) {
  for (const auto axis : {&Point3Df::x, &Point3Df::y, &Point3Df::z}) {
    std::vector<double> values;
    for (size_t i = 0; i < count; ++i) values.push_back(points[i].*axis);
    append_series(bytes, extremes(values, bucket), unit);
  }
}

static double largest_difference(const Point3Df& a, const Point3Df& b) {
  return std::max({std::abs(a.x - b.x), std::abs(a.y - b.y), std::abs(a.z - b.z)});
}

// What was compared is the active stretch of the corrected trace, often over the
// motion's strength. By what it is to be divided; nothing where it is something else.
static std::optional<double> scale_of_compared(const MotionExplanation& m, size_t count) {
  for (const double scale : {1.0, m.strength}) {
    bool same = scale > 0.0 && m.active.begin + count - 1 <= m.corrected.size();
    for (size_t i = 0; same && i < count; ++i) {
      const Point3Df expected = (1.0 / scale) * m.corrected[m.active.begin - 1 + i];
      same = largest_difference(expected, m.compared[i]) < kShapeUnit;
    }
    if (same) return scale;
  }
  return std::nullopt;
}

// What was compared, and which of the best template's points each of its points is laid
// upon: the first of them, and how many follow.
static void append_compared(std::string& bytes, const MotionExplanation& m) {
  const size_t count = m.path.pairs.back().first + 1;
  const std::optional<double> scale = scale_of_compared(m, count);
  append_series(bytes, scale ? std::vector<double>{*scale} : std::vector<double>(),
                kScaleUnit);
  if (!scale) append_axes(bytes, m.compared, count, 1, kShapeUnit);
  std::vector<double> firsts(count);
  std::vector<double> more(count, -1.0);
  for (const auto& [i, j] : m.path.pairs) {
    if (more[i] < 0.0) firsts[i] = static_cast<double>(j);
    more[i] += 1.0;
  }
  append_series(bytes, firsts, 1.0);
  append_series(bytes, more, 1.0);
}

static std::string motion_block(const MotionExplanation& m, size_t bucket) {
  std::string bytes;
  append_whole(bytes, bucket);
  append_axes(bytes, m.corrected, m.lost_at ? 0 : m.corrected.size(), bucket, kTraceUnit);
  append_series(bytes, m.lost_at ? std::vector<double>() : extremes(m.speed, bucket),
                kSpeedUnit);
  append_whole(bytes, m.compared_points() > 0 ? m.active.begin : 0);
  append_whole(bytes, m.compared_points() > 0 ? m.active.end : 0);
  const bool compared = bucket == 1 && !m.path.pairs.empty();
  append_whole(bytes, compared ? m.scores.front().index + 1 : 0);
  if (compared) append_compared(bytes, m);
  return bytes;
}

bool DrawnMotions::Thinned::fits() const {
  return most / 2 < kFewestPoints || bytes->size_in_page() <= kMostForThinned;
}

DrawnMotions::DrawnMotions() : whole_(std::make_unique<Deflated>(Z_BEST_SPEED)) {
  const auto offer = [this](size_t most, bool short_ones) {
    thinned_.push_back({most, short_ones, std::make_unique<Deflated>(Z_BEST_SPEED)});
  };
  offer(kPointsPerMotion, true);
  // Of motions that are too short there are the most, and the least to be seen.
  for (size_t most = kPointsPerMotion; most >= kFewestPoints; most /= 2) {
    offer(most, false);
  }
}

void DrawnMotions::drop_too_large() {
  while (!thinned_.front().fits()) thinned_.erase(thinned_.begin());
}

void DrawnMotions::add(const MotionExplanation& m, bool matters) {
  const size_t number = motions_++;
  const size_t count = m.corrected.size();
  if (count == 0) return;
  const auto with_number = [&](size_t bucket) {
    std::string bytes;
    append_whole(bytes, number);
    append_block(bytes, motion_block(m, bucket));
    return bytes;
  };
  if (matters) return whole_->add(with_number(1));
  std::string bytes;
  size_t bucket = 0;
  for (const Thinned& thinned : thinned_) {
    if (!m.ran && !thinned.short_ones) continue;
    const size_t own = bucket_for(count, thinned.most);
    // A short motion is drawn alike however few points there may be.
    if (own != bucket) bytes = with_number(own);
    bucket = own;
    thinned.bytes->add(bytes);
  }
  drop_too_large();
}

void DrawnMotions::write(const TextSink& sink) {
  for (const Thinned& thinned : thinned_) thinned.bytes->finish();
  drop_too_large();
  whole_->finish();
  whole_->write(sink);
  thinned_.front().bytes->write(sink);
}

}  // namespace wgr
