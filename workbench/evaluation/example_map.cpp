#include "evaluation/example_map.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>

namespace wgr {

static constexpr size_t kDimensions = 2;
static constexpr int kIterations = 300;  // of the search for eigenvectors
static constexpr double kTiny = 1e-12;

using Vector = std::vector<double>;

static double product(const Vector& a, const Vector& b) {
  return std::inner_product(a.begin(), a.end(), b.begin(), 0.0);
}

static void scale(Vector& v, double factor) {
  for (double& x : v) x *= factor;
}

namespace {

// A symmetric matrix.
struct Square {
  size_t size;
  Vector values;

  double& at(size_t i, size_t j) { return values[i * size + j]; }
  double at(size_t i, size_t j) const { return values[i * size + j]; }

  Vector times(const Vector& v) const {
    Vector result(size);
    for (size_t i = 0; i < size; ++i) {
      result[i] = std::inner_product(v.begin(), v.end(), &values[i * size], 0.0);
    }
    return result;
  }
};

struct Axis {
  double eigenvalue;
  Vector direction;  // of length 1
};

}  // namespace

// A start that is no eigenvector of anything likely, the same every time.
static Vector first_guess(size_t size) {
  Vector guess(size);
  for (size_t i = 0; i < size; ++i) {
    guess[i] = std::sin(1.0 + 2.0 * static_cast<double>(i));
  }
  return guess;
}

// The eigenvector of the greatest eigenvalue across `found`, by iteration of the matrix
// with `shift` added to its diagonal, which leaves no eigenvalue below zero.
static Axis next_axis(const Square& matrix, double shift,
                      const std::vector<Axis>& found) {
  Vector v = first_guess(matrix.size);
  for (int i = 0; i < kIterations; ++i) {
    for (const Axis& axis : found) {
      const double along = product(v, axis.direction);
      for (size_t k = 0; k < v.size(); ++k) v[k] -= along * axis.direction[k];
    }
    const double length = std::sqrt(product(v, v));
    if (!(length > kTiny)) return {0.0, Vector(matrix.size, 0.0)};
    scale(v, 1.0 / length);
    if (i + 1 == kIterations) break;
    Vector next = matrix.times(v);
    for (size_t k = 0; k < v.size(); ++k) next[k] += shift * v[k];
    v = std::move(next);
  }
  // An eigenvector has two signs; the greatest entry is to be positive.
  const auto far = std::max_element(
      v.begin(), v.end(), [](double a, double b) { return std::fabs(a) < std::fabs(b); });
  if (*far < 0.0) scale(v, -1.0);
  return {product(v, matrix.times(v)), v};
}

static double squared(double value) { return value * value; }

// Landmarks that can be compared with the first of them that can be with most.
static std::vector<size_t> comparable(const std::vector<size_t>& landmarks,
                                      const ScoreOf& score) {
  const auto good = [&](size_t i, size_t j) { return std::isfinite(score(i, j)); };
  std::vector<size_t> kept;
  for (const size_t i : landmarks) {
    const auto fits = std::count_if(landmarks.begin(), landmarks.end(),
                                    [&](size_t j) { return good(i, j) && good(j, i); });
    if (2 * static_cast<size_t>(fits) > landmarks.size()) kept.push_back(i);
  }
  return kept;
}

// Squared distances between landmarks. A score and its counterpart differ a little: a
// motion and a template are not treated alike.
static Square squared_distances(const std::vector<size_t>& landmarks,
                                const ScoreOf& score) {
  const size_t n = landmarks.size();
  Square d = {n, Vector(n * n)};
  for (size_t i = 0; i < n; ++i) {
    for (size_t j = 0; j < i; ++j) {
      const double both =
          score(landmarks[i], landmarks[j]) + score(landmarks[j], landmarks[i]);
      d.at(i, j) = d.at(j, i) = std::isfinite(both) ? squared(0.5 * both) : 0.0;
    }
  }
  return d;
}

static Vector row_means(const Square& matrix) {
  Vector means = matrix.times(Vector(matrix.size, 1.0));
  scale(means, 1.0 / static_cast<double>(matrix.size));
  return means;
}

// Products of places whose middle is 0, from squared distances.
static Square centred(const Square& distances, const Vector& means) {
  const double n = static_cast<double>(means.size());
  const double mean = std::accumulate(means.begin(), means.end(), 0.0) / n;
  Square b = distances;
  for (size_t i = 0; i < b.size; ++i) {
    for (size_t j = 0; j < b.size; ++j) {
      b.at(i, j) = -0.5 * (distances.at(i, j) - means[i] - means[j] + mean);
    }
  }
  return b;
}

static std::optional<MapPoint> place(const Vector& squares, const Vector& means,
                                     const std::vector<Axis>& axes) {
  std::array<double, kDimensions> at = {0.0, 0.0};
  for (size_t d = 0; d < kDimensions; ++d) {
    if (!(axes[d].eigenvalue > kTiny)) continue;
    for (size_t j = 0; j < squares.size(); ++j) {
      if (!std::isfinite(squares[j])) return std::nullopt;
      at[d] -= 0.5 * axes[d].direction[j] * (squares[j] - means[j]);
    }
    at[d] /= std::sqrt(axes[d].eigenvalue);
  }
  return MapPoint{at[0], at[1]};
}

ExampleMap map_examples(size_t examples, const std::vector<size_t>& landmarks,
                        const ScoreOf& score) {
  ExampleMap map;
  map.points.resize(examples);
  const std::vector<size_t> kept = comparable(landmarks, score);
  if (kept.size() <= kDimensions) return map;
  const Square distances = squared_distances(kept, score);
  const Vector means = row_means(distances);
  const Square products = centred(distances, means);
  const double all = product(products.values, products.values);
  if (!(all > kTiny)) return map;
  std::vector<Axis> axes;
  for (size_t d = 0; d < kDimensions; ++d) {
    axes.push_back(next_axis(products, std::sqrt(all), axes));
    map.held += squared(std::max(axes[d].eigenvalue, 0.0)) / all;
  }
  for (size_t i = 0; i < examples; ++i) {
    const auto at = std::find(kept.begin(), kept.end(), i);
    Vector squares(kept.size());
    for (size_t j = 0; j < kept.size(); ++j) {
      squares[j] = at != kept.end()
                       ? distances.at(static_cast<size_t>(at - kept.begin()), j)
                       : squared(score(i, kept[j]));
    }
    map.points[i] = place(squares, means, axes);
  }
  return map;
}

std::vector<size_t> evenly_chosen(size_t count, size_t most) {
  const size_t chosen = std::min(count, most);
  std::vector<size_t> places;
  for (size_t i = 0; i < chosen; ++i) places.push_back(i * count / chosen);
  return places;
}

}  // namespace wgr
