// Scores all of many traces with each other.
//
// Pairs do not depend on each other: a trace is compared with several others at once, and
// each comparison gives the scores of both orders.
#pragma once

#include <algorithm>
#include <vector>

#include "base/points.h"
#include "dtw/batched_dtw.h"
#include "dtw/similarity.h"

namespace wgr {

// See HGR::cal_sim_matrix; `matrix` has room for n x n scores, all of which are put.
void similarity_matrix(const std::vector<Points>& traces, int k, float* matrix);

// One group of a matrix: scores the traces order[first] to order[end - 1], at most
// BatchedDtw::width() of them, with each other and with all that stand before them in
// `order`. put(i, j, score) takes HGR::cal_simlarity of traces i and j; both orders of
// every pair are put. Every trace in `order` has motion points. Groups whose traces are
// of like length cost least.
template <class Put>
void score_group(const std::vector<Points>& traces, int k,
                 const std::vector<size_t>& order, size_t first, size_t end,
                 BatchedDtw& lanes, Put put) {
  const auto motion = [&](size_t at) {
    const Points& trace = traces[order[at]];
    return MotionPoints{trace.data(), motion_points(trace, k)};
  };
  std::vector<MotionPoints> others;
  for (size_t at = first; at < end; ++at) others.push_back(motion(at));
  lanes.set_others(others.data(), others.size());
  for (size_t before = 0; before + 1 < end; ++before) {
    const size_t a = order[before];
    const size_t next = std::max(first, before + 1);
    const bool together = lanes.holds(motion(before).count);
    if (together) lanes.warp(motion(before), next - first);
    for (size_t at = next; at < end; ++at) {
      const size_t b = order[at];
      if (!together) {
        put(a, b, dtw_similarity(traces[a], traces[b], k));
        put(b, a, dtw_similarity(traces[b], traces[a], k));
        continue;
      }
      const double gravity = gravity_distance(traces[a], traces[b], k);
      put(a, b, score_of(lanes.forth(at - first), gravity, k));
      put(b, a, score_of(lanes.back(at - first), gravity, k));
    }
  }
}

}  // namespace wgr
