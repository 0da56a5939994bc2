// What the time stamps of a recording say: the sample rate, and where the clock is
// irregular.
#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <vector>

#include "recording/recording.h"

namespace wgr {

inline constexpr int kHighestRate = 100000;  // samples per second, far above any watch
inline constexpr double kMostSeconds = 1e9;  // of a recording or a log; thirty years

// Samples per second, where the time stamps give none.
inline constexpr int kAssumedRate = 50;
// From the start of a recording, that its rate is taken from.
inline constexpr size_t kSamplesForRate = 4096;

// The rate in samples per second: from the mean of the time steps (s) that are near their
// median, so that neither gaps nor stamps rounded to milliseconds mislead it. Nothing
// when no step is forward.
std::optional<double> mean_rate(std::vector<double> steps);

// The same from stamped samples, in whole samples per second. Nothing when fewer than two
// samples or no step forward lead to a rate.
std::optional<int> estimate_rate(const std::deque<RecordedSample>& samples);

// Counts what is irregular in a stream of time stamps.
class Clock {
 public:
  explicit Clock(int rate) : rate_(rate) {}

  void add(double t);

  size_t gaps() const { return gaps_; }                // a sample or more is missing
  double longest_gap() const { return longest_gap_; }  // s; 0 when there are none
  size_t repeats() const { return repeats_; }          // steps of zero
  size_t backward() const { return backward_; }        // steps into the past
  // Samples per second by the stamps; nothing when the time did not go forward.
  std::optional<double> observed_rate() const;

 private:
  const int rate_;
  size_t samples_ = 0;
  double first_ = 0.0;
  double last_ = 0.0;
  size_t gaps_ = 0;
  double longest_gap_ = 0.0;
  size_t repeats_ = 0;
  size_t backward_ = 0;
};

}  // namespace wgr
