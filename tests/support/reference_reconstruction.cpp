#include "support/reference_reconstruction.h"

#include <cstddef>

namespace reference {

void reconstruct(int sample_rate, std::vector<Point3Df>& trace,
                 std::vector<Point3Df>& velocity, std::vector<Point3Df>& position) {
  velocity.clear();
  position.clear();

  const float dt_single = 1.0f / (float)sample_rate;
  const double dt = (double)dt_single;
  const double h = dt * 0.5;
  const double q = (dt * dt) / 6.0;

  const long n = (long)trace.size();
  const long m = n - 1;
  std::vector<double> E((size_t)m, 0.0);
  std::vector<Point3Df> V((size_t)m, Point3Df{0, 0, 0});
  std::vector<Point3Df> P((size_t)m, Point3Df{0, 0, 0});

  double S = 0.0;
  Point3Df v{0, 0, 0};
  Point3Df p{0, 0, 0};
  for (long i = 0; i <= m - 1; ++i) {
    const Point3Df a0 = trace[(size_t)i];
    const Point3Df a1 = trace[(size_t)i + 1];
    p.x = p.x + ((2 * a1.x + a0.x) * q + dt * v.x);
    p.y = p.y + ((2 * a1.y + a0.y) * q + dt * v.y);
    p.z = p.z + ((2 * a1.z + a0.z) * q + dt * v.z);
    v.x = v.x + (a1.x + a0.x) * h;
    v.y = v.y + (a1.y + a0.y) * h;
    v.z = v.z + (a1.z + a0.z) * h;
    E[(size_t)i] = v.y * v.y + v.x * v.x + v.z * v.z;
    V[(size_t)i] = v;
    P[(size_t)i] = p;
    S += E[(size_t)i];
  }

  const double T = (S / (double)m) * 0.1;

  long s;
  if (m <= 0 || !(E[0] < T)) {
    s = n + 1;
  } else {
    s = m;
    for (long i = m - 1; i >= 1; --i) {
      if (!(E[(size_t)i] < T)) s = i;  // the last one written is the smallest
    }
  }

  long e;
  if (m - 1 < 0 || !(E[(size_t)(m - 1)] < T)) {
    e = 0;
  } else {
    e = 0;
    for (long j = 1; j <= m - 1; ++j) {
      if (!(E[(size_t)(j - 1)] < T)) e = j;  // the last one written is the largest
    }
  }

  std::vector<Point3Df> kept;
  if (s < e) {
    for (long k = s; k <= e - 1; ++k) {
      kept.push_back(trace[(size_t)(k - 1)]);
      velocity.push_back(V[(size_t)k]);
      position.push_back(P[(size_t)k]);
    }
  }
  trace = kept;
}

}  // namespace reference
