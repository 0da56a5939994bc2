// The warping path itself: which points of two traces are laid upon each other.
//
// The library keeps only a path's cost and length; this is the whole table, for a few
// traces that are to be shown.
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

#include "base/points.h"
#include "dtw/dtw.h"

namespace wgr {

struct TracedPath {
  std::vector<std::pair<size_t, size_t>> pairs;  // (i, j), from both starts to both ends
  WarpingPath path = {0.0, 0};                   // its figures, as Dtw finds them
};

// The cheapest path of a's first na and b's first nb points; na, nb >= 1.
TracedPath trace_path(const Points& a, size_t na, const Points& b, size_t nb);

}  // namespace wgr
