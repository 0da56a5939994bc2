// Velocity and displacement of a motion, and its active stretch.
//
// Accelerations in m/s² with gravity taken out, velocities in m/s, displacements in m,
// all in one frame.
#pragma once

#include "classifier/points.h"

// Cuts `trace` down to the stretch of high speed and fills `velocity` and `position`
// with one entry per point kept. A motion that does not start and end slow is cut to
// nothing. Throws std::bad_alloc for an empty trace.
void reconstruct(Points& trace, int sample_rate, Points& velocity, Points& position);
