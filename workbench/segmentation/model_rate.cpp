#include "segmentation/model_rate.h"

#include <cmath>

namespace wgr {

static constexpr double kRateTolerance = 0.02;  // of the rate
static constexpr int kShippedRate = 50;         // samples/s, of models without a manifest

std::optional<OtherRate> other_rate(int built_for, int rate) {
  const bool known = built_for > 0;
  const int expected = known ? built_for : kShippedRate;
  if (rate == 0 || std::fabs(rate - expected) <= kRateTolerance * expected) {
    return std::nullopt;
  }
  return OtherRate{expected, known};
}

}  // namespace wgr
