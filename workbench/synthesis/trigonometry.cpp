#include "synthesis/trigonometry.h"

#include <cmath>

namespace wgr {

static constexpr double kQuarterTurn = 1.5707963267948966;

// The series up to x^17 and x^16, by Horner's rule; for angles within an eighth turn.
static double sine_near_zero(double x) {
  const double s = x * x;
  double sum = 1.0;
  for (int n = 16; n >= 2; n -= 2) sum = 1.0 - sum * s / (n * (n + 1));
  return x * sum;
}

static double cosine_near_zero(double x) {
  const double s = x * x;
  double sum = 1.0;
  for (int n = 15; n >= 1; n -= 2) sum = 1.0 - sum * s / (n * (n + 1));
  return sum;
}

// The sine of the angle plus `quarters` quarter turns.
static double shifted_sine(double radians, int quarters) {
  const double turns = std::floor(radians / kQuarterTurn + 0.5);
  const double rest = radians - turns * kQuarterTurn;
  const int quadrant = static_cast<int>(static_cast<long long>(turns) + quarters) & 3;
  const double value =
      (quadrant & 1) != 0 ? cosine_near_zero(rest) : sine_near_zero(rest);
  return (quadrant & 2) != 0 ? -value : value;
}

double sine(double radians) { return shifted_sine(radians, 0); }
double cosine(double radians) { return shifted_sine(radians, 1); }

}  // namespace wgr
