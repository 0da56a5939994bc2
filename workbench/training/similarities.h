// All scores that building a model needs, computed once, with all processors.
#pragma once

#include <cstddef>
#include <vector>

#include "base/points.h"

namespace wgr {

class Similarities {
 public:
  // Scores every trace, as a motion, with the first `columns` traces, as templates, as
  // HGR::cal_simlarity does. The result does not depend on the number of threads; 0
  // means one for each processor. Progress goes to standard error unless `quiet`.
  Similarities(const std::vector<Points>& traces, size_t columns, int k, unsigned threads,
               bool quiet);

  float operator()(size_t motion, size_t as_template) const {
    return scores_[motion * columns_ + as_template];
  }

 private:
  const size_t columns_;
  std::vector<float> scores_;  // row-major, a row for each trace
};

}  // namespace wgr
