// Times one piece of work done both ways in turn, so that whatever else the machine does
// meets both alike, and reports the median of the ratios. Times are the processor's,
// spent on this thread: what other programs take in between does not count.
#pragma once

#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <vector>

inline double median(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

inline double thread_seconds() {
  timespec now;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

template <class Work>
double seconds(const Work& work) {
  const double start = thread_seconds();
  work();
  return thread_seconds() - start;
}

// What each of the two takes for the same work, s.
struct Times {
  double reference;
  double ours;
};

// `measure` gives the times of one round, over `pieces` pieces of work. Counters:
//   ratio  how many times as long the reference implementation takes
//   ns     for one piece, the library's
template <class Measure>
void report_ratio(benchmark::State& state, double pieces, const Measure& measure) {
  std::vector<double> ratios;
  std::vector<double> ours;
  for ([[maybe_unused]] auto _ : state) {
    const Times times = measure();
    state.SetIterationTime(times.ours);
    ratios.push_back(times.reference / times.ours);
    ours.push_back(times.ours);
  }
  state.counters["ratio"] = median(ratios);
  state.counters["ns"] = median(ours) / pieces * 1e9;
}

template <class Reference, class Ours>
void compare(benchmark::State& state, double pieces, const Reference& reference,
             const Ours& ours) {
  ours();  // warm
  report_ratio(state, pieces, [&] {
    const double theirs = seconds(reference);
    return Times{theirs, seconds(ours)};
  });
}
