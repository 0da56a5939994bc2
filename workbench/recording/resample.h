// Brings a recording to another rate.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "recording/recording.h"

namespace wgr {

// Samples at the times of the first one and every 1/rate s after it, by linear
// interpolation between the neighbours in time. Samples whose time does not go forward
// are passed over.
std::vector<RecordedSample> resample(const std::vector<RecordedSample>& samples,
                                     int rate);

// The same while a stream comes. After a gap the stream starts afresh with the sample
// behind it, so that no motion is invented.
class SteadyStream {
 public:
  explicit SteadyStream(int rate) : period_(1.0 / rate) {}

  // Takes a sample and adds what it completes to `made`.
  void add(const RecordedSample& sample, std::vector<RecordedSample>& made);

 private:
  const double period_;                 // s
  std::optional<RecordedSample> last_;  // that was taken
  double start_ = 0.0;                  // s, of the first one made since the last gap
  size_t since_ = 0;                    // how many were made since
};

}  // namespace wgr
