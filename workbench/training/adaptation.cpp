#include "training/adaptation.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

#include "dtw/similarity.h"
#include "training/trace_distance.h"
#include "warping/warping_path.h"

namespace wgr {

static constexpr int kRounds = 20;
static constexpr double kFirstRate = 0.2;   // falling evenly
static constexpr double kSteepness = 12.0;  // of f(mu) = atan(12 mu) / 12
static constexpr double kMostWeight = 2.0;  // longer steps would overshoot

StepFactors step_factors(double own_distance, double other_distance) {
  const double sum = own_distance + other_distance;
  if (!(sum > 0.0) || !std::isfinite(sum)) return {};
  const double mu = (own_distance - other_distance) / sum;
  const double slope = 1.0 / (1.0 + (kSteepness * mu) * (kSteepness * mu));
  return {slope * other_distance / (sum * sum), slope * own_distance / (sum * sum)};
}

static Point3Df direction(const Point3Df& v) { return v / std::sqrt(squared_length(v)); }

void move_towards(const Points& example, double rate, int k, Points& moved) {
  const size_t points = motion_points(moved, k);
  const TracedPath path = trace_path(example, motion_points(example, k), moved, points);
  Points steps(points, Point3Df{0.0, 0.0, 0.0});
  for (const auto& [i, j] : path.pairs) steps[j] = steps[j] + (example[i] - moved[j]);
  for (size_t j = 0; j < points; ++j) moved[j] = moved[j] + rate * steps[j];
  if (k == 0 || !(squared_length(example.back()) > 0.0)) return;
  const Point3Df own = direction(moved.back());
  moved.back() = own + rate * (direction(example.back()) - own);
}

static void adapt_to(const LabelledTrace& example, double rate,
                     const std::vector<MovedTemplate>& templates, int k) {
  constexpr double kFar = std::numeric_limits<double>::infinity();
  TraceDistance distance(*example.trace, k);
  const MovedTemplate* own = nullptr;
  const MovedTemplate* other = nullptr;
  double own_distance = kFar;
  double other_distance = kFar;
  for (const MovedTemplate& t : templates) {
    const bool same = t.class_index == example.class_index;
    double& least = same ? own_distance : other_distance;
    const double here = distance.to(*t.trace, least);
    if (!(here < least)) continue;
    least = here;
    (same ? own : other) = &t;
  }
  if (own == nullptr || other == nullptr) return;
  const StepFactors factors = step_factors(own_distance, other_distance);
  move_towards(*example.trace, rate * factors.own, k, *own->trace);
  move_towards(*example.trace, -rate * factors.other, k, *other->trace);
}

// What an example of each class weighs: halfway between all examples alike, where large
// classes push the templates of small ones away, and all classes alike.
static std::map<size_t, double> class_weights(
    const std::vector<LabelledTrace>& examples) {
  std::map<size_t, size_t> sizes;
  for (const LabelledTrace& example : examples) ++sizes[example.class_index];
  const double mean =
      static_cast<double>(examples.size()) / static_cast<double>(sizes.size());
  std::map<size_t, double> weights;
  for (const auto& [class_index, size] : sizes) {
    weights[class_index] =
        std::min(kMostWeight, std::sqrt(mean / static_cast<double>(size)));
  }
  return weights;
}

void adapt_templates(const std::vector<LabelledTrace>& examples,
                     const std::vector<MovedTemplate>& templates, int k) {
  const std::map<size_t, double> weights = class_weights(examples);
  for (int round = 0; round < kRounds; ++round) {
    const double rate = kFirstRate * (kRounds - round) / kRounds;
    for (const LabelledTrace& example : examples) {
      adapt_to(example, rate * weights.at(example.class_index), templates, k);
    }
  }
}

}  // namespace wgr
