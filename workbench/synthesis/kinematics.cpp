#include "synthesis/kinematics.h"

#include <algorithm>
#include <cmath>

#include "base/points.h"
#include "engine/rotation.h"
#include "synthesis/trigonometry.h"

namespace wgr {

// Derivatives are central differences over this time to either side, s.
static constexpr double kStep = 0.001;
static constexpr double kDegrees = 57.29577951308232;  // per rad

Attitude attitude(const Placement& placement) {
  const double sy = sine(placement[kYaw]);
  const double cy = cosine(placement[kYaw]);
  const double sp = sine(placement[kPitch]);
  const double cp = cosine(placement[kPitch]);
  const double sr = sine(placement[kRoll]);
  const double cr = cosine(placement[kRoll]);
  // Roll about the forearm first, then pitch, then yaw; pitch lifts the fingers.
  return {{cy * cp, -cy * sp * sr - sy * cr, -cy * sp * cr + sy * sr, sy * cp,
           -sy * sp * sr + cy * cr, -sy * sp * cr - cy * sr, sp, cp * sr, cp * cr}};
}

static Point3Df turned_back(const Attitude& a, const Point3Df& v) {
  const double* m = a.m;
  return {m[0] * v.x + m[3] * v.y + m[6] * v.z, m[1] * v.x + m[4] * v.y + m[7] * v.z,
          m[2] * v.x + m[5] * v.y + m[8] * v.z};
}

static Point3Df watch_position(const Placement& placement, const Attitude& a,
                               const Point3Df& lever) {
  const Point3Df elbow = {placement[kElbowX], placement[kElbowY], placement[kElbowZ]};
  return elbow + rotate(a.m, lever);
}

// The rotation vector (rad) that leads from one attitude to the next, in the frame of
// the watch. For angles of some hundredths, where three terms of the series suffice.
static Point3Df small_turn(const Attitude& from, const Attitude& to) {
  double back[9];
  for (int i = 0; i < 3; ++i) {
    for (int j = 0; j < 3; ++j) back[3 * i + j] = from.m[3 * j + i];
  }
  double d[9];
  mmmultiply(back, to.m, d, 3, 3, 3, 0.0);
  const Point3Df axis =
      0.5 * Point3Df{d[7] - d[5], d[2] - d[6], d[3] - d[1]};  // times the angle's sine
  const double s2 = squared_length(axis);
  return (1.0 + s2 * (1.0 / 6.0 + s2 * (3.0 / 40.0))) * axis;
}

Reading ideal_reading(const WristMotion& motion, const Point3Df& lever, double t) {
  const Placement before = motion.at(t - kStep);
  const Placement now = motion.at(t);
  const Placement after = motion.at(t + kStep);
  const Attitude a0 = attitude(before);
  const Attitude a1 = attitude(now);
  const Attitude a2 = attitude(after);

  const Point3Df bend =
      (watch_position(after, a2, lever) - watch_position(now, a1, lever)) -
      (watch_position(now, a1, lever) - watch_position(before, a0, lever));
  const Point3Df felt = bend / (kStep * kStep) + Point3Df{0.0, 0.0, kGravity};
  return {turned_back(a1, felt), (kDegrees / (2.0 * kStep)) * small_turn(a0, a2)};
}

Reading mirrored(const Reading& reading) {
  return {{-reading.acc.x, reading.acc.y, reading.acc.z},
          {reading.gyro.x, -reading.gyro.y, -reading.gyro.z}};
}

}  // namespace wgr
