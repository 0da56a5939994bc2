// Slow and obvious rest test: both statistics in two passes each, every bound in its
// place.
#pragma once

#include <deque>

#include "WgrTypes.h"

namespace reference {

bool is_static(int work_mode, int static_window, const std::deque<Point3Df>& acc,
               const std::deque<Point3Df>& gyro);

}  // namespace reference
