// How short and how weak a motion may be to count as a gesture, by level.
#pragma once

#include "base/exact_arithmetic.h"

namespace wgr {

struct Sensitivity {
  int min_motion_len;         // shortest motion, samples
  double strength_threshold;  // least strength, m/s²
};

// What a level means at `rate` samples per second. Levels 1 to 3 are permissive to
// strict; a negative level gives the length itself, as long as it is below the rate.
Sensitivity sensitivity_of(int level, int rate);

}  // namespace wgr
