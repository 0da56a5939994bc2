#include "support/reference_rest.h"

#include <cstddef>

namespace reference {

namespace {
void statistics(const std::deque<Point3Df>& samples, long from, long n, double& mean2,
                double& spread) {
  double x = 0.0, y = 0.0, z = 0.0;
  for (long i = from; i < from + n; ++i) {
    x += samples[(size_t)i].x;
    y += samples[(size_t)i].y;
    z += samples[(size_t)i].z;
  }
  x /= (double)n;
  y /= (double)n;
  z /= (double)n;
  double sum = 0.0;
  for (long i = from; i < from + n; ++i) {
    const double dx = samples[(size_t)i].x - x;
    const double dy = samples[(size_t)i].y - y;
    const double dz = samples[(size_t)i].z - z;
    sum += dx * dx + dy * dy + dz * dz;
  }
  mean2 = x * x + y * y + z * z;
  spread = sum / (double)n;
}
}  // namespace

bool is_static(int work_mode, int static_window, const std::deque<Point3Df>& acc,
               const std::deque<Point3Df>& gyro) {
  const long N = static_window;
  const long S = (long)acc.size();
  if (N < 0 || S < N) return true;

  double m2, v;
  statistics(acc, S - N, N, m2, v);
  const bool acc_says_rest = m2 > 98.0 && m2 < 110.0 && v < 0.22;
  if (work_mode == 1 || gyro.empty()) return acc_says_rest;
  if ((long)gyro.size() < S) return acc_says_rest;

  double g2, w;
  statistics(gyro, S - N, N, g2, w);
  const bool gyro_says_rest = g2 < 900.0 && w < 110.0;
  return acc_says_rest || gyro_says_rest;
}

}  // namespace reference
