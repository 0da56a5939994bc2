// The table is filled along its anti-diagonals: cell (i, j) needs (i, j - 1) and
// (i - 1, j) from the last one and (i - 1, j - 1) from the one before, and cells of one
// anti-diagonal do not need each other, so the compiler works on several at once. Of the
// path only the number of diagonal steps is wanted; it is carried along with the cost,
// and three anti-diagonals are all that is kept.
#include "classifier/warping.h"

#include <algorithm>

#include "each_cpu.h"

// How often, in anti-diagonals, a sweep looks whether it may give up.
static constexpr size_t kCheckInterval = 8;

namespace {

using Count = std::ptrdiff_t;

// One anti-diagonal, indexed by j. A first step that is diagonal is not to count, so the
// first cell starts at -1.
struct Diagonal {
  double* cost;  // of the path into the cell
  Count* forth;  // its diagonal steps, seen from (i, j)
  Count* back;   // and from (j, i)
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
  Count forth;
  Count back;
};

}  // namespace

// `yes` or `no` without a branch: which way a path turns cannot be foreseen.
WGR_INLINE Count choose(bool condition, Count yes, Count no) {
  return no ^ ((no ^ yes) & -static_cast<Count>(condition));
}

// Cells j to j + count - 1 of an anti-diagonal, none of them on the table's border; a and
// b start at the first cell's points.
template <bool kBothWays>
WGR_INLINE void fill(const double* __restrict a, size_t na, const double* __restrict b,
                     size_t nb, const Diagonal& older, const Diagonal& last,
                     const Diagonal& next, size_t j, size_t count) {
  const double* __restrict last_cost = last.cost + (j - 1);
  const Count* __restrict last_forth = last.forth + (j - 1);
  const Count* __restrict last_back = last.back + (j - 1);
  const double* __restrict older_cost = older.cost + (j - 1);
  const Count* __restrict older_forth = older.forth + (j - 1);
  const Count* __restrict older_back = older.back + (j - 1);
  double* __restrict cost = next.cost + j;
  Count* __restrict forth = next.forth + j;
  Count* __restrict back = next.back + j;
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

    const Count side_forth = choose(up < left, last_forth[k], last_forth[k + 1]);
    forth[k] = choose(side < diagonal, side_forth, older_forth[k] + 1);
    if (kBothWays) {
      // Seen from (j, i), `up` is on the left.
      const Count side_back = choose(left < up, last_back[k + 1], last_back[k]);
      back[k] = choose(side < diagonal, side_back, older_back[k] + 1);
    }
  }
}

WGR_INLINE double distance(const Table& t, size_t i, size_t j) {
  const double* a = t.a + (t.na - 1 - i);
  const Point3Df p = {a[0], a[t.na], a[2 * t.na]};
  return squared_length(p - t.other[j]);
}

WGR_INLINE void border_cell(const Diagonal& next, size_t j, double cost) {
  next.cost[j] = cost;
  next.forth[j] = 0;
  next.back[j] = 0;
}

WGR_INLINE double least(const double* costs, size_t first, size_t last) {
  double value = Warper::kNoLimit;
  for (size_t j = first; j <= last; ++j) value = costs[j] < value ? costs[j] : value;
  return value;
}

template <bool kBothWays>
WGR_INLINE Result sweep_table(Table t, double limit) {
  Diagonal older = t.diagonals[0];
  Diagonal last = t.diagonals[1];
  Diagonal next = t.diagonals[2];
  last.cost[0] = distance(t, 0, 0);
  last.forth[0] = -1;
  last.back[0] = -1;
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
      fill<kBothWays>(t.a + (t.na - 1 - d + first_j), t.na, t.b + first_j, t.nb, older,
                      last, next, first_j, end_j - first_j);
    }

    // A path crosses at least one of two neighbouring anti-diagonals, and its cost never
    // falls: sums of terms that are not negative are rounded in order.
    if (limit < Warper::kNoLimit && d % kCheckInterval < 2) {
      const double least_next =
          least(next.cost, d < t.na ? 0 : first_j, std::min(d, t.nb - 1));
      if (d % kCheckInterval == 1 && least_last > limit && least_next > limit) {
        return {Warper::kNoLimit, 0, 0};
      }
      least_last = least_next;
    }
    const Diagonal freed = older;
    older = last;
    last = next;
    next = freed;
  }
  const size_t corner = t.nb - 1;
  return {last.cost[corner], last.forth[corner], last.back[corner]};
}

WGR_FOR_EACH_CPU static Result sweep(const Table& table, double limit) {
  return sweep_table<false>(table, limit);
}

WGR_FOR_EACH_CPU static Result sweep_both_ways(const Table& table) {
  return sweep_table<true>(table, Warper::kNoLimit);
}

template <class T>
static void need(std::vector<T>& space, size_t size) {
  if (space.size() < size) space.resize(size);
}

void Warper::set_trace(const Point3Df* points, size_t count) {
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
  need(steps, 6 * nb);
  Table table = {trace.data(), na, other, b.data(), nb, {}};
  for (size_t i = 0; i < 3; ++i) {
    table.diagonals[i] = {&costs[i * nb], &steps[2 * i * nb], &steps[(2 * i + 1) * nb]};
  }
  return table;
}

static WarpingPath path(double cost, size_t na, size_t nb, Count diagonal_steps) {
  // A single cell has no first step that could be diagonal.
  if (na == 1 && nb == 1) diagonal_steps = 0;
  return {cost, na + nb - 1 - static_cast<size_t>(diagonal_steps)};
}

WarpingPath Warper::warp(const Point3Df* other, size_t count, double limit) {
  const Table table = lay_out(trace_, count_, other, count, other_, costs_, steps_);
  const Result result = sweep(table, limit);
  return path(result.cost, count_, count, result.forth);
}

Warper::BothWays Warper::warp_both_ways(const Point3Df* other, size_t count) {
  const Table table = lay_out(trace_, count_, other, count, other_, costs_, steps_);
  const Result result = sweep_both_ways(table);
  return {path(result.cost, count_, count, result.forth),
          path(result.cost, count_, count, result.back)};
}
