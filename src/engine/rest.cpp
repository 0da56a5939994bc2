#include "engine/rest.h"

namespace wgr {

namespace {

// A window is at rest when its figures are within these, all exclusive.
struct Bounds {
  double least_mean_squared;
  double most_mean_squared;
  double most_spread;
};

}  // namespace

// Gravity, a length of about 9.90 to 10.49 m/s²; all in (m/s²)².
static constexpr Bounds kAcc = {98.0, 110.0, 0.22};
// All in (deg/s)². Every squared length is within the first.
static constexpr Bounds kGyro = {-1.0, 900.0, 110.0};

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

static bool at_rest(const WindowStats& stats, const Bounds& bounds) {
  return stats.mean_squared > bounds.least_mean_squared &&
         stats.mean_squared < bounds.most_mean_squared &&
         stats.spread < bounds.most_spread;
}

// One pass over the samples and no wait for their mean: the spread is the mean square
// less the square of the mean. That rounds otherwise than window_stats(), whose figures
// decide when these are too near to a bound, or no numbers.
static bool at_rest(const Samples& samples, size_t begin, size_t end,
                    const Bounds& bounds) {
  const double count = static_cast<double>(end - begin);
  const double share = 1.0 / count;
  Point3Df sum = {0.0, 0.0, 0.0};
  double squares = 0.0;
  auto sample = samples.begin() + static_cast<std::ptrdiff_t>(begin);
  for (size_t i = begin; i < end; ++i, ++sample) {
    sum = sum + *sample;
    squares += squared_length(*sample);
  }
  const double mean_square = share * squares;
  const double mean_squared = squared_length(share * sum);
  const double spread = mean_square - mean_squared;

  // How far the figures can be from those of window_stats(): rounding moves each of the
  // four by less than 2^-53 (4 count + 22) mean_square from the true one. Ten times that.
  const double margin = 1e-14 * (count + 8.0) * mean_square;
  if (mean_squared > bounds.least_mean_squared + margin &&
      mean_squared < bounds.most_mean_squared - margin &&
      spread < bounds.most_spread - margin) {
    return true;
  }
  if (mean_squared < bounds.least_mean_squared - margin ||
      mean_squared > bounds.most_mean_squared + margin ||
      spread > bounds.most_spread + margin) {
    return false;
  }
  return at_rest(window_stats(samples, begin, end), bounds);
}

bool acc_at_rest(const WindowStats& stats) { return at_rest(stats, kAcc); }
bool gyro_at_rest(const WindowStats& stats) { return at_rest(stats, kGyro); }

bool acc_at_rest(const Samples& samples, size_t begin, size_t end) {
  return at_rest(samples, begin, end, kAcc);
}
bool gyro_at_rest(const Samples& samples, size_t begin, size_t end) {
  return at_rest(samples, begin, end, kGyro);
}

}  // namespace wgr
