#include "recording/resample.h"

#include "base/points.h"

namespace wgr {

// Of a period: the last sample counts even if its time is rounded down a little.
static constexpr double kSlack = 1e-6;
static constexpr double kLongestStep = 0.25;  // s; what takes longer is a gap

static RecordedSample between(const RecordedSample& a, const RecordedSample& b,
                              double t) {
  const double share = (t - a.t) / (b.t - a.t);
  return {t, a.acc + share * (b.acc - a.acc), a.gyro + share * (b.gyro - a.gyro)};
}

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
    made.push_back(between(forward[right - 1], forward[right], t));
  }
  return made;
}

void SteadyStream::add(const RecordedSample& sample, std::vector<RecordedSample>& made) {
  if (last_ && sample.t <= last_->t) return;
  if (!last_ || sample.t - last_->t > kLongestStep) {
    made.push_back(sample);
    start_ = sample.t;
    since_ = 1;
  } else {
    for (;; ++since_) {
      const double t = start_ + static_cast<double>(since_) * period_;
      if (t > sample.t + kSlack * period_) break;
      made.push_back(between(*last_, sample, t));
    }
  }
  last_ = sample;
}

}  // namespace wgr
