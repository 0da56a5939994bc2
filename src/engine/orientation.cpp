#include "engine/orientation.h"

#include <algorithm>

#include "engine/rotation.h"

namespace wgr {

// M = M * (the rotation of one sample period at the angular velocity `gyro`, deg/s).
static void turn(double* M, const Point3Df& gyro, double radians) {
  double step[9];
  double turned[9];
  rotation_matrix(radians * gyro, step);
  mmmultiply(M, step, turned, 3, 3, 3, 0.0);
  std::copy_n(turned, 9, M);
}

void mean_attitude_inverse(const Samples& gyro, int sample_rate, double* R) {
  const double radians = radians_per_sample(sample_rate);
  double attitude[9];
  std::copy_n(kIdentity3x3, 9, attitude);
  Point3Df sum = {0.0, 0.0, 0.0};
  for (const Point3Df& velocity : gyro) {
    turn(attitude, velocity, radians);
    sum = sum - rotation_vector(attitude);
  }
  rotation_matrix(sum / static_cast<double>(gyro.size()), R);
}

Point3Df orient(const Samples& acc, const Samples& gyro, int sample_rate, Points& trace) {
  const double radians = radians_per_sample(sample_rate);
  double attitude[9];
  mean_attitude_inverse(gyro, sample_rate, attitude);

  trace.assign(acc.size(), {0.0, 0.0, 0.0});
  Point3Df sum = {0.0, 0.0, 0.0};
  for (size_t i = 0; i < acc.size(); ++i) {
    // The turn comes first: a sample's angular velocity is taken to lead up to it.
    turn(attitude, i < gyro.size() ? gyro[i] : Point3Df{0.0, 0.0, 0.0}, radians);
    trace[i] = rotate(attitude, acc[i]);
    sum = sum + trace[i];
  }
  const Point3Df mean = sum / static_cast<double>(acc.size());
  for (Point3Df& p : trace) p = p - mean;
  return mean;
}

}  // namespace wgr
