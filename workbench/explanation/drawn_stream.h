// The samples of a recording as a page draws them, in a memory that does not grow with
// it: all of them up to kMostDrawn, of a longer recording the least and the greatest of
// every few.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "recording/recording.h"

namespace wgr {

class DrawnStream {
 public:
  static constexpr size_t kMostDrawn = size_t{1} << 20;  // samples
  static constexpr size_t kChannels = 6;                 // ax to gz

  void add(const RecordedSample& sample);

  // How many samples share a value's bucket at least: 1, 4, 8, 16 and so on.
  size_t finest() const { return bucket_; }

  // A channel's extremes (see series.h) for a bucket of that sequence from finest() on.
  std::vector<double> values(size_t channel, size_t bucket) const;

 private:
  struct Channel {
    std::vector<double> values;   // of whole buckets
    std::vector<double> pending;  // samples of the last one
  };

  void coarsen();

  size_t bucket_ = 1;
  std::array<Channel, kChannels> channels_;
};

}  // namespace wgr
