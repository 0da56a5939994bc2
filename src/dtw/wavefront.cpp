// As many rows as the CPU's vectors have lanes, or twice as many, are filled at once: a
// band. Each row is one column behind the one above it, so that the front of the band is
// a piece of an anti-diagonal, whose cells do not need each other. Their costs and counts
// stay in registers: a lane's left neighbour is what it held a step ago; its upper
// neighbour is what the lane before it held then, one shuffle away; and the diagonal one
// was the upper one a step ago. Only the last row of a band is stored, for the first lane
// of the next. A. Wozniak, "Using video-oriented instructions to speed up sequence
// comparison", CABIOS 13 (1997), fills the tables of sequence alignment in this way.
//
// A step waits for a shuffle, two minima and a sum; that is why two vectors of rows go
// side by side, the second behind the first.
//
// The first row has no choice of path: its cells are a running sum, above the bands.
//
// No condition checks whether a cell is in the first column. The columns before it are
// copies of it: the neighbour that a cell must not take then costs no less than the
// one that it must take, and of equals the diagonal one is taken. The counts there are as
// many less as columns lie between, so they come out at 0. Cells after the last column
// and below the last row are filled with anything; no cell of the table depends on them.
//
// The numbers are those of the conditions in table.h.
#include <algorithm>

#include "base/cpu_dispatch.h"
#include "base/vectors.h"
#include "dtw/table.h"

#ifdef WGR_VECTORS_OF_DOUBLES

