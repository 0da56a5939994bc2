// Slow and obvious trace reconstruction: the three scratch arrays E, V and P, and the
// two scans over E for the active stretch.
#pragma once

#include <vector>

#include "WgrTypes.h"

namespace reference {

// `trace` is replaced by its active stretch; it must not be empty on entry.
void reconstruct(int sample_rate, std::vector<Point3Df>& trace,
                 std::vector<Point3Df>& velocity, std::vector<Point3Df>& position);

}  // namespace reference
