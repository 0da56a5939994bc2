#include "recording/resample.h"

#include "base/points.h"

namespace wgr {

// Of a period: the last sample counts even if its time is rounded down a little.
static constexpr double kSlack = 1e-6;

std::vector<RecordedSample> resample(const std::vector<RecordedSample>& samples,
                                     int rate) {
  std::vector<RecordedSample> forward;
  for (const RecordedSample& sample : samples) {
    if (forward.empty() || sample.t > forward.back().t) forward.push_back(sample);
  }
  if (forward.size() < 2) return forward;

  std::vector<RecordedSample> made;
  const double start = forward.front().t;
  const double period = 1.0 / rate;
  const double end = forward.back().t + kSlack * period;
  size_t right = 1;
  for (size_t i = 0;; ++i) {
    const double t = start + static_cast<double>(i) * period;
    if (t > end) break;
    while (right + 1 < forward.size() && forward[right].t < t) ++right;
    const RecordedSample& a = forward[right - 1];
    const RecordedSample& b = forward[right];
    const double share = (t - a.t) / (b.t - a.t);
    made.push_back(
        {t, a.acc + share * (b.acc - a.acc), a.gyro + share * (b.gyro - a.gyro)});
  }
  return made;
}

}  // namespace wgr
