#include "explanation/drawn_stream.h"

#include "explanation/series.h"

namespace wgr {

static constexpr size_t kPair = 2;          // values of a bucket of several samples
static constexpr size_t kSecondBucket = 4;  // samples; fewer would thin nothing

void DrawnStream::coarsen() {
  bucket_ = bucket_ == 1 ? kSecondBucket : 2 * bucket_;
  // Four samples, or the pairs of two buckets: their extremes are those of all in them.
  for (Channel& channel : channels_) {
    channel.values = extremes(channel.values, 2 * kPair);
    channel.values.reserve(kMostDrawn);
  }
}

void DrawnStream::add(const RecordedSample& s) {
  if (channels_[0].values.size() == kMostDrawn && channels_[0].pending.empty()) coarsen();
  const std::array<double, kChannels> sample = {s.acc.x,  s.acc.y,  s.acc.z,
                                                s.gyro.x, s.gyro.y, s.gyro.z};
  for (size_t c = 0; c < kChannels; ++c) {
    Channel& channel = channels_[c];
    if (bucket_ == 1) {
      channel.values.push_back(sample[c]);
      continue;
    }
    channel.pending.push_back(sample[c]);
    if (channel.pending.size() < bucket_) continue;
    for (const double value : extremes(channel.pending, bucket_)) {
      channel.values.push_back(value);
    }
    channel.pending.clear();
  }
}

std::vector<double> DrawnStream::values(size_t channel, size_t bucket) const {
  std::vector<double> all = channels_[channel].values;
  const std::vector<double> last = extremes(channels_[channel].pending, bucket_);
  all.insert(all.end(), last.begin(), last.end());
  if (bucket == bucket_) return all;
  return extremes(all, bucket_ == 1 ? bucket : kPair * bucket / bucket_);
}

}  // namespace wgr
