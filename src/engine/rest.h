// Distinguishes a wrist at rest from one in motion by a window of samples alone.
//
// Each sensor is judged by two figures over the window: the length of the mean
// vector and the spread around it. Accelerations are m/s² with gravity in them;
// angular velocities are deg/s with the bias taken off. Nothing is kept between calls.
#pragma once

#include <cstddef>

#include "base/points.h"

namespace wgr {

struct WindowStats {
  double mean_squared;  // squared length of the mean vector
  double spread;        // mean squared distance from the mean vector
};

// Over samples begin to end - 1. An empty window has figures that are not a number,
// which no test below accepts.
WindowStats window_stats(const Samples& samples, size_t begin, size_t end);

bool acc_at_rest(const WindowStats& stats);
bool gyro_at_rest(const WindowStats& stats);

// The same of a window, mostly without its figures.
bool acc_at_rest(const Samples& samples, size_t begin, size_t end);
bool gyro_at_rest(const Samples& samples, size_t begin, size_t end);

}  // namespace wgr
