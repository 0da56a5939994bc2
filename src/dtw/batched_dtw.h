// Warps one trace onto several others at once, one in each lane of the CPU's vectors, to
// compare many with many. Gives both orders for the price of one.
#pragma once

#include <cstddef>
#include <vector>

#include "base/aligned_array.h"
#include "base/points.h"
#include "dtw/dtw.h"

namespace wgr {

// The first points of a trace.
struct MotionPoints {
  const Point3Df* points;
  size_t count;
};

// Holds the others and the work space, which only ever grows.
class BatchedDtw {
 public:
  // How many others there is room for on this CPU.
  static size_t width();

  // The others, at most width() of them, none empty; they are copied.
  void set_others(const MotionPoints* others, size_t count);

  // Whether the table of a trace with so many points is small enough for warp(), which
  // keeps all of it.
  bool holds(size_t trace_points) const { return trace_points <= kMostCells / rows_; }

  // Nothing is asked of the others before `first`.
  void warp(const MotionPoints& trace, size_t first = 0);

  // What the last warp() found for one of the others: equal in cost, but not always in
  // length. (Infinite coordinates can make costs that do not compare, and then the two
  // orders choose differently; but from there on all costs are infinite or no numbers,
  // and the length says nothing.)
  //   forth  of the trace (index i) and the other (index j)
  //   back   of the other and the trace
  const WarpingPath& forth(size_t lane) const { return forth_[lane]; }
  const WarpingPath& back(size_t lane) const { return back_[lane]; }

 private:
  static constexpr size_t kMostLanes = 8;
  static constexpr size_t kMostCells = size_t{1} << 17;  // in each lane: 1 MB

  std::vector<size_t> points_;  // of each other
  // Point by point, all lanes beside each other; x, y and z, and the table.
  size_t rows_ = 0;
  AlignedArray<double> others_;
  AlignedArray<double> cost_;
  WarpingPath forth_[kMostLanes] = {};
  WarpingPath back_[kMostLanes] = {};
};

}  // namespace wgr
