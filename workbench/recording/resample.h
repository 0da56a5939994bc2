// Brings a recording to another rate.
#pragma once

#include <vector>

#include "recording/recording.h"

namespace wgr {

// Samples at the times of the first one and every 1/rate s after it, by linear
// interpolation between the neighbours in time. Samples whose time does not go forward
// are passed over.
std::vector<RecordedSample> resample(const std::vector<RecordedSample>& samples,
                                     int rate);

}  // namespace wgr
