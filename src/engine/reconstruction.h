// Velocity and displacement of a motion, and its active stretch.
//
// Accelerations in m/s² with gravity taken out, velocities in m/s, displacements in m,
// all in one frame.
#pragma once

#include <vector>

#include "base/points.h"

namespace wgr {

// The state at the end of every step between two samples.
struct Kinematics {
  std::vector<double> squared_speed;  // (m/s)²
  Points velocity;                    // m/s
  Points position;                    // m
  double sum_of_squared_speeds = 0.0;
};

struct Stretch {
  size_t begin;  // step
  size_t end;    // exclusive
};

// Integrates at least one point; there is one step fewer than points.
Kinematics integrate(const Points& acc, int sample_rate);

// The squared speed from which on a step is fast, (m/s)²; not a number without steps.
double fast_from(const Kinematics& motion);

// Written so that a speed or a threshold that is not a number counts as fast.
inline bool is_fast(double squared_speed, double threshold) {
  return !(squared_speed < threshold);
}

// From the first to the last step that is fast; empty when the first or the last step
// is fast itself: such a motion was cut in its middle.
Stretch active_stretch(const Kinematics& motion);

// Cuts `trace` down to the stretch of high speed and fills `velocity` and `position`
// with one entry per point kept. A motion that does not start and end slow is cut to
// nothing. Throws std::bad_alloc for an empty trace.
void reconstruct(Points& trace, int sample_rate, Points& velocity, Points& position);

}  // namespace wgr
