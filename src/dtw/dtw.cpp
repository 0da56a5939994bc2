// Only the number of diagonal steps of the path is needed; it is carried along with the
// cost, so that no more than a row of the table is kept (sweep() of table.h).
#include "dtw/dtw.h"

#include <algorithm>

#include "dtw/table.h"

namespace wgr {

using Count = std::ptrdiff_t;

static bool all_finite(const double* values, size_t count) {
  double sum = 0.0;
  for (size_t i = 0; i < count; ++i) sum += 0.0 * values[i];
  return sum == 0.0;
}

static bool all_finite(const Table& t) {
  static_assert(sizeof(Point3Df) == 3 * sizeof(double));
  return all_finite(t.trace, 3 * t.stride()) && all_finite(&t.other->x, 3 * t.rows);
}

template <class T>
static void need(std::vector<T>& space, size_t size) {
  if (space.size() < size) space.resize(size);
}

void Dtw::set_trace(const Point3Df* points, size_t count) {
  count_ = count;
  const size_t columns = count + 2 * kMargin;
  need(trace_, 3 * columns);
  need(costs_, columns);
  need(steps_, columns);
  double* const x = trace_.data();
  double* const y = x + columns;
  double* const z = y + columns;
  std::fill_n(x, kMargin, 0.0);
  std::fill_n(y, kMargin, 0.0);
  std::fill_n(z, kMargin, 0.0);
  for (size_t at = kMargin; at < columns; ++at) {
    const size_t behind = at - kMargin + 1;
    const Point3Df& p = points[behind < count ? count - behind : 0];
    x[at] = p.x;
    y[at] = p.y;
    z[at] = p.z;
  }
}

WarpingPath warping_path(double cost, size_t na, size_t nb, Count diagonal_steps) {
  // A single cell has no first step that could be diagonal.
  if (na == 1 && nb == 1) diagonal_steps = 0;
  return {cost, na + nb - 1 - static_cast<size_t>(diagonal_steps)};
}

static WarpingPath path_of(const Table& t, const PathEnd& end) {
  return warping_path(end.cost, t.columns, t.rows, end.diagonal_steps);
}

WarpingPath Dtw::warp(const Point3Df* other, size_t count, double limit) {
  const Table table = {trace_.data(), count_, other, count, costs_.data(), steps_.data()};
  if (limit < kNoLimit) {
    const PathEnd end = sweep(table, limit);
    // Next to cells that do not compare, one beyond the limit can be on the path.
    if (end.cost == kNoLimit || all_finite(table)) return path_of(table, end);
  }
  return path_of(table, sweep(table, kNoLimit));
}

}  // namespace wgr
