#include "hostrun/totals.h"

#include "WgrTypes.h"

namespace wgr {

static constexpr size_t kClearMajority = 2;   // times the other wrist's answers
static constexpr size_t kLeastAnswers = 100;  // fewer are of a few movements

int clear_wearer(const std::array<size_t, 3>& answers) {
  const auto& [left, right, undecided] = answers;
  if (left + right < kLeastAnswers) return WG_WEARER_UNDECIDED;
  if (left > kClearMajority * right) return WG_WEARER_LEFT;
  if (right > kClearMajority * left) return WG_WEARER_RIGHT;
  return WG_WEARER_UNDECIDED;
}

}  // namespace wgr
