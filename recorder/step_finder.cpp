#include "step_finder.h"

#include <algorithm>
#include <cmath>

namespace wgr::recorder {

using namespace wgr::capture;

static constexpr double kMostOfASensor = 16777216.0;  // no sensor has more bits
static constexpr int kMostDecimals = 6;               // of a value that was text
static constexpr int kMostHalvings = 14;              // of a unit, by a grid
static constexpr double kDoubleNoise = 1e-13;         // of a difference, of the largest
static constexpr double kFloatNoise = 3e-7;
static constexpr double kMostOff = 0.2;  // steps, from a whole number
static constexpr int kMostParts = 16;    // steps in the least difference
static constexpr int kNeighbours = 2;    // that are tried on either side of an estimate

StepCounter::StepCounter(const Step& step) : step_(step), equal_(step) {
  const bool quotient = step.form == kQuotient || step.form == kFloatQuotient;
  per_unit_ = quotient ? step.value : 1.0 / step.value;
  int exponent = 0;
  if (step.form == kQuotient && std::frexp(step.value, &exponent) == 0.5) {
    equal_ = {kProduct, 1.0 / step.value};
  }
}

static bool explains(const Step& step, const double* values, std::size_t count) {
  const StepCounter counter(step);
  return std::all_of(values, values + count, [&](double value) {
    std::int32_t k = 0;
    return counter.count(value, k);
  });
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

// Values and their differences, the least first, but those that are only rounding.
static std::size_t magnitudes(const double* values, std::size_t count, double noise,
                              double* to) {
  std::size_t made = 0;
  for (std::size_t i = 0; i < count; ++i) {
    for (const double value : {values[i], values[i] - values[0]}) {
      if (std::fabs(value) > noise) to[made++] = std::fabs(value);
    }
  }
  std::sort(to, to + made);
  return made;
}

// Where all are multiples of about `step`, a better estimate of it: each one narrows it
// more closely than the ones before. 0 where they are not.
static double refined(double step, const double* sorted, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) {
    const double steps = sorted[i] / step;
    const double k = std::floor(steps + 0.5);
    if (std::fabs(steps - k) > kMostOff || k < 1.0 || k > kMostOfASensor) return 0.0;
    step = sorted[i] / k;
  }
  return step;
}

// The values were rounded, and so is the estimate of their step: its neighbours too.
template <class Number>
static Step near(Form form, double about, const double* values, std::size_t count) {
  Number estimate = static_cast<Number>(about);
  for (int i = 0; i < kNeighbours; ++i) estimate = std::nextafter(estimate, Number{0});
  for (int i = 0; i <= 2 * kNeighbours; ++i) {
    const Step step = {form, static_cast<double>(estimate)};
    if (explains(step, values, count)) return step;
    estimate = std::nextafter(estimate, Number{INFINITY});
  }
  return {};
}

template <class Number>
static Step product_of(Form form, double noise, const double* values, std::size_t count) {
  double sorted[2 * kMostValues];
  const std::size_t made = magnitudes(values, count, noise, sorted);
  for (int parts = 1; made > 0 && parts <= kMostParts; ++parts) {
    const double step = refined(sorted[0] / parts, sorted, made);
    if (step == 0.0) continue;
    const Step found = near<Number>(form, step, values, count);
    if (found.form != kNoSteps) return found;
  }
  return {};
}

Step find_step(const double* values, std::size_t count) {
  count = std::min(count, kMostValues);
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
    found = product_of<double>(kProduct, largest * kDoubleNoise, values, count);
  }
  if (found.form == kNoSteps) {
    found = quotient_of(kFloatQuotient, 10.0, kMostDecimals, values, count);
  }
  if (found.form == kNoSteps) {
    found = product_of<float>(kFloatProduct, largest * kFloatNoise, values, count);
  }
  return found;
}

}  // namespace wgr::recorder
