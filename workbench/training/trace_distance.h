// How far a trace is from others, when only the nearest is needed.
#pragma once

#include "base/points.h"
#include "dtw/dtw.h"

namespace wgr {

// Holds a trace, which has to outlive it, and the work space.
class TraceDistance {
 public:
  // `k` trailing points; there are motion points.
  TraceDistance(const Points& trace, int k);

  // Minus the classifier's score for the trace and a template, or anything more than
  // `most` where it is more.
  double to(const Points& other, double most);

 private:
  const Points& trace_;
  const int k_;
  Dtw warper_;
};

}  // namespace wgr
