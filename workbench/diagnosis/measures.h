// Figures about a stream of samples that need no knowledge of its units: how it rests,
// how noisy it is, where an axis clips, sticks or repeats itself.
#pragma once

#include <cstddef>
#include <vector>

#include "base/points.h"
#include "engine/rest.h"

namespace wgr {

// The middle value (the upper one of two); 0 for none.
double median(std::vector<double> values);

// The value that this share of the values is below; 0 for none.
double percentile(std::vector<double> values, double share);

// One stretch of samples, as the rest test would see it.
struct Window {
  size_t begin;
  size_t end;
  Point3Df mean;
  double spread;  // mean squared distance from the mean
};

// Windows of `length` samples, end to end.
std::vector<Window> windows_of(const Samples& samples, size_t length);

// How long the mean vector of each is.
std::vector<double> lengths_of(const std::vector<Window>& windows);

// The windows, by number, in which both sensors are at their quietest: a fifth of them
// all, and three at least while there are as many.
std::vector<size_t> quiet_windows(const std::vector<Window>& acc,
                                  const std::vector<Window>& gyro);

// Variance of the sensor's noise, all axes together, over these windows: by second
// differences, which movement hardly enters.
double noise_variance(const Samples& samples, const std::vector<Window>& windows,
                      const std::vector<size_t>& which);

// An axis that reaches the end of its range.
struct Clipping {
  size_t samples = 0;  // at the end, in runs of two and more
  double limit = 0.0;  // the value there
};
Clipping clipping_of(const Samples& samples, double Point3Df::*axis);

// Whether the axis has the same value throughout.
bool is_stuck(const Samples& samples, double Point3Df::*axis);

// The share of samples that are the very same as the one before.
double held_share(const Samples& samples);

void scale(Samples& samples, double factor);

}  // namespace wgr