namespace wgr {

using Count = std::ptrdiff_t;

namespace {

// A row in each lane. Cells: `left` is what was filled last.
template <size_t kLanes>
struct Rows {
  typename Vectors<kLanes>::Doubles x, y, z;
  typename Vectors<kLanes>::Doubles left, diagonal;
  typename Vectors<kLanes>::Counts left_steps, diagonal_steps;
};

}  // namespace

// Each lane gets what the one before it holds in `rows`; the first, what the last holds
// in `before`.
template <size_t kLanes, class Vector>
WGR_INLINE void from_above(const Vector& before, const Vector& rows, Vector& above) {
  if constexpr (kLanes == 2) {
    above = __builtin_shufflevector(before, rows, 1, 2);
  } else if constexpr (kLanes == 4) {
    above = __builtin_shufflevector(before, rows, 3, 4, 5, 6);
  } else {
    above = __builtin_shufflevector(before, rows, 7, 8, 9, 10, 11, 12, 13, 14);
  }
}

// Whether each lane of a or b is more than the limit.
template <size_t kLanes, class Vector>
WGR_INLINE bool all_beyond(const Vector& a, const Vector& b, double limit) {
  const Vector limits = Vector{} + limit;
#if defined(__x86_64__) && !defined(__clang__)
  if constexpr (kLanes == 8) {
    const auto less = __builtin_ia32_cmppd512_mask(a, limits, _CMP_NGT_UQ, -1,
                                                   _MM_FROUND_CUR_DIRECTION);
    return (less | __builtin_ia32_cmppd512_mask(b, limits, _CMP_NGT_UQ, -1,
                                                _MM_FROUND_CUR_DIRECTION)) == 0;
  }
#endif
  typename Vectors<kLanes>::Counts beyond = (a > limits) & (b > limits);
  Count all = -1;
  for (size_t lane = 0; lane < kLanes; ++lane) all &= beyond[lane];
  return all != 0;
}

// The cells of the next column. `up` and `up_steps` are those of the rows above; x, y and
// z start at the point of the first lane's column. Of equally good neighbours the
// diagonal one is taken, then the left one.
template <size_t kLanes>
WGR_INLINE void fill(const typename Vectors<kLanes>::Doubles& up,
                     const typename Vectors<kLanes>::Counts& up_steps, const double* x,
                     size_t stride, Rows<kLanes>& rows) {
  typename Vectors<kLanes>::Doubles dx, dy, dz, side, best;
  load(x, dx);
  load(x + stride, dy);
  load(x + 2 * stride, dz);
  dx = dx - rows.x;
  dy = dy - rows.y;
  dz = dz - rows.z;
  minimum<kLanes>(up, rows.left, side);
  const auto side_steps = up < rows.left ? up_steps : rows.left_steps;
  minimum<kLanes>(side, rows.diagonal, best);
  rows.left_steps = side < rows.diagonal ? side_steps : rows.diagonal_steps + 1;
  rows.left = best + (dy * dy + dx * dx + dz * dz);
  rows.diagonal = up;
  rows.diagonal_steps = up_steps;
}

namespace {

// Which cells of the row above a band can be on a path within the limit: from `begin` to
// before `end`.
struct Span {
  size_t begin;
  size_t end;
};

}  // namespace

// Before the first of their columns: what kLanes rows hold that start `ahead` steps after
// the band's first. `borders` is what the cells in the first column cost, from the row
// above on; infinite, where cells left of the first column are beyond the limit.
template <size_t kLanes>
WGR_INLINE void start(const Table& table, size_t first_row, size_t ahead,
                      const double* borders, Rows<kLanes>& rows) {
  double x[kLanes], y[kLanes], z[kLanes];
  Count steps[kLanes];
  for (size_t lane = 0; lane < kLanes; ++lane) {
    const Point3Df& p = table.other[std::min(first_row + ahead + lane, table.rows - 1)];
    x[lane] = p.x;
    y[lane] = p.y;
    z[lane] = p.z;
    steps[lane] = -1 - static_cast<Count>(ahead + lane);
  }
  load(x, rows.x);
  load(y, rows.y);
  load(z, rows.z);
  load(borders + ahead + 1, rows.left);
  load(borders + ahead, rows.diagonal);
  load(steps, rows.left_steps);
  rows.diagonal_steps = rows.left_steps;
}

// The costs of a band's cells in the first column, from the row above on.
template <size_t kRows>
WGR_INLINE void find_borders(const Table& table, size_t first_row, size_t begin,
                             double& border, double* borders) {
  if (begin > 0) {
    std::fill_n(borders, kRows + 1, kGivenUp.cost);
    return;
  }
  const Point3Df first = table.point(0);
  borders[0] = border;
  for (size_t row = 0; row < kRows; ++row) {
    border +=
        squared_length(first - table.other[std::min(first_row + row, table.rows - 1)]);
    borders[row + 1] = border;
  }
}

// What is left of the span in the row that is stored from span.begin to before `stored`.
WGR_INLINE void narrow(const Table& table, size_t stored, double limit, Span& span) {
  span.end = stored;
  while (span.end > span.begin && table.cost[table.at(span.end - 1)] > limit) --span.end;
  while (span.begin < span.end && table.cost[table.at(span.begin)] > limit) ++span.begin;
}

// What was filled last in a band's row, counted from its first.
template <size_t kLanes, size_t kVectors>
WGR_INLINE PathEnd front_cell(const Rows<kLanes>& upper, const Rows<kLanes>& lower,
                              size_t row) {
  double cost[2 * kLanes];
  Count steps[2 * kLanes];
  store(upper.left, cost);
  store(upper.left_steps, steps);
  if (kVectors == 2) {
    store(lower.left, cost + kLanes);
    store(lower.left_steps, steps + kLanes);
  }
  return {cost[row], steps[row]};
}

// Fills kVectors * kLanes rows. The path into the last column of the last of these rows
// that the table has; kGivenUp when no path within the limit leaves them.
template <size_t kLanes, size_t kVectors>
WGR_INLINE PathEnd fill_band(const Table& given, size_t first_row, double limit,
                             double& border, Span& span) {
  constexpr size_t kRows = kLanes * kVectors;
  const Table table = given;  // a copy, which no store of the loop can touch
  const size_t stride = table.stride();
  double borders[kRows + 1];
  find_borders<kRows>(table, first_row, span.begin, border, borders);
  Rows<kLanes> upper;
  Rows<kLanes> lower;
  start(table, first_row, 0, borders, upper);
  if (kVectors == 2) start(table, first_row, kLanes, borders, lower);

  const size_t last_row = std::min(kRows, table.rows - first_row) - 1;
  const size_t stop = table.columns + last_row;
  typename Vectors<kLanes>::Doubles before;
  typename Vectors<kLanes>::Counts before_steps;
  const auto step = [&](size_t column) __attribute__((always_inline)) {
    const size_t at = table.at(column);
    typename Vectors<kLanes>::Doubles up, lower_up;
    typename Vectors<kLanes>::Counts up_steps, lower_up_steps;
    from_above<kLanes>(before, upper.left, up);
    from_above<kLanes>(before_steps, upper.left_steps, up_steps);
    if (kVectors == 2) {
      from_above<kLanes>(upper.left, lower.left, lower_up);
      from_above<kLanes>(upper.left_steps, lower.left_steps, lower_up_steps);
      fill(lower_up, lower_up_steps, table.trace + at + kLanes, stride, lower);
    }
    fill(up, up_steps, table.trace + at, stride, upper);
    const Rows<kLanes>& last = kVectors == 2 ? lower : upper;
    store(last.left, table.cost + at + kRows - kLanes);
    store(last.left_steps, table.steps + at + kRows - kLanes);
  };
  size_t column = span.begin;  // of the first row
  for (; column < span.end; ++column) {
    load(table.cost + table.at(column) - (kLanes - 1), before);
    load(table.steps + table.at(column) - (kLanes - 1), before_steps);
    step(column);
  }
  // What is above now is beyond the limit, or behind the last column.
  before = typename Vectors<kLanes>::Doubles{} + kGivenUp.cost;
  for (; column < stop; ++column) {
    if (all_beyond<kLanes>(upper.left, upper.diagonal, limit) &&
        (kVectors == 1 || all_beyond<kLanes>(lower.left, lower.diagonal, limit))) {
      break;  // (3)
    }
    step(column);
  }

  if (first_row + kRows < table.rows) {
    narrow(table, std::max(column, kRows - 1) - (kRows - 1), limit, span);
    return kGivenUp;
  }
  if (column < stop) return kGivenUp;
  return front_cell<kLanes, kVectors>(upper, lower, last_row);
}

// As far as the limit: before which column that ends.
static size_t fill_first_row(const Table& given, double limit) {
  const Table table = given;  // a copy, which no store of the loop can touch
  double cost = 0.0;
  for (size_t i = 0; i < table.columns; ++i) {
    cost += table.distance(i, 0);
    if (cost > limit) return i;
    table.cost[table.at(i)] = cost;
    table.steps[table.at(i)] = i == 0 ? -1 : 0;
  }
  return table.columns;
}

template <size_t kLanes>
WGR_INLINE PathEnd fill_table(const Table& table, double limit) {
  Span span = {0, fill_first_row(table, limit)};
  if (table.rows == 1) {
    const size_t last = table.at(table.columns - 1);
    return span.end < table.columns ? kGivenUp
                                    : PathEnd{table.cost[last], table.steps[last]};
  }
  double border = table.distance(0, 0);
  for (size_t row = 1; span.begin < span.end;) {
    const bool two = table.rows - row > kLanes;
    const PathEnd end = two ? fill_band<kLanes, 2>(table, row, limit, border, span)
                            : fill_band<kLanes, 1>(table, row, limit, border, span);
    row += two ? 2 * kLanes : kLanes;
    if (row >= table.rows) return end;
  }
  return kGivenUp;
}

using Sweep = PathEnd (*)(const Table&, double limit);

#ifdef WGR_WIDER_VECTORS
WGR_FOR_EIGHT_LANES static PathEnd by_eight(const Table& t, double limit) {
  return fill_table<8>(t, limit);
}
WGR_FOR_FOUR_LANES static PathEnd by_four(const Table& t, double limit) {
  return fill_table<4>(t, limit);
}
#endif
static PathEnd by_two(const Table& t, double limit) { return fill_table<2>(t, limit); }

static Sweep choose_sweep() {
#ifdef WGR_WIDER_VECTORS
  if (lanes_of_cpu() == 8) return by_eight;
  if (lanes_of_cpu() == 4) return by_four;
#endif
  return by_two;
}

PathEnd sweep(const Table& table, double limit) {
  static const Sweep chosen = choose_sweep();
  const double within = table.rows == 1 ? limit : table.within(limit);  // (1)
  const PathEnd end = chosen(table, within);
  return end.cost > limit ? kGivenUp : end;
}

}  // namespace wgr

#endif
