// A motion's mean attitude from its angular velocities, and its accelerations turned into
// that frame with gravity taken out.
//
// Accelerations in m/s², angular velocities in deg/s with the bias off, both in the
// watch's frame.
#pragma once

#include "base/points.h"

namespace wgr {

// R = the rotation (3x3, row-major) by the inverse of the mean attitude over the samples,
// relative to the first: accumulating the angular velocities from R on gives attitudes in
// the motion's mean frame. Not a number when one accumulated attitude has no
// rotation vector, as after a first angular velocity of exactly zero.
void mean_attitude_inverse(const Samples& gyro, int sample_rate, double* R);

// Fills `trace` with the accelerations, turned into the motion's mean frame and freed
// of their mean. Returns that mean, the gravity vector in the mean frame. A missing
// angular velocity counts as zero.
Point3Df orient(const Samples& acc, const Samples& gyro, int sample_rate, Points& trace);

}  // namespace wgr
