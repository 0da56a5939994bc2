#include "support/reference_rotation.h"

#include <cmath>
#include <cstddef>

namespace reference {

namespace {
const double kPi = 3.141592653589793;

double angle_factor(int sample_rate) { return kPi / (double)(sample_rate * 180LL); }

void set_identity(double M[9]) {
  M[0] = 1, M[1] = 0, M[2] = 0;
  M[3] = 0, M[4] = 1, M[5] = 0;
  M[6] = 0, M[7] = 0, M[8] = 1;
}
}  // namespace

void product(const double a[9], const double b[9], double c[9]) {
  c[0] = ((0.0 + a[0] * b[0]) + a[1] * b[3]) + a[2] * b[6];
  c[1] = ((0.0 + a[0] * b[1]) + a[1] * b[4]) + a[2] * b[7];
  c[2] = ((0.0 + a[0] * b[2]) + a[1] * b[5]) + a[2] * b[8];
  c[3] = ((0.0 + a[3] * b[0]) + a[4] * b[3]) + a[5] * b[6];
  c[4] = ((0.0 + a[3] * b[1]) + a[4] * b[4]) + a[5] * b[7];
  c[5] = ((0.0 + a[3] * b[2]) + a[4] * b[5]) + a[5] * b[8];
  c[6] = ((0.0 + a[6] * b[0]) + a[7] * b[3]) + a[8] * b[6];
  c[7] = ((0.0 + a[6] * b[1]) + a[7] * b[4]) + a[8] * b[7];
  c[8] = ((0.0 + a[6] * b[2]) + a[7] * b[5]) + a[8] * b[8];
}

void rotation_matrix(Point3Df w, double R[9]) {
  const double theta = std::sqrt(w.y * w.y + w.x * w.x + w.z * w.z);
  if (theta == 0.0) {
    set_identity(R);
    return;
  }
  double s;
  double c;
  ::sincos(theta, &s, &c);
  const double k = 1 / theta;
  const double ux = k * w.x;
  const double uy = k * w.y;
  const double uz = k * w.z;
  const double t = 1 - c;
  R[0] = c + (t * ux) * ux;
  R[4] = c + (t * uy) * uy;
  R[8] = c + (t * uz) * uz;
  R[1] = (t * ux) * uy - s * uz;
  R[3] = (t * ux) * uy + s * uz;
  R[2] = (t * uz) * ux + s * uy;
  R[6] = (t * uz) * ux - s * uy;
  R[5] = (t * uy) * uz - s * ux;
  R[7] = (t * uy) * uz + s * ux;
}

Point3Df rotation_theta(const double R[9]) {
  const double c = (((R[0] + R[4]) + R[8]) - 1.0) * 0.5;
  const double theta = std::acos(c);
  const double s = std::sin(theta);
  const double k = theta / (s + s);
  Point3Df w;
  w.x = (R[7] - R[5]) * k;
  w.y = (R[2] - R[6]) * k;
  w.z = (R[3] - R[1]) * k;
  return w;
}

void first_matrix(const std::deque<Point3Df>& gyro, int sample_rate, double R[9]) {
  const double f = angle_factor(sample_rate);
  double M[9];
  set_identity(M);
  double sx = 0.0, sy = 0.0, sz = 0.0;
  for (size_t i = 0; i < gyro.size(); ++i) {
    double step[9];
    rotation_matrix(Point3Df{f * gyro[i].x, f * gyro[i].y, f * gyro[i].z}, step);
    double turned[9];
    product(M, step, turned);
    for (int e = 0; e < 9; ++e) M[e] = turned[e];
    const Point3Df v = rotation_theta(M);
    sx -= v.x;
    sy -= v.y;
    sz -= v.z;
  }
  const double n = (double)gyro.size();
  rotation_matrix(Point3Df{sx / n, sy / n, sz / n}, R);
}

void correct(int work_mode, int sample_rate, const std::deque<Point3Df>& acc,
             const std::deque<Point3Df>& gyro, std::vector<Point3Df>& trace,
             Point3Df& gravity) {
  trace.clear();
  trace.resize(acc.size(), Point3Df{0, 0, 0});
  if (work_mode == 1 || gyro.empty()) {
    for (size_t i = 0; i < acc.size(); ++i) trace[i] = acc[i];
    gravity = Point3Df{0, 0, 0};
    return;
  }
  const double f = angle_factor(sample_rate);
  double M[9];
  first_matrix(gyro, sample_rate, M);
  double sx = 0.0, sy = 0.0, sz = 0.0;
  for (size_t i = 0; i < acc.size(); ++i) {
    Point3Df g{0, 0, 0};
    if (i < gyro.size()) g = gyro[i];
    double step[9];
    rotation_matrix(Point3Df{f * g.x, f * g.y, f * g.z}, step);
    double turned[9];
    product(M, step, turned);
    for (int e = 0; e < 9; ++e) M[e] = turned[e];
    const Point3Df a = acc[i];
    trace[i].x = M[0] * a.x + M[1] * a.y + M[2] * a.z;
    trace[i].y = M[3] * a.x + M[4] * a.y + M[5] * a.z;
    trace[i].z = M[6] * a.x + M[7] * a.y + M[8] * a.z;
    sx += trace[i].x;
    sy += trace[i].y;
    sz += trace[i].z;
  }
  const double n = (double)acc.size();
  const Point3Df mean{sx / n, sy / n, sz / n};
  for (size_t i = 0; i < acc.size(); ++i) {
    trace[i].x -= mean.x;
    trace[i].y -= mean.y;
    trace[i].z -= mean.z;
  }
  gravity = mean;
}

}  // namespace reference
