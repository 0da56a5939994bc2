// Cells of one anti-diagonal do not depend on each other, so the table is filled by
// those. Costs alone are kept: along the path they show again which way each cell was
// entered.
#include "warping/warping_path.h"

#include <algorithm>

namespace wgr {

namespace {

// The cheapest way into a cell from its neighbours: ties go to the diagonal, and between
// the other two to the smaller i.
struct Entry {
  bool up;
  bool turned;
  double cost;
};

inline Entry entry(double diagonal, double left, double up) {
  const bool is_up = up < left;
  const double side = is_up ? up : left;
  const bool turned = side < diagonal;
  return {is_up, turned, turned ? side : diagonal};
}

// The costs of all cells (i, j), by anti-diagonals d = i + j.
class Costs {
 public:
  Costs(const Points& a, size_t na, const Points& b, size_t nb);

  double at(size_t i, size_t j) const { return cost_[(i + j) * na_ + i]; }

 private:
  void fill(size_t d);
  double distance(size_t d, size_t i) const {
    const size_t j = nb_ - 1 - (d - i);  // of the reversed trace
    return squared_length({ax_[i] - bx_[j], ay_[i] - by_[j], az_[i] - bz_[j]});
  }

  const size_t na_;
  const size_t nb_;
  std::vector<double> ax_, ay_, az_, bx_, by_, bz_;  // b from its end
  std::vector<double> cost_;
};

}  // namespace

Costs::Costs(const Points& a, size_t na, const Points& b, size_t nb)
    : na_(na), nb_(nb), cost_((na + nb) * na) {
  for (size_t i = 0; i < na; ++i) {
    ax_.push_back(a[i].x);
    ay_.push_back(a[i].y);
    az_.push_back(a[i].z);
  }
  for (size_t j = nb; j-- > 0;) {
    bx_.push_back(b[j].x);
    by_.push_back(b[j].y);
    bz_.push_back(b[j].z);
  }
  for (size_t d = 0; d + 1 < na + nb; ++d) fill(d);
}

void Costs::fill(size_t d) {
  double* const costs = &cost_[d * na_];
  const double* const last = costs - na_;        // of cells (i, j - 1) and (i - 1, j)
  const double* const before = costs - 2 * na_;  // of cells (i - 1, j - 1)
  if (d == 0) {
    costs[0] = distance(0, 0);
    return;
  }
  const size_t begin = d < nb_ ? 0 : d - nb_ + 1;
  const size_t end = std::min(d + 1, na_);
  if (begin == 0) costs[0] = last[0] + distance(d, 0);
  if (end == d + 1) costs[d] = last[d - 1] + distance(d, d);
  const size_t first = std::max<size_t>(begin, 1);
  const size_t behind = std::min(end, d);
  for (size_t i = first; i < behind; ++i) {
    costs[i] = entry(before[i - 1], last[i - 1], last[i]).cost + distance(d, i);
  }
}

TracedPath trace_path(const Points& a, size_t na, const Points& b, size_t nb) {
  const Costs costs(a, na, b, nb);
  TracedPath traced;
  size_t i = na - 1;
  size_t j = nb - 1;
  bool first_is_diagonal = false;
  traced.pairs.reserve(na + nb);
  traced.pairs.emplace_back(i, j);
  while (i > 0 || j > 0) {
    Entry from = {i == 0, true, 0.0};
    if (i > 0 && j > 0) {
      from = entry(costs.at(i - 1, j - 1), costs.at(i - 1, j), costs.at(i, j - 1));
    }
    first_is_diagonal = !from.turned;
    if (!from.turned || !from.up) --i;
    if (!from.turned || from.up) --j;
    traced.pairs.emplace_back(i, j);
  }
  std::reverse(traced.pairs.begin(), traced.pairs.end());
  traced.path = {costs.at(na - 1, nb - 1),
                 traced.pairs.size() + (first_is_diagonal ? 1 : 0)};
  return traced;
}

}  // namespace wgr
