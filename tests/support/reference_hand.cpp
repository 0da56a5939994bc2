#include "support/reference_hand.h"

#include <cmath>
#include <cstddef>

namespace reference {

namespace {
// The whole part's magnitude, strictly above the threshold.
bool passes(double value, double threshold) {
  return std::fabs(std::trunc(value)) > threshold;
}
}  // namespace

int Hand::update(Point3Df a) {
  acc.push_back(a);
  if ((long)acc.size() > (long)window_len && !acc.empty()) acc.pop_front();
  return detect_acc(nullptr);
}

int Hand::update(Point3Df a, Point3Df g) {
  acc.push_back(a);
  gyro.push_back(g);
  if ((long)acc.size() > (long)window_len) {
    acc.pop_front();
    gyro.pop_front();
  }
  return detect(nullptr);
}

int Hand::detect_acc(int* votes) const {
  int own[2] = {0, 0};
  if (votes == nullptr) votes = own;
  const long n = window_len;
  if (n > (long)acc.size() || n < 0) return -1;
  std::vector<double> P(1, 0.0);
  std::vector<double> Q(1, 0.0);
  for (long i = 0; i < n; ++i) {
    P.push_back(P.back() + acc[(size_t)i].x);
    Q.push_back(Q.back() + acc[(size_t)i].y);
  }
  for (const HandScale& scale : scales) {
    if (scale.lag < 0) continue;
    const long h = scale.lag / 2;
    if (n - 2 * h < 0) continue;
    for (long j = 0; j <= n - 2 * h; ++j) {
      const size_t first = (size_t)j, half = (size_t)(j + h), last = (size_t)(j + 2 * h);
      const double dx = P[first] + P[last] - 2 * P[half];
      const double dy = Q[first] + Q[last] - 2 * Q[half];
      if (passes(dx, scale.thr_x) && passes(dy, scale.thr_y)) {
        if (dx * dy < 0) {
          votes[1] += 1;
        } else {
          votes[0] += 1;
        }
      }
    }
  }
  const int a = votes[0];
  const int b = votes[1];
  if (a == b || a + b < 3) return -1;
  if (0.7 * a > b) return 0;
  if (a < 0.7 * b) return 1;
  return -1;
}

int Hand::detect(int* votes) const {
  int own[2] = {0, 0};
  if (votes == nullptr) votes = own;
  const long n = window_len;
  if (n > (long)acc.size() || n < 0 || n > (long)gyro.size()) return -1;
  std::vector<double> P(1, 0.0);
  std::vector<double> Q(1, 0.0);
  for (long i = 0; i < n; ++i) {
    P.push_back(P.back() + acc[(size_t)i].y);
    Q.push_back(Q.back() + gyro[(size_t)i].z);
  }
  for (const HandScale& scale : scales) {
    if (scale.lag < 0) continue;
    const long h = scale.lag / 2;
    if (n - 2 * h < 0) continue;
    for (long j = 0; j <= n - 2 * h; ++j) {
      const size_t first = (size_t)j, half = (size_t)(j + h), last = (size_t)(j + 2 * h);
      const double dy = P[first] + P[last] - 2 * P[half];
      const double g = Q[last] - Q[first];
      if (passes(dy, scale.thr_y) && passes(g, scale.thr_gyro)) {
        if (dy * g > 0) {
          votes[1] += 1;
        } else {
          votes[0] += 1;
        }
      }
    }
  }
  const int a = votes[0];
  const int b = votes[1];
  if (0.6 * a > b) return 0;
  if (a < 0.6 * b) return 1;
  return -1;
}

}  // namespace reference
