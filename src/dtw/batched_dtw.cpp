// The table of dtw.h is filled column by column, in all lanes alike. A lane whose trace
// ends before the longest continues with zeros, after the corner that its result is taken
// from.
//
// The lanes fill exactly one vector of the CPU: the neighbours above and on the diagonal
// then stay in registers. Compilers do not find that by themselves, so these
// loops name their vectors; they are compiled once for each width.
//
// The paths of the two orders part only where the cells above and on the left cost the
// same, which they hardly ever do. So the steps of one order are counted first; a lane
// with such a choice is filled again, for both.
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
  size_t lanes;  // of each row
  // The column that was filled last.
  double* cost;
  Count* steps[2];  // diagonal ones, seen from (i, j) and from (j, i)
};

// One cell in all lanes.
template <size_t kLanes, size_t kOrders>
struct Cell {
  typename Vectors<kLanes>::Doubles cost;
  typename Vectors<kLanes>::Counts steps[kOrders];
};

}  // namespace

// All lanes of a row at once, or for both orders one of them.
template <size_t kLanes, size_t kOrders>
WGR_INLINE size_t lanes_of(const Table& table) {
  return kOrders == 1 ? kLanes : table.lanes;
}

template <size_t kLanes, size_t kOrders>
WGR_INLINE void load(const Table& table, size_t j, Cell<kLanes, kOrders>& cell) {
  const size_t at = j * lanes_of<kLanes, kOrders>(table);
  load(table.cost + at, cell.cost);
  for (size_t o = 0; o < kOrders; ++o) load(table.steps[o] + at, cell.steps[o]);
}

template <size_t kLanes, size_t kOrders>
WGR_INLINE void store(const Cell<kLanes, kOrders>& cell, const Table& table, size_t j) {
  const size_t at = j * lanes_of<kLanes, kOrders>(table);
  store(cell.cost, table.cost + at);
  for (size_t o = 0; o < kOrders; ++o) store(cell.steps[o], table.steps[o] + at);
}

template <size_t kLanes, size_t kOrders>
WGR_INLINE void set_steps(Cell<kLanes, kOrders>& cell, Count steps) {
  typename Vectors<kLanes>::Counts all = {};
  all += steps;
  for (size_t o = 0; o < kOrders; ++o) cell.steps[o] = all;
}

template <size_t kLanes, size_t kOrders>
WGR_INLINE void add_distance(const Point3Df& p, const Table& table, size_t j,
                             Cell<kLanes, kOrders>& cell) {
  typename Vectors<kLanes>::Doubles x, y, z;
  const size_t lanes = lanes_of<kLanes, kOrders>(table);
  const double* const other = table.others + 3 * j * lanes;
  load(other, x);
  load(other + lanes, y);
  load(other + 2 * lanes, z);
  x = p.x - x;
  y = p.y - y;
  z = p.z - z;
  cell.cost += y * y + x * x + z * z;
}

// `cell` becomes the best way into the cell that the three are neighbours of: (i - 1, j),
// (i, j - 1) and (i - 1, j - 1). Of two equal sides it is the one with the smaller index
// of the first trace; seen from (j, i) that is the other one.
template <size_t kLanes, size_t kOrders>
WGR_INLINE void choose(const Cell<kLanes, kOrders>& left, const Cell<kLanes, kOrders>& up,
                       const Cell<kLanes, kOrders>& diagonal,
                       Cell<kLanes, kOrders>& cell) {
  typename Vectors<kLanes>::Doubles side;
  minimum<kLanes>(left.cost, up.cost, side);
  minimum<kLanes>(side, diagonal.cost, cell.cost);
  const auto forth = up.cost < left.cost ? up.steps[0] : left.steps[0];
  cell.steps[0] = side < diagonal.cost ? forth : diagonal.steps[0] + 1;
  if constexpr (kOrders == 2) {
    const auto back = left.cost < up.cost ? left.steps[1] : up.steps[1];
    cell.steps[1] = side < diagonal.cost ? back : diagonal.steps[1] + 1;
  }
}

