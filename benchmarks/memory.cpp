// Not time but memory: what is allocated at rest, in a similarity, and by clustering.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <vector>

#include "cluster/apcluster.h"
#include "dtw/similarity.h"
#include "resting_engine.h"
#include "traces.h"

using namespace wgr;

namespace {

struct Heap {
  std::size_t allocations = 0;
  std::size_t bytes = 0;  // in use
  std::size_t peak = 0;
};
Heap heap;

}  // namespace

// All of the program's, the library's too.
void* operator new(std::size_t size) {
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  ++heap.allocations;
  heap.bytes += malloc_usable_size(memory);
  if (heap.bytes > heap.peak) heap.peak = heap.bytes;
  return memory;
}

static void release(void* memory) {
  if (memory != nullptr) heap.bytes -= malloc_usable_size(memory);
  std::free(memory);
}

void operator delete(void* memory) noexcept { release(memory); }
void operator delete(void* memory, std::size_t) noexcept { release(memory); }

template <class Work>
static std::size_t allocations_of(const Work& work) {
  const std::size_t before = heap.allocations;
  work();
  return heap.allocations - before;
}

static void allocations_at_rest(benchmark::State& state) {
  RestingEngine engine;
  std::size_t most = 0;
  for ([[maybe_unused]] auto _ : state) {
    most = std::max(most, allocations_of([&] { engine.feed(); }));
  }
  state.counters["allocations"] = static_cast<double>(most);
}
BENCHMARK(allocations_at_rest)->Iterations(20);

static void allocations_of_a_similarity(benchmark::State& state) {
  RandomPoints random(6);
  const Points a = gesture(random, 0, 60);
  const Points b = gesture(random, 1, 60);
  dtw_similarity(a, b, 1);
  std::size_t most = 0;
  for ([[maybe_unused]] auto _ : state) {
    most = std::max(
        most, allocations_of([&] { benchmark::DoNotOptimize(dtw_similarity(b, a, 1)); }));
  }
  state.counters["allocations"] = static_cast<double>(most);
}
BENCHMARK(allocations_of_a_similarity)->Iterations(20);

static void memory_of_clustering(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const std::size_t cells = static_cast<std::size_t>(n) * static_cast<std::size_t>(n);
  RandomPoints random(7);
  std::vector<float> s(cells);
  for (float& entry : s) entry = static_cast<float>(-random.uniform());
  std::vector<int> idx(static_cast<std::size_t>(n));
  std::size_t extra = 0;
  for ([[maybe_unused]] auto _ : state) {
    const std::size_t before = heap.bytes;
    heap.peak = before;
    AP(5, 100, 1.0, 0.9).cluster(s.data(), idx.data(), n);
    extra = heap.peak - before;
  }
  state.counters["matrices"] =
      static_cast<double>(extra) / static_cast<double>(cells * sizeof(float));
}
BENCHMARK(memory_of_clustering)->Arg(1000)->Iterations(1);
