// Finds the step of a sensor that delivers whole numbers, from values that the host made
// of them.
#pragma once

#include <cmath>
#include <cstddef>

#include "capture_format.h"

namespace wgr::recorder {

inline constexpr std::size_t kMostValues = 64;

// Counts values in steps.
class StepCounter {
 public:
  StepCounter() = default;  // no value is counted
  explicit StepCounter(const capture::Step& step);

  const capture::Step& step() const { return step_; }
  bool counts() const { return step_.form != capture::kNoSteps; }

  // The whole number behind a value; false when the value is no such multiple, to the
  // last bit.
  bool count(double value, std::int32_t& k) const {
    if (!counts()) return false;
    const double steps = value * per_unit_;
    if (!(std::fabs(steps) < kMostSteps)) return false;
    k = static_cast<std::int32_t>(steps + (steps < 0.0 ? -0.5 : 0.5));
    return capture::bits_of(capture::from_steps(equal_, k)) == capture::bits_of(value);
  }

 private:
  static constexpr double kMostSteps = 2147483647.0;

  capture::Step step_;
  capture::Step equal_;    // has the same values, without a division where there is one
  double per_unit_ = 0.0;  // steps
};

// The step of all the values, of kMostValues at most, to the last bit; kNoSteps where
// there is none.
capture::Step find_step(const double* values, std::size_t count);

}  // namespace wgr::recorder
