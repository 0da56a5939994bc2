// A sample at rest, without the log: what the watch does nearly all the time.
#include "against_reference.h"
#include "resting_engine.h"

static void sample_at_rest(benchmark::State& state) {
  RestingEngine engine;
  std::vector<double> times;
  for ([[maybe_unused]] auto _ : state) {
    times.push_back(seconds([&] { engine.feed(); }));
    state.SetIterationTime(times.back());
    if (!engine.at_rest()) state.SkipWithError("the samples were taken for a motion");
  }
  state.counters["ns"] = median(times) / kRestingSamples * 1e9;
}
BENCHMARK(sample_at_rest)->UseManualTime()->Iterations(2001);
