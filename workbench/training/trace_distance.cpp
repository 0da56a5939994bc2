#include "training/trace_distance.h"

#include <limits>

#include "dtw/similarity.h"

namespace wgr {

static constexpr double kRounding = 1e-5;  // scores are single precision

TraceDistance::TraceDistance(const Points& trace, int k) : trace_(trace), k_(k) {
  warper_.set_trace(trace.data(), motion_points(trace, k));
}

double TraceDistance::to(const Points& other, double most) {
  constexpr double kFar = std::numeric_limits<double>::infinity();
  const size_t points = motion_points(other, k_);
  const double gravity = gravity_distance(trace_, other, k_);
  // The mean cost of a path is no less than its cost by the longest path's length.
  const double longest = static_cast<double>(motion_points(trace_, k_) + points);
  const double limit = (most - gravity + kRounding) * longest;
  if (limit < 0.0) return kFar;
  const WarpingPath path = warper_.warp(other.data(), points, limit);
  return -static_cast<double>(score_of(path, gravity, k_));
}

}  // namespace wgr
