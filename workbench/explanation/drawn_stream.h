// The samples of a recording as a page draws them, in a memory that hardly grows with it:
// all of them up to kMostDrawn, of a longer recording the least and the greatest of every
// few, and every sample of the stretches that matter.
#pragma once

#include <array>
#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "recording/recording.h"

namespace wgr {

class DrawnStream {
 public:
  static constexpr size_t kMostDrawn = size_t{1} << 20;  // samples
  static constexpr size_t kChannels = 6;                 // ax to gz

  // `whole`: the sample is one of a stretch of which every sample is kept.
  void add(const RecordedSample& sample, bool whole = false);

  // Samples `first` to first + count - 1 are kept as well, as far as they are not yet
  // forgotten.
  void keep_whole(size_t first, size_t count);
  // Forgets all samples but the newest `newest` of them, where they are not kept.
  void forget(size_t newest);

  // How many samples share a value's bucket at least: 1, 4, 8, 16 and so on.
  size_t finest() const { return bucket_; }

  // A channel's extremes (see series.h) for a bucket of that sequence from finest() on.
  std::vector<double> values(size_t channel, size_t bucket) const;

  // The stretches that are kept: each a block (see packed_series.h) of its first sample,
  // how many there are, the stamps in ms from `origin` and the channels.
  const std::string& stretches();
  size_t count_stretches() const { return stretches_; }

 private:
  struct Channel {
    std::vector<double> values;   // of whole buckets
    std::vector<double> pending;  // samples of the last one
  };
  struct Recent {
    RecordedSample sample;
    bool whole;
  };

  void coarsen();
  void close_stretch();

  size_t bucket_ = 1;
  std::array<Channel, kChannels> channels_;
  std::deque<Recent> recent_;  // the newest samples
  size_t forgotten_ = 0;       // how many came before them
  double origin_ = 0.0;        // s, the first stamp
  std::vector<RecordedSample> stretch_;
  std::string packed_;
  size_t stretches_ = 0;
};

}  // namespace wgr
