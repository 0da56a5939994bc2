// All scores that building a model needs, computed once, with all processors.
#pragma once

#include <atomic>
#include <cstddef>
#include <vector>

#include "base/points.h"

namespace wgr {

// How far work is that several threads share, for another thread to show.
struct Advance {
  std::atomic<size_t> done = 0;
  std::atomic<size_t> all = 0;

  // From 0 to 1.
  double share() const {
    return all == 0 ? 0.0 : static_cast<double>(done) / static_cast<double>(all);
  }
};

class Similarities {
 public:
  // Scores every trace, as a motion, with the first `columns` traces, as templates, as
  // HGR::cal_simlarity does. The result does not depend on the number of threads; 0
  // means one for each processor. Progress goes to standard error unless `quiet`, and to
  // `advance` unless null. Besides the scores each thread takes 8 MB at most.
  Similarities(const std::vector<Points>& traces, size_t columns, int k, unsigned threads,
               bool quiet, Advance* advance = nullptr);

  float operator()(size_t motion, size_t as_template) const {
    return scores_[motion * columns_ + as_template];
  }

  // All of them, a row for each trace.
  const std::vector<float>& rows() const { return scores_; }

 private:
  const size_t columns_;
  std::vector<float> scores_;  // row-major, a row for each trace
};

}  // namespace wgr
