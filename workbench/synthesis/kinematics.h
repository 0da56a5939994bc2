// What a watch's sensors would read on a moving wrist: rigid-body kinematics.
//
// The watch of the left wrist has x towards the fingers, y towards the little finger's
// side of the arm and z out of its face. Accelerations in m/s², rates in deg/s, both in
// that frame; angles in rad.
#pragma once

#include "WgrTypes.h"
#include "synthesis/wrist_motion.h"

namespace wgr {

inline constexpr double kGravity = 9.81;  // m/s²

// Nine numbers, row-major; turns a vector of the watch's frame into the world's.
struct Attitude {
  double m[9];
};

Attitude attitude(const Placement& placement);

struct Reading {
  Point3Df acc;   // m/s², with gravity: at rest it points up and is 9.81 long
  Point3Df gyro;  // deg/s
};

// The ideal reading at time t of a watch that sits at `lever` (m, watch's frame) from
// the elbow.
Reading ideal_reading(const WristMotion& motion, const Point3Df& lever, double t);

// What the same movement in a mirror reads on the other wrist. Its x points away from
// the fingers: accelerations change their sign along x, rates along y and z.
Reading mirrored(const Reading& reading);

}  // namespace wgr
