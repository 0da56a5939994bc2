// Dynamic time warping: the cheapest alignment of two traces, from both starts to both
// ends, and its length.
//
// A path steps through the table of all pairs (i, j) of points, one on in i, in j or in
// both; each pair it visits costs the squared distance of the two points. H. Sakoe and
// S. Chiba, "Dynamic programming algorithm optimization for spoken word recognition",
// IEEE Trans. ASSP 26 (1978), with unit steps and no window:
//
//   g(i, j) = min { g(i - 1, j - 1), g(i - 1, j), g(i, j - 1) } + d(i, j)
//
// The trace lies along the columns (i) and the other along the rows (j): of a cell,
// (i - 1, j) is `left`, (i, j - 1) is `up`.
#pragma once

#include <cstddef>
#include <limits>
#include <vector>

#include "base/points.h"

namespace wgr {

// A cheapest path. Of equally cheap predecessors the diagonal one is taken, then the left
// one; the length, and so a score, depends on that.
struct WarpingPath {
  double cost;    // sum of the squared distances along it
  size_t length;  // pairs on it, and one more if its first step is diagonal
};

// The path of a table of na x nb pairs. A first step that is diagonal does not count
// among its diagonal steps: they start at -1.
WarpingPath warping_path(double cost, size_t na, size_t nb,
                         std::ptrdiff_t diagonal_steps);

// Warps one trace onto others. Holds the work space, which only ever grows: nothing is
// allocated once it has seen traces as long.
class Dtw {
 public:
  static constexpr double kNoLimit = std::numeric_limits<double>::infinity();

  // The trace that is compared; it is copied. count >= 1.
  void set_trace(const Point3Df* points, size_t count);

  // The path of the trace (index i) and `other` (index j); count >= 1. May give up, with
  // an infinite cost, once no path can cost `limit` or less.
  WarpingPath warp(const Point3Df* other, size_t count, double limit = kNoLimit);

 private:
  size_t count_ = 0;
  // Columns, as a Table has them.
  std::vector<double> trace_;
  std::vector<double> costs_;
  std::vector<std::ptrdiff_t> steps_;
};

}  // namespace wgr
