// Pairs do not depend on each other: a trace is compared with several others at once, and
// each comparison gives the scores of both orders.
#include "classifier/similarity_matrix.h"

#include <algorithm>

#include "classifier/similarity.h"
#include "classifier/warping_lanes.h"

void similarity_matrix(const std::vector<Points>& traces, int k, float* matrix) {
  const size_t n = traces.size();
  const auto motion = [&](size_t i) {
    return Motion{traces[i].data(), motion_points(traces[i], k)};
  };

  std::vector<size_t> moving;
  for (size_t i = 0; i < n; ++i) {
    matrix[i * n + i] = 0.0f;
    if (motion(i).count > 0) {
      moving.push_back(i);
      continue;
    }
    for (size_t j = 0; j < n; ++j) {
      if (j == i) continue;
      matrix[i * n + j] = dtw_similarity(traces[i], traces[j], k);
      matrix[j * n + i] = dtw_similarity(traces[j], traces[i], k);
    }
  }
  // Those that are compared at once should end together.
  std::sort(moving.begin(), moving.end(),
            [&](size_t a, size_t b) { return motion(a).count < motion(b).count; });

  WarpingLanes lanes;
  std::vector<Motion> others;
  for (size_t first = 0; first < moving.size(); first += others.size()) {
    const size_t end = std::min(first + WarpingLanes::width(), moving.size());
    others.clear();
    for (size_t at = first; at < end; ++at) others.push_back(motion(moving[at]));
    lanes.set_others(others);
    for (size_t before = 0; before + 1 < end; ++before) {
      const size_t a = moving[before];
      lanes.warp(motion(a));
      for (size_t at = std::max(first, before + 1); at < end; ++at) {
        const size_t b = moving[at];
        const double gravity = gravity_distance(traces[a], traces[b], k);
        matrix[a * n + b] = score_of(lanes.forth(at - first), gravity, k);
        matrix[b * n + a] = score_of(lanes.back(at - first), gravity, k);
      }
    }
  }
}
