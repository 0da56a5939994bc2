#include "training/averages.h"

#include <cmath>
#include <limits>

#include "dtw/similarity.h"
#include "training/trace_distance.h"
#include "warping/warping_path.h"

namespace wgr {

static constexpr int kRounds = 6;

// The sum of the directions, no matter how long; the start's own where they cancel out.
static Point3Df mean_direction(const std::vector<const Points*>& members,
                               const Point3Df& start) {
  constexpr double kLeastSum = 1e-6;
  Point3Df sum = {0.0, 0.0, 0.0};
  for (const Points* member : members) {
    const double length = std::sqrt(squared_length(member->back()));
    if (length > 0.0) sum = sum + member->back() / length;
  }
  const double length = std::sqrt(squared_length(sum));
  return length > kLeastSum ? sum / length : start;
}

Points average_onto(const std::vector<const Points*>& members, const Points& start,
                    int k) {
  const size_t points = motion_points(start, k);
  std::vector<Point3Df> sums(points, Point3Df{0.0, 0.0, 0.0});
  std::vector<double> weights(points, 0.0);
  for (const Points* member : members) {
    const TracedPath path = trace_path(*member, motion_points(*member, k), start, points);
    const double weight = 1.0 / static_cast<double>(path.path.length);
    for (const auto& [i, j] : path.pairs) {
      sums[j] = sums[j] + weight * (*member)[i];
      weights[j] += weight;
    }
  }
  Points average = start;
  for (size_t j = 0; j < points; ++j) average[j] = sums[j] / weights[j];
  if (k > 0) average.back() = mean_direction(members, start.back());
  return average;
}

size_t nearest_average(const Points& trace, const std::vector<Cluster>& clusters, int k) {
  if (clusters.size() == 1) return 0;
  TraceDistance distance(trace, k);
  size_t best = 0;
  double least = std::numeric_limits<double>::infinity();
  for (size_t c = 0; c < clusters.size(); ++c) {
    const double here = distance.to(clusters[c].trace, least);
    if (!(here < least)) continue;
    least = here;
    best = c;
  }
  return best;
}

std::vector<Cluster> cluster_averages(const std::vector<const Points*>& traces,
                                      const ClassMatrix& matrix, size_t count, int k) {
  std::vector<Cluster> clusters;
  for (const size_t i : pick_one_by_one(matrix, count)) {
    clusters.push_back({*traces[i], i, 1});
  }
  for (int round = 0; round < kRounds; ++round) {
    std::vector<std::vector<const Points*>> members(clusters.size());
    for (const Points* trace : traces) {
      members[nearest_average(*trace, clusters, k)].push_back(trace);
    }
    std::vector<Cluster> next;
    for (size_t c = 0; c < clusters.size(); ++c) {
      if (members[c].empty()) continue;
      next.push_back({average_onto(members[c], clusters[c].trace, k), clusters[c].around,
                      members[c].size()});
    }
    clusters = std::move(next);
  }
  return clusters;
}

Points smoothed(const Points& trace, int k) {
  const size_t points = motion_points(trace, k);
  Points smooth = trace;
  for (size_t i = 0; i < points; ++i) {
    const Point3Df& before = trace[i > 0 ? i - 1 : 0];
    const Point3Df& after = trace[i + 1 < points ? i + 1 : i];
    smooth[i] = 0.25 * (before + after) + 0.5 * trace[i];
  }
  return smooth;
}

}  // namespace wgr
