#include "engine/rotation.h"

#include <algorithm>
#include <cmath>

#include "base/points.h"

namespace wgr {

static constexpr double kPi = 3.141592653589793;
static constexpr long long kDegreesPerHalfTurn = 180;

Point3Df rotate(const double* M, const Point3Df& v) {
  return {M[0] * v.x + M[1] * v.y + M[2] * v.z, M[3] * v.x + M[4] * v.y + M[5] * v.z,
          M[6] * v.x + M[7] * v.y + M[8] * v.z};
}

double radians_per_sample(int sample_rate) {
  return kPi / static_cast<double>(sample_rate * kDegreesPerHalfTurn);
}

void rotation_matrix(const Point3Df& w, double* R) {
  const double theta = std::sqrt(squared_length(w));
  if (theta == 0.0) {
    std::copy_n(kIdentity3x3, 9, R);
    return;
  }
  double s;
  double c;
  sincos(theta, &s, &c);
  const double k = 1.0 / theta;
  const double ux = k * w.x;
  const double uy = k * w.y;
  const double uz = k * w.z;
  const double t = 1.0 - c;
  R[0] = c + t * ux * ux;
  R[1] = t * ux * uy - s * uz;
  R[2] = t * uz * ux + s * uy;
  R[3] = t * ux * uy + s * uz;
  R[4] = c + t * uy * uy;
  R[5] = t * uy * uz - s * ux;
  R[6] = t * uz * ux - s * uy;
  R[7] = t * uy * uz + s * ux;
  R[8] = c + t * uz * uz;
}

Point3Df rotation_vector(const double* R) {
  const double c = (R[0] + R[4] + R[8] - 1.0) * 0.5;
  const double theta = std::acos(c);
  const double s = std::sin(theta);
  const double k = theta / (s + s);
  return {(R[7] - R[5]) * k, (R[2] - R[6]) * k, (R[3] - R[1]) * k};
}

}  // namespace wgr
