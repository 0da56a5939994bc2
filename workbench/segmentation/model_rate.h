// Whether a model was built for the sample rate that it is used at.
#pragma once

#include <optional>

namespace wgr {

// A model's sample rate that is not the one in use.
struct OtherRate {
  int built_for;  // samples/s
  bool known;     // by its manifest; otherwise the shipped models' is assumed
};

// `built_for` is 0 where no manifest says it; `rate` is 0 where that is not known, which
// is no difference.
std::optional<OtherRate> other_rate(int built_for, int rate);

}  // namespace wgr
