// The wrist detector as get_wearer_type() asks it, without a handle.
#pragma once

#include <array>
#include <cstddef>

#include "WgrTypes.h"
#include "engine/WHD.h"

namespace wgr {

// Samples that a detection looks at: one second at the rate that the detector's built-in
// parameters are made for.
inline constexpr int kHandWindow = 50;

class HostWrist {
 public:
  // Asks it after a sample: 0, 1 or 2, as WgWatchWearer.
  int ask(const Point3Df& acc) {
    const int answer = detector_.update(acc);
    const int wearer = answer == kUndecided ? WG_WEARER_UNDECIDED : answer;
    ++answers_[static_cast<size_t>(wearer)];
    return wearer;
  }

  // How often it has answered left, right and undecided.
  const std::array<size_t, 3>& answers() const { return answers_; }

 private:
  // A handle's detector keeps the parameters for 50 samples/s at every rate that
  // init_gesture_handle() is given.
  static constexpr int kRateOfParameters = 50;

  WHD detector_{kRateOfParameters, kHandWindow, nullptr};
  std::array<size_t, 3> answers_ = {};
};

}  // namespace wgr
