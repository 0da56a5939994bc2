// Dynamic time warping: the cheapest way to walk two traces side by side, from both
// starts to both ends, and how long it is.
//
// A path steps through the table of all pairs (i, j) of points, one on in i, in j or in
// both; each pair it visits costs the squared distance of the two points. H. Sakoe and
// S. Chiba, "Dynamic programming algorithm optimization for spoken word recognition",
// IEEE Trans. ASSP 26 (1978), with unit steps and no window.
#pragma once

#include <cstddef>
#include <limits>
#include <vector>

#include "base/points.h"

namespace wgr {

// A cheapest path. Of equally cheap predecessors the diagonal one is taken, then the one
// with the smaller i; the length, and so a score, depends on that.
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

  // The way in which tables are filled changes the time it takes, and nothing else.
  enum class Order { kRows, kDiagonals };
  Dtw();  // the faster one on this CPU
  explicit Dtw(Order order) : order_(order) {}

  // The trace that is compared; it is copied. count >= 1.
  void set_trace(const Point3Df* points, size_t count);

  // The path of the trace (index i) and `other` (index j); count >= 1. May give up, with
  // an infinite cost, once no path can cost `limit` or less.
  WarpingPath warp(const Point3Df* other, size_t count, double limit = kNoLimit);

 private:
  const Order order_;
  std::vector<double> trace_;  // all x, all y, all z, the last point first
  size_t count_ = 0;
  std::vector<double> other_;          // all x, all y, all z
  std::vector<double> costs_;          // three anti-diagonals of the table, or a row
  std::vector<std::ptrdiff_t> steps_;  // diagonal steps of their paths
};

}  // namespace wgr
