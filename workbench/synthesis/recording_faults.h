// What can go wrong between a moving wrist and the recording of it.
#pragma once

#include <vector>

#include "recording/recording.h"

namespace wgr {

struct RecordingFaults {
  double from = 0.0;            // s; nothing was recorded before
  double gyro_dead_band = 0.0;  // deg/s; an axis that turns slower reads exactly zero
};

void apply(const RecordingFaults& faults, std::vector<RecordedSample>& samples);

}  // namespace wgr