// The columns of the next points, after the one that was filled last. `equal` gets the
// lanes where two sides cost the same.
template <size_t kLanes, size_t kOrders, size_t kColumns>
WGR_INLINE void fill_columns(const Table& table, const Point3Df* points,
                             Lanes<kLanes>& equal) {
  Cell<kLanes, kOrders> diagonal;
  load(table, 0, diagonal);
  Cell<kLanes, kOrders> up[kColumns] = {};
  for (size_t c = 0; c < kColumns; ++c) {
    up[c].cost = c == 0 ? diagonal.cost : up[c - 1].cost;
    set_steps(up[c], 0);
    add_distance(points[c], table, 0, up[c]);
  }
  store(up[kColumns - 1], table, 0);
  for (size_t j = 1; j < table.rows; ++j) {
    Cell<kLanes, kOrders> left;
    load(table, j, left);
    const Cell<kLanes, kOrders> next_diagonal = left;
    for (size_t c = 0; c < kColumns; ++c) {
      Cell<kLanes, kOrders> cell;
      choose(left, up[c], diagonal, cell);
      if constexpr (kOrders == 1) equal.add_equal(left.cost, up[c].cost);
      add_distance(points[c], table, j, cell);
      diagonal = up[c];
      up[c] = cell;
      left = cell;
    }
    store(left, table, j);
    diagonal = next_diagonal;
  }
}

// How many columns are filled at once: a cell waits for the one above it, and meanwhile
// its neighbours in the next columns are filled. As many as the registers hold.
template <size_t kLanes>
static constexpr size_t kTogether = kLanes == 1 ? 1 : 3;

// The lanes where two sides cost the same anywhere.
template <size_t kLanes, size_t kOrders, size_t kColumns>
WGR_INLINE unsigned fill(const Table& table) {
  const Point3Df* const points = table.trace.points;
  Lanes<kLanes> equal;
  // A diagonal first step does not count, so the first cell starts at -1.
  Cell<kLanes, kOrders> up = {};
  set_steps(up, -1);
  for (size_t j = 0; j < table.rows; ++j) {
    add_distance(points[0], table, j, up);
    store(up, table, j);
    set_steps(up, 0);
  }
  size_t i = 1;
  for (; i + kColumns <= table.trace.count; i += kColumns) {
    fill_columns<kLanes, kOrders, kColumns>(table, points + i, equal);
  }
  if constexpr (kColumns > 1) {
    for (; i < table.trace.count; ++i) {
      fill_columns<kLanes, kOrders, 1>(table, points + i, equal);
    }
  }
  return equal.bits();
}

template <size_t kLanes>
WGR_INLINE unsigned fill_one_order(const Table& table) {
  return fill<kLanes, 1, kTogether<kLanes>>(table);
}

namespace {

struct Filler {
  size_t lanes;
  unsigned (*fill)(const Table&);  // one order; the lanes that need the other one
};

}  // namespace

#ifdef WGR_WIDER_VECTORS
WGR_FOR_EIGHT_LANES static unsigned fill_eight(const Table& t) {
  return fill_one_order<8>(t);
}
WGR_FOR_FOUR_LANES static unsigned fill_four(const Table& t) {
  return fill_one_order<4>(t);
}
#endif
static unsigned fill_least(const Table& t) { return fill_one_order<kLeastLanes>(t); }

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
  for (AlignedArray<Count>& steps : steps_) steps.need(rows_ * lanes);
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

void BatchedDtw::warp(const MotionPoints& trace, size_t first) {
  trace_points_ = trace.count;
  Table table = {trace,   others_.data(), rows_,
                 width(), cost_.data(),   {steps_[0].data(), steps_[1].data()}};
  apart_ = filler().fill(table);
  for (size_t lane = 0; lane < points_.size(); ++lane) {
    if (lane >= first && (apart_ >> lane & 1u) != 0) fill<1, 2, 1>(table);
    ++table.others;
    ++table.cost;
    for (Count*& steps : table.steps) ++steps;
  }
}

WarpingPath BatchedDtw::path(size_t lane, const AlignedArray<Count>& steps) const {
  const size_t corner = (points_[lane] - 1) * width() + lane;
  return warping_path(cost_.data()[corner], trace_points_, points_[lane],
                      steps.data()[corner]);
}

WarpingPath BatchedDtw::forth(size_t lane) const { return path(lane, steps_[0]); }

WarpingPath BatchedDtw::back(size_t lane) const {
  return path(lane, steps_[apart_ >> lane & 1u]);
}

}  // namespace wgr
