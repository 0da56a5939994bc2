#include "training/exemplars.h"

#include <algorithm>
#include <limits>
#include <memory>

#include "classifier/HGR.h"
#include "cluster/apcluster.h"
#include "table.h"

static constexpr int kIterations = 1000;
static constexpr int kStableIterations = 50;
static constexpr double kDampings[] = {0.5, 0.7, 0.9};
static constexpr double kPreferenceStep = 1.5;
static constexpr int kPreferenceSteps = 16;  // up to some 400 times the median

namespace {

using Matrix = std::unique_ptr<float[]>;

}  // namespace

static Matrix similarities(std::vector<Points> traces, int k) {
  return Matrix(HGR(0).cal_sim_matrix(traces, k));
}

// The exemplars that clustering finds, none when it fails.
static std::vector<size_t> cluster(const Matrix& matrix, size_t n, double preference,
                                   double damping) {
  std::vector<float> copy(matrix.get(), matrix.get() + n * n);
  std::vector<int> exemplar_of(n, -1);
  AP clustering(kIterations, kStableIterations, preference, damping);
  if (clustering.cluster(copy.data(), exemplar_of.data(), static_cast<int>(n)) < 1) {
    return {};
  }
  std::vector<size_t> chosen(exemplar_of.begin(), exemplar_of.end());
  std::sort(chosen.begin(), chosen.end());
  chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
  return chosen;
}

static std::vector<size_t> pick_greedily(const Matrix& matrix, size_t n, size_t most) {
  std::vector<double> best(n, std::numeric_limits<double>::lowest());
  std::vector<size_t> chosen;
  while (chosen.size() < std::min(most, n)) {
    size_t pick = n;
    double pick_sum = 0.0;
    for (size_t j = 0; j < n; ++j) {
      if (std::find(chosen.begin(), chosen.end(), j) != chosen.end()) continue;
      double sum = 0.0;
      for (size_t i = 0; i < n; ++i) {
        sum += std::max<double>(best[i] < -1e30 ? -1e30 : best[i], matrix[i * n + j]);
      }
      if (pick == n || sum > pick_sum) {
        pick = j;
        pick_sum = sum;
      }
    }
    for (size_t i = 0; i < n; ++i) {
      best[i] = std::max<double>(best[i], matrix[i * n + pick]);
    }
    chosen.push_back(pick);
  }
  std::sort(chosen.begin(), chosen.end());
  return chosen;
}

Exemplars choose_exemplars(const std::vector<Points>& traces, int k, size_t most) {
  const size_t n = traces.size();
  if (n <= 1) return {std::vector<size_t>(n, 0), "the only sample"};
  const Matrix matrix = similarities(traces, k);
  for (const double damping : kDampings) {
    double preference = 1.0;
    for (int step = 0; step < kPreferenceSteps; ++step, preference *= kPreferenceStep) {
      std::vector<size_t> chosen = cluster(matrix, n, preference, damping);
      if (chosen.empty() || chosen.size() > most) continue;
      return {chosen, "affinity propagation, preference " + fixed(preference, 2) +
                          ", damping " + fixed(damping, 1)};
    }
  }
  return {pick_greedily(matrix, n, most),
          "one by one: affinity propagation did not converge to so few"};
}
