// Fills a table row by row, where the CPU has no vectors of doubles. The numbers are
// those of the conditions in table.h.
#include <algorithm>

#include "base/cpu_dispatch.h"
#include "dtw/table.h"

#ifndef WGR_VECTORS_OF_DOUBLES

namespace wgr {

using Count = std::ptrdiff_t;

// `yes` or `no`. Compilers branch on a plain condition here, and the direction of a path
// cannot be predicted.
WGR_INLINE Count choose(bool condition, Count yes, Count no) {
  return no ^ ((no ^ yes) & -static_cast<Count>(condition));
}

namespace {

// The row that was filled last: what is between `begin` and `end` can be on a path within
// the limit, the rest cannot.
struct Row {
  const Table& table;
  size_t begin;
  size_t end;
};

}  // namespace

// The cells that are entered from their left, from row.end on, as far as the limit (3).
WGR_INLINE void go_right(Row& row, const Point3Df& p, double left, Count steps,
                         double limit) {
  const Table& t = row.table;
  while (row.end < t.columns) {
    left += squared_length(t.point(row.end) - p);
    if (!(left <= limit)) break;  // not a number: a path takes another neighbour
    t.cost[row.end] = left;
    t.steps[row.end] = steps;
    ++row.end;
  }
}

// kLimited: not every cell is within the limit.
template <bool kLimited>
static void fill_next(Row& row, const Point3Df& p, double limit) {
  const Table t = row.table;  // a copy, which no store of the loop can touch
  const size_t stop = std::min(row.end + 1, t.columns);
  if (row.end < t.columns) {
    t.cost[row.end] = kGivenUp.cost;
    t.steps[row.end] = 0;
  }
  // A path enters the first column only from above. That counts as the diagonal here: it
  // is taken of equals, and adds no diagonal step.
  double left = kGivenUp.cost;
  Count left_steps = 0;
  double diagonal = row.begin == 0 ? t.cost[0] : kGivenUp.cost;
  Count diagonal_steps = 0;
  size_t end = 0;
  double* const __restrict cost = t.cost;
  Count* const __restrict steps = t.steps;
  const size_t stride = t.stride();
  const double* __restrict x = t.trace + t.at(row.begin);
  for (size_t i = row.begin; i < stop; ++i) {
    const Point3Df q = {x[0], x[stride], x[2 * stride]};
    --x;
    const double up = cost[i];
    const Count up_steps = steps[i];
    const double side = up < left ? up : left;
    const Count side_steps = up < left ? up_steps : left_steps;
    const double best = side < diagonal ? side : diagonal;
    left_steps = choose(side < diagonal, side_steps, diagonal_steps);
    left = best + squared_length(q - p);
    cost[i] = left;
    steps[i] = left_steps;
    diagonal = up;
    diagonal_steps = up_steps + 1;
    if (kLimited) end = left > limit ? end : i + 1;
  }
  if (!kLimited) return;
  row.end = end;
  if (row.end == stop) go_right(row, p, left, left_steps, limit);
  while (row.begin < row.end && t.cost[row.begin] > limit) ++row.begin;  // (2)
}

PathEnd sweep(const Table& t, double limit) {
  const double within = t.within(limit);  // (1)
  Row row = {t, 0, 0};
  const double first_limit = t.rows == 1 ? limit : within;
  double left = 0.0;
  for (; row.end < t.columns; ++row.end) {
    left += t.distance(row.end, 0);
    if (left > first_limit) break;
    t.cost[row.end] = left;
    t.steps[row.end] = 0;
  }
  if (row.end == 0) return kGivenUp;
  t.steps[0] = -1;
  for (size_t j = 1; j < t.rows; ++j) {
    if (limit == kGivenUp.cost) {
      fill_next<false>(row, t.other[j], limit);
      continue;
    }
    fill_next<true>(row, t.other[j], j + 1 == t.rows ? limit : within);
    if (row.begin >= row.end) return kGivenUp;  // (4)
  }
  if (row.end < t.columns) return kGivenUp;
  return {t.cost[t.columns - 1], t.steps[t.columns - 1]};
}

}  // namespace wgr

#endif
