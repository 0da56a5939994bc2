// A cell of the table needs its neighbours (i, j - 1), (i - 1, j) and (i - 1, j - 1), so
// it can be filled row by row, i by i, and only the last row is kept. Along its
// anti-diagonals the cells do not need each other, and the compiler works on several at
// once; three anti-diagonals are kept then. That pays where the CPU has vectors of
// doubles.
//
// Of the path only the number of diagonal steps is wanted; it is carried along with the
// cost. Nothing branches on costs: which way a path turns cannot be foreseen.
#include "dtw/dtw.h"

#include <algorithm>

#include "base/cpu_dispatch.h"

namespace wgr {

// How often a sweep looks whether it may give up.
static constexpr size_t kCheckedRows = 4;
static constexpr size_t kCheckedDiagonals = 8;

namespace {

using Count = std::ptrdiff_t;

// One anti-diagonal, indexed by j. A first step that is diagonal is not to count, so the
// first cell starts at -1.
struct Diagonal {
  double* cost;  // of the path into the cell
  Count* steps;  // its diagonal steps
};

// What a sweep works on: the trace backwards, so that along an anti-diagonal its points
// and those of the other run the same way.
struct Table {
  const double* a;  // na x, na y, na z, the last point first
  size_t na;
  const Point3Df* other;
  double* b;  // room for nb x, nb y, nb z
  size_t nb;
  Diagonal diagonals[3];
};

struct Result {
  double cost;
  Count steps;
};

}  // namespace

// `yes` or `no`, in a way that compilers make vectors of.
WGR_INLINE Count choose(bool condition, Count yes, Count no) {
  return no ^ ((no ^ yes) & -static_cast<Count>(condition));
}

// Cells j to j + count - 1 of an anti-diagonal, none of them on the table's border; a and
// b start at the first cell's points.
WGR_INLINE void fill(const double* __restrict a, size_t na, const double* __restrict b,
                     size_t nb, const Diagonal& older, const Diagonal& last,
                     const Diagonal& next, size_t j, size_t count) {
  const double* __restrict last_cost = last.cost + (j - 1);
  const Count* __restrict last_steps = last.steps + (j - 1);
  const double* __restrict older_cost = older.cost + (j - 1);
  const Count* __restrict older_steps = older.steps + (j - 1);
  double* __restrict cost = next.cost + j;
  Count* __restrict steps = next.steps + j;
  WGR_INDEPENDENT_TURNS
  for (size_t k = 0; k < count; ++k) {
    const double dx = a[k] - b[k];
    const double dy = a[na + k] - b[nb + k];
    const double dz = a[2 * na + k] - b[2 * nb + k];
    const double up = last_cost[k];        // (i, j - 1)
    const double left = last_cost[k + 1];  // (i - 1, j)
    const double diagonal = older_cost[k];
    // Ties go to the diagonal; between the other two, to `left`.
    const double side = up < left ? up : left;
    const double best = side < diagonal ? side : diagonal;
    cost[k] = best + (dy * dy + dx * dx + dz * dz);

    const Count side_steps = choose(up < left, last_steps[k], last_steps[k + 1]);
    steps[k] = choose(side < diagonal, side_steps, older_steps[k] + 1);
  }
}

WGR_INLINE double distance(const Table& t, size_t i, size_t j) {
  const double* a = t.a + (t.na - 1 - i);
  const Point3Df p = {a[0], a[t.na], a[2 * t.na]};
  return squared_length(p - t.other[j]);
}

WGR_INLINE void border_cell(const Diagonal& next, size_t j, double cost) {
  next.cost[j] = cost;
  next.steps[j] = 0;
}

WGR_INLINE double least(const double* costs, size_t first, size_t last) {
  double value = Dtw::kNoLimit;
  for (size_t j = first; j <= last; ++j) value = costs[j] < value ? costs[j] : value;
  return value;
}

WGR_TARGET_CLONES static Result sweep_diagonals(const Table& t, double limit) {
  Diagonal older = t.diagonals[0];
  Diagonal last = t.diagonals[1];
  Diagonal next = t.diagonals[2];
  last.cost[0] = distance(t, 0, 0);
  last.steps[0] = -1;
  double least_last = last.cost[0];

  const size_t end = t.na + t.nb - 1;
  for (size_t d = 1; d < end; ++d) {
    if (d < t.nb) {
      t.b[d] = t.other[d].x;
      t.b[t.nb + d] = t.other[d].y;
      t.b[2 * t.nb + d] = t.other[d].z;
      border_cell(next, d, last.cost[d - 1] + distance(t, 0, d));
    }
    if (d < t.na) border_cell(next, 0, last.cost[0] + distance(t, d, 0));

    const size_t first_j = d < t.na ? 1 : d - t.na + 1;
    const size_t end_j = std::min(d, t.nb);
    if (first_j < end_j) {
      fill(t.a + (t.na - 1 - d + first_j), t.na, t.b + first_j, t.nb, older, last, next,
           first_j, end_j - first_j);
    }

    // A path crosses at least one of two neighbouring anti-diagonals, and its cost never
    // falls: sums of terms that are not negative are rounded in order.
    if (limit < Dtw::kNoLimit && d % kCheckedDiagonals < 2) {
      const double least_next =
          least(next.cost, d < t.na ? 0 : first_j, std::min(d, t.nb - 1));
      if (d % kCheckedDiagonals == 1 && least_last > limit && least_next > limit) {
        return {Dtw::kNoLimit, 0};
      }
      least_last = least_next;
    }
    const Diagonal freed = older;
    older = last;
    last = next;
    next = freed;
  }
  const size_t corner = t.nb - 1;
  return {last.cost[corner], last.steps[corner]};
}

static Result sweep_rows(const Table& t, double limit) {
  double* const __restrict cost = t.diagonals[0].cost;
  Count* const __restrict steps = t.diagonals[0].steps;
  double left = 0.0;
  for (size_t j = 0; j < t.nb; ++j) {
    left += distance(t, 0, j);
    cost[j] = left;
    steps[j] = 0;
  }
  steps[0] = -1;

  for (size_t i = 1; i < t.na; ++i) {
    const double* const a = t.a + (t.na - 1 - i);
    const Point3Df p = {a[0], a[t.na], a[2 * t.na]};
    double diagonal = cost[0];
    Count diagonal_steps = steps[0] + 1;  // of a path that comes diagonally
    left = cost[0] + squared_length(p - t.other[0]);
    Count left_steps = 0;
    cost[0] = left;
    steps[0] = 0;
    for (size_t j = 1; j < t.nb; ++j) {
      const double up = cost[j];  // (i - 1, j)
      const Count up_steps = steps[j];
      // Ties go to the diagonal; between the other two, to `up`.
      const double side = left < up ? left : up;
      const Count side_steps = left < up ? left_steps : up_steps;
      const double best = side < diagonal ? side : diagonal;
      // Told by a condition alone, compilers branch on it.
      left_steps = choose(side < diagonal, side_steps, diagonal_steps);
      left = best + squared_length(p - t.other[j]);
      cost[j] = left;
      steps[j] = left_steps;
      diagonal = up;
      diagonal_steps = up_steps + 1;
    }
    // A path crosses every row.
    if (limit < Dtw::kNoLimit && i % kCheckedRows == 0 &&
        least(cost, 0, t.nb - 1) > limit) {
      return {Dtw::kNoLimit, 0};
    }
  }
  return {cost[t.nb - 1], steps[t.nb - 1]};
}

template <class T>
static void need(std::vector<T>& space, size_t size) {
  if (space.size() < size) space.resize(size);
}

Dtw::Dtw() : Dtw(has_vectors_of_doubles() ? Order::kDiagonals : Order::kRows) {}

void Dtw::set_trace(const Point3Df* points, size_t count) {
  count_ = count;
  need(trace_, 3 * count);
  for (size_t i = 0; i < count; ++i) {
    const Point3Df& p = points[count - 1 - i];
    trace_[i] = p.x;
    trace_[count + i] = p.y;
    trace_[2 * count + i] = p.z;
  }
}

static Table lay_out(const std::vector<double>& trace, size_t na, const Point3Df* other,
                     size_t nb, std::vector<double>& b, std::vector<double>& costs,
                     std::vector<Count>& steps) {
  need(b, 3 * nb);
  need(costs, 3 * nb);
  need(steps, 3 * nb);
  Table table = {trace.data(), na, other, b.data(), nb, {}};
  for (size_t i = 0; i < 3; ++i) {
    table.diagonals[i] = {&costs[i * nb], &steps[i * nb]};
  }
  return table;
}

WarpingPath warping_path(double cost, size_t na, size_t nb, Count diagonal_steps) {
  // A single cell has no first step that could be diagonal.
  if (na == 1 && nb == 1) diagonal_steps = 0;
  return {cost, na + nb - 1 - static_cast<size_t>(diagonal_steps)};
}

WarpingPath Dtw::warp(const Point3Df* other, size_t count, double limit) {
  const Table table = lay_out(trace_, count_, other, count, other_, costs_, steps_);
  const Result result =
      order_ == Order::kRows ? sweep_rows(table, limit) : sweep_diagonals(table, limit);
  return warping_path(result.cost, count_, count, result.steps);
}

}  // namespace wgr
