// One similarity, on many different pairs in turn: from a single pair, repeated, the
// processor would learn which way its path turns.
#include "dtw/similarity.h"

#include "against_reference.h"
#include "support/reference_similarity.h"
#include "traces.h"

using namespace wgr;

static constexpr int kPairs = 256;

template <class MakeTrace>
static void similarity_of(benchmark::State& state, const MakeTrace& make_trace) {
  const int points = static_cast<int>(state.range(0));
  RandomPoints random(1);
  std::vector<std::pair<Points, Points>> pairs;
  for (int i = 0; i < kPairs; ++i) {
    Points a = make_trace(random, points);
    pairs.emplace_back(std::move(a), make_trace(random, points));
  }
  const auto all = [&pairs](const auto& score) {
    for (const auto& [a, b] : pairs) benchmark::DoNotOptimize(score(a, b, 1));
  };
  compare(
      state, kPairs, [&] { all(reference::similarity); }, [&] { all(dtw_similarity); });
}

static void similarity(benchmark::State& state) { similarity_of(state, noise); }
BENCHMARK(similarity)
    ->Arg(25)
    ->Arg(50)
    ->Arg(100)
    ->Arg(200)
    ->UseManualTime()
    ->Iterations(15);

static void similarity_of_gestures(benchmark::State& state) {
  similarity_of(state, any_gesture);
}
BENCHMARK(similarity_of_gestures)
    ->Arg(25)
    ->Arg(50)
    ->Arg(100)
    ->Arg(200)
    ->UseManualTime()
    ->Iterations(15);
