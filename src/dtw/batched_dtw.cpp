// The table of dtw.h is filled column by column, in all lanes alike. A lane whose trace
// ends before the longest continues with zeros, after the corner that its result is taken
// from.
//
// The lanes fill exactly one vector of the CPU: the neighbours above and on the diagonal
// then stay in registers. Compilers do not find that by themselves, so these
// loops name their vectors; they are compiled once for each width.
#include "dtw/batched_dtw.h"

#include <algorithm>

#include "base/cpu_dispatch.h"
#include "base/vectors.h"

namespace wgr {

using Count = std::ptrdiff_t;

namespace {

struct Table {
  MotionPoints trace;    // i: columns
  const double* others;  // j: rows
  size_t rows;
  // The column that was filled last.
  double* cost;
  Count* forth;  // diagonal steps, seen from (i, j)
  Count* back;   // and from (j, i)
};

// One cell in all lanes.
template <size_t kLanes>
struct Cell {
  typename Vectors<kLanes>::Doubles cost;
  typename Vectors<kLanes>::Counts forth;
  typename Vectors<kLanes>::Counts back;
};

}  // namespace

template <size_t kLanes>
WGR_INLINE void load(const Table& table, size_t j, Cell<kLanes>& cell) {
  load(table.cost + j * kLanes, cell.cost);
  load(table.forth + j * kLanes, cell.forth);
  load(table.back + j * kLanes, cell.back);
}

template <size_t kLanes>
WGR_INLINE void store(const Cell<kLanes>& cell, const Table& table, size_t j) {
  store(cell.cost, table.cost + j * kLanes);
  store(cell.forth, table.forth + j * kLanes);
  store(cell.back, table.back + j * kLanes);
}

template <size_t kLanes>
WGR_INLINE void add_distance(const Point3Df& p, const Table& table, size_t j,
                             Cell<kLanes>& cell) {
  typename Vectors<kLanes>::Doubles x, y, z;
  const double* const other = table.others + 3 * j * kLanes;
  load(other, x);
  load(other + kLanes, y);
  load(other + 2 * kLanes, z);
  x = p.x - x;
  y = p.y - y;
  z = p.z - z;
  cell.cost += y * y + x * x + z * z;
}

// `cell` becomes the best way into the cell that the three are neighbours of: (i - 1, j),
// (i, j - 1) and (i - 1, j - 1). Of two equal sides it is the one with the smaller index
// of the first trace; seen from (j, i) that is the other one.
template <size_t kLanes>
WGR_INLINE void choose(const Cell<kLanes>& left, const Cell<kLanes>& up,
                       const Cell<kLanes>& diagonal, Cell<kLanes>& cell) {
  typename Vectors<kLanes>::Doubles side;
  minimum<kLanes>(left.cost, up.cost, side);
  const auto side_forth = up.cost < left.cost ? up.forth : left.forth;
  const auto side_back = left.cost < up.cost ? left.back : up.back;
  minimum<kLanes>(side, diagonal.cost, cell.cost);
  cell.forth = side < diagonal.cost ? side_forth : diagonal.forth + 1;
  cell.back = side < diagonal.cost ? side_back : diagonal.back + 1;
}

template <size_t kLanes>
WGR_INLINE void fill(const Table& table) {
  const Point3Df* const points = table.trace.points;
  const typename Vectors<kLanes>::Counts none = {};
  // A diagonal first step does not count, so the first cell starts at -1.
  Cell<kLanes> up = {};
  up.forth -= 1;
  up.back -= 1;
  for (size_t j = 0; j < table.rows; ++j) {
    add_distance(points[0], table, j, up);
    store(up, table, j);
    up.forth = none;
    up.back = none;
  }
  for (size_t i = 1; i < table.trace.count; ++i) {
    Cell<kLanes> diagonal;
    load(table, 0, diagonal);
    up.cost = diagonal.cost;
    up.forth = none;
    up.back = none;
    add_distance(points[i], table, 0, up);
    store(up, table, 0);
    for (size_t j = 1; j < table.rows; ++j) {
      Cell<kLanes> left, cell;
      load(table, j, left);
      choose(left, up, diagonal, cell);
      add_distance(points[i], table, j, cell);
      store(cell, table, j);
      diagonal = left;
      up = cell;
    }
  }
}

namespace {

struct Filler {
  size_t lanes;
  void (*fill)(const Table&);
};

}  // namespace

#ifdef WGR_WIDER_VECTORS
WGR_FOR_EIGHT_LANES static void fill_eight(const Table& t) { fill<8>(t); }
WGR_FOR_FOUR_LANES static void fill_four(const Table& t) { fill<4>(t); }
#endif
static void fill_least(const Table& t) { fill<kLeastLanes>(t); }

static Filler choose_filler() {
  const size_t lanes = lanes_of_cpu();
#ifdef WGR_WIDER_VECTORS
  if (lanes == 8) return {lanes, fill_eight};
  if (lanes == 4) return {lanes, fill_four};
#endif
  return {lanes, fill_least};
}

static const Filler& filler() {
  static const Filler chosen = choose_filler();
  return chosen;
}

size_t BatchedDtw::width() { return filler().lanes; }

void BatchedDtw::set_others(const std::vector<MotionPoints>& others) {
  const size_t lanes = width();
  rows_ = 0;
  points_.clear();
  for (const MotionPoints& other : others) {
    points_.push_back(other.count);
    rows_ = std::max(rows_, other.count);
  }
  others_.need(3 * rows_ * lanes);
  std::fill_n(others_.data(), 3 * rows_ * lanes, 0.0);
  cost_.need(rows_ * lanes);
  forth_.need(rows_ * lanes);
  back_.need(rows_ * lanes);
  for (size_t lane = 0; lane < others.size(); ++lane) {
    for (size_t j = 0; j < others[lane].count; ++j) {
      const Point3Df& p = others[lane].points[j];
      double* const point = others_.data() + (3 * j * lanes + lane);
      point[0] = p.x;
      point[lanes] = p.y;
      point[2 * lanes] = p.z;
    }
  }
}

void BatchedDtw::warp(const MotionPoints& trace) {
  trace_points_ = trace.count;
  filler().fill(
      {trace, others_.data(), rows_, cost_.data(), forth_.data(), back_.data()});
}

WarpingPath BatchedDtw::path(size_t lane, const Count* steps) const {
  const size_t corner = (points_[lane] - 1) * width() + lane;
  return warping_path(cost_.data()[corner], trace_points_, points_[lane], steps[corner]);
}

WarpingPath BatchedDtw::forth(size_t lane) const { return path(lane, forth_.data()); }

WarpingPath BatchedDtw::back(size_t lane) const { return path(lane, back_.data()); }

}  // namespace wgr
