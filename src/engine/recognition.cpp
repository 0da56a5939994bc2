// From a collected motion to a class: orient, reconstruct, classify, accept.
#include "engine/agGes.h"
#include "engine/orientation.h"
#include "engine/reconstruction.h"

using namespace wgr;

void AgGes::acc_correct() {
  if (work_mode == kAccOnly || motion_gyro.empty()) {
    trace.assign(motion_acc.begin(), motion_acc.end());
    gravity = {0.0, 0.0, 0.0};
  } else {
    gravity = orient(motion_acc, motion_gyro, sample_rate, trace);
  }
}

void AgGes::trace_reconstruction() {
  reconstruct(trace, sample_rate, trace_velocity, trace_position);
}

// Whether a trace is too short to be named. One without points always is, however
// short a motion may be.
static bool too_short(const Points& trace, int min_motion_len) {
  return trace.empty() || static_cast<long long>(trace.size()) < min_motion_len;
}

void AgGes::run() {
  acc_correct();
  if (work_mode == kAccOnly) {
    gesture_class = too_short(trace, min_motion_len)
                        ? kNoGesture
                        : hgr->predict(trace, nullptr, nullptr, nullptr);
  } else if (work_mode == kAccAndGyro) {
    if (!trace.empty()) trace_reconstruction();
    if (too_short(trace, min_motion_len)) {
      gesture_class = kNoGesture;
      return;
    }
    Points compared = trace;
    compared.push_back(gravity);
    int reject_flag = 0;
    gesture_class = hgr->predict(compared, &motion_strength, nullptr, &reject_flag);
    if (motion_strength < strength_threshold) {
      gesture_class = kNoGesture;
    } else if (reject_flag != 0) {
      gesture_class = kRejected;
    }
  }
}
