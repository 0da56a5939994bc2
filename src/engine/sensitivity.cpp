#include "engine/sensitivity.h"

namespace wgr {

// The levels, and what every other level means. Strengths in m/s².
static constexpr double kStrengthLevel1 = 2.0;
static constexpr double kStrengthLevel2 = 2.5;
static constexpr double kStrengthLevel3 = 4.0;
static constexpr double kStrengthOther = 3.0;
static constexpr double kStrengthPerSecond = 6.0;  // of a length given directly
static constexpr double kLevel1Divisor = 3.5;      // of the sample rate, gives a length

Sensitivity sensitivity_of(int level, int rate) {
  // Adding to the sample rate, not negating the level: the lowest int has no negative.
  if (level < 0 && static_cast<long long>(rate) + level > 0) {
    const double seconds = static_cast<double>(-level) / static_cast<double>(rate);
    return {-level, seconds * kStrengthPerSecond};
  }
  switch (level) {
    case 1:
      return {static_cast<int>(static_cast<double>(rate) / kLevel1Divisor),
              kStrengthLevel1};
    case 2:
      return {rate / 2, kStrengthLevel2};
    case 3:
      return {rate / 2, kStrengthLevel3};
    default:
      return {rate / 2, kStrengthOther};
  }
}

}  // namespace wgr
