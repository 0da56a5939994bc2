#include "explanation/warping_path.h"

#include <algorithm>

namespace wgr {

namespace {

enum class From : unsigned char { kDiagonal, kLeft, kUp };

}  // namespace

TracedPath trace_path(const Points& a, size_t na, const Points& b, size_t nb) {
  std::vector<From> from(na * nb);
  std::vector<double> last(nb);
  std::vector<double> next(nb);
  for (size_t i = 0; i < na; ++i) {
    for (size_t j = 0; j < nb; ++j) {
      const double distance = squared_length(a[i] - b[j]);
      From& step = from[i * nb + j];
      if (i == 0) {
        next[j] = j == 0 ? distance : next[j - 1] + distance;
        step = From::kUp;
      } else if (j == 0) {
        next[j] = last[j] + distance;
        step = From::kLeft;
      } else {
        // Ties go to the diagonal; between the other two, to the smaller i.
        const bool up = next[j - 1] < last[j];
        const double side = up ? next[j - 1] : last[j];
        const bool turned = side < last[j - 1];
        step = !turned ? From::kDiagonal : up ? From::kUp : From::kLeft;
        next[j] = (turned ? side : last[j - 1]) + distance;
      }
    }
    std::swap(last, next);
  }

  TracedPath traced;
  size_t i = na - 1;
  size_t j = nb - 1;
  bool first_is_diagonal = false;
  traced.pairs.emplace_back(i, j);
  while (i > 0 || j > 0) {
    const From step = from[i * nb + j];
    if (step != From::kUp) --i;
    if (step != From::kLeft) --j;
    first_is_diagonal = step == From::kDiagonal;
    traced.pairs.emplace_back(i, j);
  }
  std::reverse(traced.pairs.begin(), traced.pairs.end());
  traced.path = {last[nb - 1], traced.pairs.size() + (first_is_diagonal ? 1 : 0)};
  return traced;
}

}  // namespace wgr
