#include "training/exemplars.h"

#include <algorithm>
#include <limits>
#include <memory>

#include "base/text.h"
#include "classifier/HGR.h"
#include "cluster/affinity_propagation.h"

namespace wgr {

static constexpr int kIterations = 1000;
static constexpr int kStableIterations = 50;
static constexpr double kDampings[] = {0.5, 0.7, 0.9};
static constexpr double kPreferenceStep = 1.5;
static constexpr int kPreferenceSteps = 16;  // up to some 400 times the median

static constexpr double kFinestPreference = 0.2;
static constexpr double kSweepStep = 1.3;
static constexpr int kSweepSteps = 24;  // up to some 80 times the median
static constexpr size_t kThird = 3;

static ClassMatrix similarities(std::vector<Points> traces, int k) {
  const std::unique_ptr<float[]> scores(HGR(0).cal_sim_matrix(traces, k));
  const size_t n = traces.size();
  return {n, std::vector<float>(scores.get(), scores.get() + n * n)};
}

// The exemplars that clustering finds, none when it fails.
static std::vector<size_t> cluster(const ClassMatrix& matrix, double preference,
                                   double damping) {
  const size_t n = matrix.n;
  std::vector<float> copy = matrix.scores;
  std::vector<int> exemplar_of(n, -1);
  if (affinity_propagation({kIterations, kStableIterations, preference, damping},
                           copy.data(), exemplar_of.data(), static_cast<int>(n)) < 1) {
    return {};
  }
  std::vector<size_t> chosen(exemplar_of.begin(), exemplar_of.end());
  std::sort(chosen.begin(), chosen.end());
  chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
  return chosen;
}

std::vector<size_t> pick_one_by_one(const ClassMatrix& matrix, size_t count) {
  const size_t n = matrix.n;
  std::vector<double> best(n, std::numeric_limits<double>::lowest());
  std::vector<size_t> chosen;
  while (chosen.size() < std::min(count, n)) {
    size_t pick = n;
    double pick_sum = 0.0;
    for (size_t j = 0; j < n; ++j) {
      if (std::find(chosen.begin(), chosen.end(), j) != chosen.end()) continue;
      double sum = 0.0;
      for (size_t i = 0; i < n; ++i) {
        sum +=
            std::max<double>(best[i] < -1e30 ? -1e30 : best[i], matrix.scores[i * n + j]);
      }
      if (pick == n || sum > pick_sum) {
        pick = j;
        pick_sum = sum;
      }
    }
    for (size_t i = 0; i < n; ++i) {
      best[i] = std::max<double>(best[i], matrix.scores[i * n + pick]);
    }
    chosen.push_back(pick);
  }
  std::sort(chosen.begin(), chosen.end());
  return chosen;
}

static Exemplars trivial(size_t n) {
  return {std::vector<size_t>(n, 0), "the only example"};
}

static std::string found_by(double preference, double damping) {
  return fmt::format("affinity propagation, preference {:.2f}, damping {:.1f}",
                     preference, damping);
}

Exemplars choose_exemplars(const ClassMatrix& matrix, size_t most) {
  if (matrix.n <= 1) return trivial(matrix.n);
  for (const double damping : kDampings) {
    double preference = 1.0;
    for (int step = 0; step < kPreferenceSteps; ++step, preference *= kPreferenceStep) {
      std::vector<size_t> chosen = cluster(matrix, preference, damping);
      if (chosen.empty() || chosen.size() > most) continue;
      return {chosen, found_by(preference, damping)};
    }
  }
  return {pick_one_by_one(matrix, most),
          "one by one: affinity propagation did not converge to so few"};
}

Exemplars choose_exemplars(const std::vector<Points>& traces, int k, size_t most) {
  if (traces.size() <= 1) return trivial(traces.size());
  return choose_exemplars(similarities(traces, k), most);
}

std::vector<double> swept_preferences() {
  std::vector<double> preferences = {kFinestPreference};
  while (preferences.size() < kSweepSteps) {
    preferences.push_back(preferences.back() * kSweepStep);
  }
  return preferences;
}

std::vector<Exemplars> sweep_exemplars(const ClassMatrix& matrix) {
  std::vector<Exemplars> swept;
  size_t last = std::max<size_t>(1, matrix.n / kThird);
  for (const double preference : swept_preferences()) {
    if (matrix.n <= 1) {
      swept.push_back(trivial(matrix.n));
      continue;
    }
    Exemplars found;
    for (const double damping : kDampings) {
      found.chosen = cluster(matrix, preference, damping);
      found.how = found_by(preference, damping);
      if (!found.chosen.empty()) break;
    }
    if (found.chosen.empty()) {
      found = {pick_one_by_one(matrix, last),
               fmt::format("one by one: affinity propagation did not converge at "
                           "preference {:.2f}, however strong the damping",
                           preference)};
    }
    last = found.chosen.size();
    swept.push_back(std::move(found));
    // Fewer than one there cannot be.
    if (last == 1) {
      swept.resize(static_cast<size_t>(kSweepSteps), swept.back());
      break;
    }
  }
  return swept;
}

}  // namespace wgr
