// The table of dtw.h is filled column by column, in all lanes alike. A lane whose trace
// ends before the longest continues with zeros, after the corner that its result is taken
// from.
//
// The lanes fill exactly one vector of the CPU: the neighbours above and on the diagonal
// then stay in registers. Compilers do not find that by themselves, so these
// loops name their vectors; they are compiled once for each width.
//
// All costs are kept, and the paths are then followed back through them. To carry their
// lengths along would make every choice again and take longer than the costs themselves.
// The paths of the two orders part only where the cells above and on the left cost the
// same, which they hardly ever do on a path; only then both are followed.
#include "dtw/batched_dtw.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "base/cpu_dispatch.h"
#include "base/vectors.h"

namespace wgr {

namespace {

struct Table {
  MotionPoints trace;    // i: columns
  const double* others;  // j: rows
  size_t rows;
  double* cost;  // column by column
};

}  // namespace

template <size_t kLanes>
WGR_INLINE double* cell_at(const Table& table, size_t i, size_t j) {
  return table.cost + (i * table.rows + j) * kLanes;
}

// In all lanes.
template <size_t kLanes>
WGR_INLINE void add_distance(const Point3Df& p, const double* other,
                             typename Vectors<kLanes>::Doubles& cost) {
  typename Vectors<kLanes>::Doubles x, y, z;
  load(other, x);
  load(other + kLanes, y);
  load(other + 2 * kLanes, z);
  x = p.x - x;
  y = p.y - y;
  z = p.z - z;
  cost += y * y + x * x + z * z;
}

// The columns from i on, after the one before them.
template <size_t kLanes, size_t kColumns>
WGR_INLINE void fill_columns(const Table& given, size_t i) {
  using Doubles = typename Vectors<kLanes>::Doubles;
  const Table table = given;  // a copy, which no store of the loop can touch
  const Point3Df* const points = table.trace.points + i;
  const size_t column = table.rows * kLanes;
  const double* before = cell_at<kLanes>(table, i - 1, 0);
  double* cell = cell_at<kLanes>(table, i, 0);
  const double* other = table.others;
  Doubles diagonal;
  load(before, diagonal);
  Doubles up[kColumns];
  for (size_t c = 0; c < kColumns; ++c) {
    up[c] = c == 0 ? diagonal : up[c - 1];
    add_distance<kLanes>(points[c], other, up[c]);
    store(up[c], cell + c * column);
  }
  for (size_t j = 1; j < table.rows; ++j) {
    before += kLanes;
    cell += kLanes;
    other += 3 * kLanes;
    Doubles left;
    load(before, left);
    const Doubles next_diagonal = left;
    for (size_t c = 0; c < kColumns; ++c) {
      Doubles cost;
      minimum<kLanes>(left, up[c], cost);
      minimum<kLanes>(cost, diagonal, cost);
      add_distance<kLanes>(points[c], other, cost);
      store(cost, cell + c * column);
      diagonal = up[c];
      up[c] = cost;
      left = cost;
    }
    diagonal = next_diagonal;
  }
}

// How many columns are filled at once: a cell waits for the one above it, and meanwhile
// its neighbours in the next columns are filled. As many as the registers hold.
static constexpr size_t kTogether = 3;

template <size_t kLanes>
WGR_INLINE void fill(const Table& table) {
  typename Vectors<kLanes>::Doubles up = {};
  for (size_t j = 0; j < table.rows; ++j) {
    add_distance<kLanes>(table.trace.points[0], table.others + 3 * j * kLanes, up);
    store(up, cell_at<kLanes>(table, 0, j));
  }
  size_t i = 1;
  for (; i + kTogether <= table.trace.count; i += kTogether) {
    fill_columns<kLanes, kTogether>(table, i);
  }
  for (; i < table.trace.count; ++i) fill_columns<kLanes, 1>(table, i);
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

namespace {

// A path that is followed back: the cell that it has come to.
struct Walk {
  const double* cell;
  size_t lane;
  size_t i;
  size_t j;
  size_t steps;  // so far
  size_t parts;  // not 0: from that of the other order
};

}  // namespace

// The bits of a cost as a number. Costs are not negative, so their bits have the same
// order, and integers are compared sooner. Only not-a-number has another place; what a
// path through such a cell costs is not-a-number or infinite, whatever its length.
WGR_INLINE std::int64_t bits_of(const double* cost) {
  std::int64_t bits;
  std::memcpy(&bits, cost, sizeof bits);
  return bits;
}

// All bits set, or none.
WGR_INLINE size_t mask_of(bool condition) { return -static_cast<size_t>(condition); }

// One step back, from a cell on no border. Of two equal sides it goes to the one with the
// smaller index of the first trace; seen from (j, i) that is the other one. Compilers
// branch on plain conditions, and the direction of a path cannot be predicted. `column`
// and `row` are how far apart two of them are in the table.
template <bool kBack>
WGR_INLINE void step_back(Walk& walk, size_t column, size_t row) {
  const double* const cell = walk.cell;
  const std::int64_t left = bits_of(cell - column);
  const std::int64_t up = bits_of(cell - row);
  const std::int64_t diagonal = bits_of(cell - column - row);
  const size_t upwards = mask_of(kBack ? up <= left : up < left);
  const size_t sideways = mask_of(left < diagonal) | mask_of(up < diagonal);
  const size_t aside = column ^ ((column ^ row) & upwards);
  walk.cell = cell - (aside + ((column + row - aside) & ~sideways));
  walk.i -= 1 + (sideways & upwards);
  walk.j -= 1 + (sideways & ~upwards);
  walk.parts |= sideways & mask_of(left == up);
}

// Follows the paths to a border, a step of each in turn: a step waits for what it loads.
template <bool kBack>
static void follow_back(Walk* begin, Walk* end, size_t column, size_t row) {
  for (Walk* walks = begin; walks != end;) {
    size_t steps = walks->i;  // as many as bring none of them beyond a border
    for (const Walk* walk = walks; walk != end; ++walk) {
      steps = std::min({steps, walk->i, walk->j});
    }
    for (size_t step = 0; step < steps; ++step) {
      for (Walk* walk = walks; walk != end; ++walk) step_back<kBack>(*walk, column, row);
    }
    for (Walk* walk = walks; walk != end; ++walk) walk->steps += steps;
    walks = std::partition(walks, end,
                           [](const Walk& walk) { return walk.i == 0 || walk.j == 0; });
  }
}

size_t BatchedDtw::width() { return filler().lanes; }

void BatchedDtw::set_others(const MotionPoints* others, size_t count) {
  const size_t lanes = width();
  rows_ = 0;
  points_.clear();
  for (size_t lane = 0; lane < count; ++lane) {
    points_.push_back(others[lane].count);
    rows_ = std::max(rows_, others[lane].count);
  }
  others_.need(3 * rows_ * lanes);
  std::fill_n(others_.data(), 3 * rows_ * lanes, 0.0);
  for (size_t lane = 0; lane < count; ++lane) {
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
  const size_t row = width();
  const size_t column = rows_ * row;
  cost_.need(trace.count * column);
  filler().fill({trace, others_.data(), rows_, cost_.data()});

  const auto walk_of = [&](size_t lane) {
    const size_t i = trace.count - 1;
    const size_t j = points_[lane] - 1;
    return Walk{cost_.data() + (i * column + j * row + lane), lane, i, j, 0, 0};
  };
  const auto put = [&](const Walk& walk, WarpingPath* paths) {
    // The rest of the path runs along a border. A first step that is diagonal counts as
    // one more pair, see WarpingPath.
    const bool corner = walk.i == 0 && walk.j == 0 && walk.steps > 0;
    paths[walk.lane] = {*walk_of(walk.lane).cell,
                        walk.steps + walk.i + walk.j + (corner ? 2 : 1)};
  };
  Walk walks[kMostLanes];
  Walk* end = walks;
  for (size_t lane = first; lane < points_.size(); ++lane) *end++ = walk_of(lane);
  follow_back<false>(walks, end, column, row);
  for (const Walk* walk = walks; walk != end; ++walk) {
    put(*walk, forth_);
    Walk other = *walk;
    if (walk->parts != 0) {
      other = walk_of(walk->lane);
      follow_back<true>(&other, &other + 1, column, row);
    }
    put(other, back_);
  }
}

}  // namespace wgr
