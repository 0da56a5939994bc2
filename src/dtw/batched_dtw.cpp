// The table is filled row by row, in all lanes alike; what a cell holds is told in
// dtw.h. A lane whose trace ends before the longest goes on with zeros, behind the
// corner that its result is taken from.
//
// The lanes fill exactly one vector of the CPU: the neighbours on the left and on the
// diagonal then stay in registers. Compilers do not find that by themselves, so these
// loops name their vectors; they are compiled once for each width.
#include "dtw/batched_dtw.h"

#include <algorithm>
#include <cstring>

#include "base/cpu_dispatch.h"
#include "base/vectors.h"

namespace wgr {

using Count = std::ptrdiff_t;

namespace {

struct Table {
  MotionPoints trace;    // i: rows
  const double* others;  // j: columns
  size_t columns;
  // The row that was filled last.
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

// Vectors go in and out by reference: how they are passed by value depends on the CPU.
template <size_t kLanes>
WGR_INLINE void load(const Table& table, size_t j, Cell<kLanes>& cell) {
  std::memcpy(&cell.cost, table.cost + j * kLanes, sizeof cell.cost);
  std::memcpy(&cell.forth, table.forth + j * kLanes, sizeof cell.forth);
  std::memcpy(&cell.back, table.back + j * kLanes, sizeof cell.back);
}

template <size_t kLanes>
WGR_INLINE void store(const Cell<kLanes>& cell, const Table& table, size_t j) {
  std::memcpy(table.cost + j * kLanes, &cell.cost, sizeof cell.cost);
  std::memcpy(table.forth + j * kLanes, &cell.forth, sizeof cell.forth);
  std::memcpy(table.back + j * kLanes, &cell.back, sizeof cell.back);
}

template <size_t kLanes>
WGR_INLINE void add_distance(const Point3Df& p, const Table& table, size_t j,
                             Cell<kLanes>& cell) {
  typename Vectors<kLanes>::Doubles x, y, z;
  const double* const other = table.others + 3 * j * kLanes;
  std::memcpy(&x, other, sizeof x);
  std::memcpy(&y, other + kLanes, sizeof y);
  std::memcpy(&z, other + 2 * kLanes, sizeof z);
  x = p.x - x;
  y = p.y - y;
  z = p.z - z;
  cell.cost += y * y + x * x + z * z;
}

// `cell` becomes the best way into the cell that the three are neighbours of: (i - 1, j),
// (i, j - 1) and (i - 1, j - 1). Of two equal sides it is the one with the smaller index
// of the first trace; seen from (j, i) that is the other one.
template <size_t kLanes>
WGR_INLINE void choose(const Cell<kLanes>& up, const Cell<kLanes>& left,
                       const Cell<kLanes>& diagonal, Cell<kLanes>& cell) {
  const auto side = up.cost < left.cost ? up.cost : left.cost;
  const auto side_forth = left.cost < up.cost ? left.forth : up.forth;
  const auto side_back = up.cost < left.cost ? up.back : left.back;
  cell.cost = side < diagonal.cost ? side : diagonal.cost;
  cell.forth = side < diagonal.cost ? side_forth : diagonal.forth + 1;
  cell.back = side < diagonal.cost ? side_back : diagonal.back + 1;
}

template <size_t kLanes>
WGR_INLINE void fill(const Table& table) {
  const Point3Df* const points = table.trace.points;
  const typename Vectors<kLanes>::Counts none = {};
  // A first step that is diagonal is not to count, so the first cell starts at -1.
  Cell<kLanes> left = {};
  left.forth -= 1;
  left.back -= 1;
  for (size_t j = 0; j < table.columns; ++j) {
    add_distance(points[0], table, j, left);
    store(left, table, j);
    left.forth = none;
    left.back = none;
  }
  for (size_t i = 1; i < table.trace.count; ++i) {
    Cell<kLanes> diagonal;
    load(table, 0, diagonal);
    left.cost = diagonal.cost;
    left.forth = none;
    left.back = none;
    add_distance(points[i], table, 0, left);
    store(left, table, 0);
    for (size_t j = 1; j < table.columns; ++j) {
      Cell<kLanes> up, cell;
      load(table, j, up);
      choose(up, left, diagonal, cell);
      add_distance(points[i], table, j, cell);
      store(cell, table, j);
      diagonal = up;
      left = cell;
    }
  }
}

namespace {

struct Filler {
  size_t lanes;
  void (*fill)(const Table&);
};

}  // namespace

#if defined(__x86_64__) && !defined(WGR_PORTABLE)
#ifndef WGR_NO_AVX512
__attribute__((target("avx512f"))) static void fill_eight(const Table& t) { fill<8>(t); }
#endif
__attribute__((target("avx2"))) static void fill_four(const Table& t) { fill<4>(t); }
#endif

#ifdef WGR_VECTORS_OF_DOUBLES
static void fill_two(const Table& t) { fill<2>(t); }
#else
static void fill_one(const Table& t) { fill<1>(t); }
#endif

static Filler choose_filler() {
#if defined(__x86_64__) && !defined(WGR_PORTABLE)
#ifndef WGR_NO_AVX512
  if (__builtin_cpu_supports("avx512f")) return {8, fill_eight};
#endif
  if (__builtin_cpu_supports("avx2")) return {4, fill_four};
#endif
#ifdef WGR_VECTORS_OF_DOUBLES
  return {2, fill_two};
#else
  return {1, fill_one};
#endif
}

static const Filler& filler() {
  static const Filler chosen = choose_filler();
  return chosen;
}

size_t BatchedDtw::width() { return filler().lanes; }

void BatchedDtw::set_others(const std::vector<MotionPoints>& others) {
  const size_t lanes = width();
  columns_ = 0;
  points_.clear();
  for (const MotionPoints& other : others) {
    points_.push_back(other.count);
    columns_ = std::max(columns_, other.count);
  }
  others_.need(3 * columns_ * lanes);
  std::fill_n(others_.data(), 3 * columns_ * lanes, 0.0);
  cost_.need(columns_ * lanes);
  forth_.need(columns_ * lanes);
  back_.need(columns_ * lanes);
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
      {trace, others_.data(), columns_, cost_.data(), forth_.data(), back_.data()});
}

WarpingPath BatchedDtw::path(size_t lane, const Count* steps) const {
  const size_t corner = (points_[lane] - 1) * width() + lane;
  return warping_path(cost_.data()[corner], trace_points_, points_[lane], steps[corner]);
}

WarpingPath BatchedDtw::forth(size_t lane) const { return path(lane, forth_.data()); }

WarpingPath BatchedDtw::back(size_t lane) const { return path(lane, back_.data()); }

}  // namespace wgr
