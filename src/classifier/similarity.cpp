#include "classifier/similarity.h"

#include <algorithm>
#include <cmath>
#include <limits>

double scale_to_unit_rms(Points& trace, int k) {
  const long long count = static_cast<long long>(trace.size()) - k;
  const size_t motion =
      static_cast<size_t>(std::clamp(count, 0LL, static_cast<long long>(trace.size())));

  double sum = 0.0;
  for (size_t i = 0; i < motion; ++i) sum += squared_length(trace[i]);
  const double factor = 1.0 / std::sqrt(sum / static_cast<double>(count));
  for (size_t i = 0; i < motion; ++i) trace[i] = factor * trace[i];
  return 1.0 / factor;
}

namespace {

// The best warping path into one cell of the table.
struct Path {
  double cost;    // sum of squared distances along it
  int diagonals;  // diagonal steps on it, but for one out of the first cell
};

}  // namespace

// Ties go to the diagonal; between the other two, to `left`.
static const Path& cheapest(const Path& up, const Path& left, const Path& diagonal) {
  const Path& side = up.cost < left.cost ? up : left;
  return side.cost < diagonal.cost ? side : diagonal;
}

// The path through the table of all na x nb point pairs, one row (all of a against one
// point of b) at a time. Only the number of diagonal steps is needed of the path, so
// it is carried along with the cost, and one row suffices.
static Path warp(const Point3Df* a, size_t na, const Point3Df* b, size_t nb) {
  std::vector<Path> row(na);
  row[0] = {squared_length(a[0] - b[0]), 0};
  for (size_t i = 1; i < na; ++i) {
    row[i] = {row[i - 1].cost + squared_length(a[i] - b[0]), 0};
  }
  for (size_t j = 1; j < nb; ++j) {
    Path diagonal = row[0];
    row[0].cost = row[0].cost + squared_length(a[0] - b[j]);
    for (size_t i = 1; i < na; ++i) {
      const Path up = row[i];
      const Path& best = cheapest(up, row[i - 1], diagonal);
      const bool diagonal_step = &best == &diagonal;
      const bool from_first_cell = i == 1 && j == 1;
      const int diagonals = best.diagonals + (diagonal_step && !from_first_cell ? 1 : 0);
      row[i] = {best.cost + squared_length(a[i] - b[j]), diagonals};
      diagonal = up;
    }
  }
  return row[na - 1];
}

static Point3Df direction(const Point3Df& v) {
  return (1.0 / std::sqrt(squared_length(v))) * v;
}

float dtw_similarity(const Points& a, const Points& b, int k) {
  const size_t trailing = static_cast<size_t>(std::max(k, 0));
  if (k < 0 || a.size() <= trailing || b.size() <= trailing) {
    return -std::numeric_limits<float>::infinity();
  }
  const size_t na = a.size() - trailing;
  const size_t nb = b.size() - trailing;

  const Path path = warp(a.data(), na, b.data(), nb);
  const size_t length = na + nb - 1 - static_cast<size_t>(path.diagonals);
  const double mean = path.cost / static_cast<double>(length);
  if (k == 0) return static_cast<float>(-mean);

  const double gravity = squared_length(direction(a[na]) - direction(b[nb]));
  return -static_cast<float>(mean + gravity);
}
