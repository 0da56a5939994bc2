// Finds the step of a sensor that delivers whole numbers, from values that the host made
// of them.
#pragma once

#include <cstddef>
#include <optional>

#include "capture_format.h"

namespace wgr::recorder {

inline constexpr std::size_t kMostValues = 64;

// The whole number behind a value; nothing when the value is no such multiple, to the
// last bit.
std::optional<std::int64_t> in_steps(const capture::Step& step, double value);

// The step of all the values, of kMostValues at most, to the last bit; kNoSteps where
// there is none.
capture::Step find_step(const double* values, std::size_t count);

}  // namespace wgr::recorder
