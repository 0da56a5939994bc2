#include "explanation/drawn_stream.h"

#include <algorithm>

#include "explanation/packed_series.h"
#include "explanation/series.h"

namespace wgr {

static constexpr size_t kPair = 2;          // values of a bucket of several samples
static constexpr size_t kSecondBucket = 4;  // samples; fewer would thin nothing

static std::array<double, DrawnStream::kChannels> channels_of(const RecordedSample& s) {
  return {s.acc.x, s.acc.y, s.acc.z, s.gyro.x, s.gyro.y, s.gyro.z};
}

void DrawnStream::coarsen() {
  bucket_ = bucket_ == 1 ? kSecondBucket : 2 * bucket_;
  // Four samples, or the pairs of two buckets: their extremes are those of all in them.
  for (Channel& channel : channels_) {
    channel.values = extremes(channel.values, 2 * kPair);
    channel.values.reserve(kMostDrawn);
  }
}

void DrawnStream::add(const RecordedSample& s, bool whole) {
  if (forgotten_ + recent_.size() == 0) origin_ = s.t;
  recent_.push_back({s, whole});
  if (channels_[0].values.size() == kMostDrawn && channels_[0].pending.empty()) coarsen();
  const std::array<double, kChannels> sample = channels_of(s);
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

void DrawnStream::keep_whole(size_t first, size_t count) {
  const size_t end = std::min(first + count, forgotten_ + recent_.size());
  for (size_t i = std::max(first, forgotten_); i < end; ++i) {
    recent_[i - forgotten_].whole = true;
  }
}

void DrawnStream::forget(size_t newest) {
  while (recent_.size() > newest) {
    if (recent_.front().whole) {
      stretch_.push_back(recent_.front().sample);
    } else {
      close_stretch();
    }
    recent_.pop_front();
    ++forgotten_;
  }
}

void DrawnStream::close_stretch() {
  if (stretch_.empty()) return;
  std::string block;
  append_whole(block, forgotten_ - stretch_.size());
  append_whole(block, stretch_.size());
  std::vector<double> values(stretch_.size());
  const auto append = [&](double unit, const auto& value) {
    std::transform(stretch_.begin(), stretch_.end(), values.begin(), value);
    append_series(block, values, unit);
  };
  append(kTimeUnit, [this](const RecordedSample& s) { return s.t - origin_; });
  for (size_t c = 0; c < kChannels; ++c) {
    append(c < kChannels / 2 ? kDrawnAccUnit : kDrawnGyroUnit,
           [c](const RecordedSample& s) { return channels_of(s)[c]; });
  }
  append_block(packed_, block);
  ++stretches_;
  stretch_.clear();
}

const std::string& DrawnStream::stretches() {
  forget(0);
  close_stretch();
  return packed_;
}

std::vector<double> DrawnStream::values(size_t channel, size_t bucket) const {
  std::vector<double> all = channels_[channel].values;
  const std::vector<double> last = extremes(channels_[channel].pending, bucket_);
  all.insert(all.end(), last.begin(), last.end());
  if (bucket == bucket_) return all;
  return extremes(all, bucket_ == 1 ? bucket : kPair * bucket / bucket_);
}

}  // namespace wgr
