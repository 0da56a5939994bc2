#include "step_finder.h"

#include <algorithm>
#include <cmath>

namespace wgr::recorder {

using namespace wgr::capture;

static constexpr double kMostSteps = 2147483647.0;
static constexpr double kMostOfASensor = 16777216.0;  // no sensor tells more bits
static constexpr int kMostDecimals = 6;               // of a value that was text
static constexpr int kMostHalvings = 14;              // of a unit, by a grid
static constexpr double kDoubleNoise = 1e-9;          // of a remainder, of the largest
static constexpr double kFloatNoise = 3e-6;
static constexpr int kNeighbours = 2;  // that are tried on either side of an estimate

std::optional<std::int64_t> in_steps(const Step& step, double value) {
  const bool quotient = step.form == kQuotient || step.form == kFloatQuotient;
  const double steps = quotient ? value * step.value : value / step.value;
  if (step.form == kNoSteps || !(std::fabs(steps) < kMostSteps)) return std::nullopt;
  const auto k = static_cast<std::int64_t>(steps + (steps < 0.0 ? -0.5 : 0.5));
  if (bits_of(from_steps(step, k)) != bits_of(value)) return std::nullopt;
  return k;
}

static bool explains(const Step& step, const double* values, std::size_t count) {
  return std::all_of(values, values + count,
                     [&](double value) { return in_steps(step, value).has_value(); });
}

static Step quotient_of(Form form, double base, int most, const double* values,
                        std::size_t count) {
  double divisor = 1.0;
  for (int i = 0; i <= most; ++i, divisor *= base) {
    const Step step = {form, divisor};
    if (explains(step, values, count)) return step;
  }
  return {};
}

// The largest number that all values are multiples of, but for `noise`; Euclid's
// algorithm on doubles.
static double common_divisor(const double* values, std::size_t count, double noise) {
  double divisor = 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    double a = divisor;
    double b = std::fabs(values[i]);
    while (b > noise) {
      const double rest = std::fmod(a, b);
      a = b;
      // A rest of nearly b is none.
      b = std::min(rest, a - rest);
    }
    divisor = a;
  }
  return divisor;
}

// The values were rounded, and so is the estimate of their step: its neighbours too.
template <class Number>
static Step product_of(Form form, double divisor, double largest, const double* values,
                       std::size_t count) {
  const double k = std::round(largest / divisor);
  if (!(k >= 1.0) || k > kMostOfASensor) return {};
  Number estimate = static_cast<Number>(largest / k);
  for (int i = 0; i < kNeighbours; ++i) estimate = std::nextafter(estimate, Number{0});
  for (int i = 0; i <= 2 * kNeighbours; ++i) {
    const Step step = {form, static_cast<double>(estimate)};
    if (explains(step, values, count)) return step;
    estimate = std::nextafter(estimate, Number{INFINITY});
  }
  return {};
}

Step find_step(const double* values, std::size_t count) {
  double largest = 0.0;
  for (std::size_t i = 0; i < count; ++i) {
    if (!std::isfinite(values[i])) return {};
    largest = std::max(largest, std::fabs(values[i]));
  }
  Step found = quotient_of(kQuotient, 10.0, kMostDecimals, values, count);
  if (found.form == kNoSteps) {
    found = quotient_of(kQuotient, 2.0, kMostHalvings, values, count);
  }
  if (found.form == kNoSteps) {
    const double divisor = common_divisor(values, count, largest * kDoubleNoise);
    found = product_of<double>(kProduct, divisor, largest, values, count);
  }
  if (found.form == kNoSteps) {
    found = quotient_of(kFloatQuotient, 10.0, kMostDecimals, values, count);
  }
  if (found.form == kNoSteps) {
    const double divisor = common_divisor(values, count, largest * kFloatNoise);
    found = product_of<float>(kFloatProduct, divisor, largest, values, count);
  }
  return found;
}

}  // namespace wgr::recorder
