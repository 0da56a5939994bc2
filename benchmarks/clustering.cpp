// One iteration of clustering: what a run of several takes more than a run of one.
#include "against_reference.h"
#include "cluster/apcluster.h"
#include "support/random_points.h"
#include "support/reference_clustering.h"

static constexpr double kDamping = 0.9;
static constexpr int kNever = 100;  // iterations over which decisions should hold

static std::vector<float> similarities(size_t n) {
  RandomPoints random(4);
  std::vector<double> places;
  for (size_t i = 0; i < n; ++i) places.push_back(random.gaussian());
  std::vector<float> s(n * n);
  for (size_t i = 0; i < n; ++i) {
    for (size_t j = 0; j < n; ++j) {
      const double away = places[i] - places[j];
      s[i * n + j] = static_cast<float>(-away * away - 0.1 * random.uniform());
    }
  }
  return s;
}

static void clustering_iteration(benchmark::State& state) {
  const size_t n = static_cast<size_t>(state.range(0));
  std::vector<float> s = similarities(n);
  std::vector<int> idx(n);
  const auto ours = [&](int iterations) {
    return seconds([&] {
      AP(iterations, kNever, 1.0, kDamping)
          .cluster(s.data(), idx.data(), static_cast<int>(n));
    });
  };
  const auto reference = [&](int iterations) {
    return seconds([&] {
      reference::propagate(s, static_cast<int>(n), iterations, kNever, kDamping);
    });
  };
  // Enough of them that their sum is not lost in the noise.
  const int more = std::max(2, static_cast<int>(6'000'000 / (n * n)));
  const int ours_more = 4 * more;
  ours(1);
  report_ratio(state, 1.0, [&] {
    return Times{(reference(1 + more) - reference(1)) / more,
                 (ours(1 + ours_more) - ours(1)) / ours_more};
  });
}
BENCHMARK(clustering_iteration)
    ->Arg(500)
    ->Arg(1000)
    ->Arg(2000)
    ->UseManualTime()
    ->Iterations(5);
