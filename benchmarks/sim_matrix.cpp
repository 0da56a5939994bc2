// All similarities of 1000 traces of 50 points, on one thread.
#include <memory>

#include "against_reference.h"
#include "classifier/HGR.h"
#include "support/reference_similarity.h"
#include "traces.h"

using namespace wgr;

static constexpr int kPoints = 50;

// The reference implementation takes seconds, so it does every tenth row, another set
// each time.
static constexpr size_t kRowStep = 10;

template <class MakeTrace>
static void sim_matrix_of(benchmark::State& state, const MakeTrace& make_trace) {
  const size_t n = static_cast<size_t>(state.range(0));
  RandomPoints random(3);
  std::vector<Points> traces;
  for (size_t i = 0; i < n; ++i) traces.push_back(make_trace(random, kPoints));
  HGR classifier(0);
  size_t first = 0;
  report_ratio(state, static_cast<double>(n * n), [&] {
    const double rows = seconds([&] {
      for (size_t i = first; i < n; i += kRowStep) {
        for (size_t j = 0; j < n; ++j) {
          if (i != j) {
            benchmark::DoNotOptimize(reference::similarity(traces[i], traces[j], 1));
          }
        }
      }
    });
    first = (first + 1) % kRowStep;
    return Times{
        kRowStep * rows, seconds([&] {
          const std::unique_ptr<float[]> matrix(classifier.cal_sim_matrix(traces, 1));
          benchmark::DoNotOptimize(matrix.get());
        })};
  });
}

static void sim_matrix(benchmark::State& state) { sim_matrix_of(state, noise); }
BENCHMARK(sim_matrix)->Arg(1000)->UseManualTime()->Iterations(5);

static void sim_matrix_of_gestures(benchmark::State& state) {
  sim_matrix_of(state, any_gesture);
}
BENCHMARK(sim_matrix_of_gestures)->Arg(1000)->UseManualTime()->Iterations(5);
