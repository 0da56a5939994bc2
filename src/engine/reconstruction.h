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

// Which of a motion's steps are fast.
struct FastSteps {
  double fast_from = 0.0;  // (m/s)²: the squared speed from which on a step is fast
  bool starts_fast = false;
  bool ends_fast = false;
  Stretch active = {0, 0};  // from the first to the last fast step
};

// Integrates at least one point; there is one step fewer than points.
Kinematics integrate(const Points& acc, int sample_rate);

// The active stretch is empty when the first or the last step is fast itself: such a
// motion was segmented in its middle.
FastSteps fast_steps_of(const Kinematics& motion);

// Reduces `trace` to the active stretch and fills `velocity` and `position` with one
// entry per point kept; nothing is left of a motion that does not start and end slow.
// Gives the squared speed of every step, (m/s)², to `squared_speed`, if not null. Throws
// std::bad_alloc for an empty trace.
FastSteps reconstruct(Points& trace, int sample_rate, Points& velocity, Points& position,
                      std::vector<double>* squared_speed = nullptr);

}  // namespace wgr
