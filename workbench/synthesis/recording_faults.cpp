#include "synthesis/recording_faults.h"

#include <algorithm>
#include <cmath>

namespace wgr {

void apply(const RecordingFaults& faults, std::vector<RecordedSample>& samples) {
  const auto too_early = [&faults](const RecordedSample& sample) {
    return sample.t < faults.from;
  };
  samples.erase(std::remove_if(samples.begin(), samples.end(), too_early), samples.end());
  for (RecordedSample& sample : samples) {
    for (const auto axis : {&Point3Df::x, &Point3Df::y, &Point3Df::z}) {
      double& rate = sample.gyro.*axis;
      if (std::fabs(rate) < faults.gyro_dead_band) rate = 0.0;
    }
  }
}

}  // namespace wgr
