#include "hostrun/totals.h"

#include "WgrTypes.h"

namespace wgr {

static constexpr size_t kClearMajority = 2;  // times the other wrist's answers

int Totals::wearer() const {
  const auto& [left, right, undecided] = wearer_answers;
  if (left > kClearMajority * right) return WG_WEARER_LEFT;
  if (right > kClearMajority * left) return WG_WEARER_RIGHT;
  return WG_WEARER_UNDECIDED;
}

}  // namespace wgr
