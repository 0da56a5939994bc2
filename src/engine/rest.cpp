#include "engine/rest.h"

namespace wgr {

// The squared length of gravity in a resting window, (m/s²)²; about 9.90 to 10.49 m/s².
static constexpr double kLeastGravitySquared = 98.0;
static constexpr double kMostGravitySquared = 110.0;
static constexpr double kMostAccSpread = 0.22;  // (m/s²)²

static constexpr double kMostRateSquared = 900.0;  // (deg/s)²
static constexpr double kMostRateSpread = 110.0;   // (deg/s)²

WindowStats window_stats(const Samples& samples, size_t begin, size_t end) {
  const double count = static_cast<double>(end - begin);
  // By iterator: indexing a queue takes a division.
  const auto first = samples.begin() + static_cast<std::ptrdiff_t>(begin);
  const auto last = samples.begin() + static_cast<std::ptrdiff_t>(end);
  Point3Df sum = {0.0, 0.0, 0.0};
  for (auto sample = first; sample != last; ++sample) sum = sum + *sample;
  const Point3Df mean = sum / count;

  double squares = 0.0;
  for (auto sample = first; sample != last; ++sample) {
    squares += squared_length(*sample - mean);
  }
  return {squared_length(mean), squares / count};
}

bool acc_at_rest(const WindowStats& stats) {
  return stats.mean_squared > kLeastGravitySquared &&
         stats.mean_squared < kMostGravitySquared && stats.spread < kMostAccSpread;
}

bool gyro_at_rest(const WindowStats& stats) {
  return stats.mean_squared < kMostRateSquared && stats.spread < kMostRateSpread;
}

}  // namespace wgr
