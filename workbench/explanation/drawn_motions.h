// The motions of a recording as a page draws them, in a memory that hardly grows with it:
// their series are deflated as the motions end. A motion that matters keeps every sample,
// the others as many as fit, those that are too short to be run perhaps none: they are
// deflated several times over, each time half as fine, and what turns out too large for a
// page is dropped.
#pragma once

#include <memory>
#include <vector>

#include "base/text_sink.h"
#include "explanation/motion_explanation.h"
#include "json/deflated.h"

namespace wgr {

class DrawnMotions {
 public:
  DrawnMotions();

  // `matters`: all of the motion's samples are drawn, whatever the recording's length.
  void add(const MotionExplanation& motion, bool matters);

  // The motions that have series, those that matter first: for each, its number and a
  // block (see packed_series.h). Ends it: nothing is added or written behind.
  void write(const TextSink& sink);

 private:
  // The motions that do not matter, drawn with so many points each.
  struct Thinned {
    size_t most;
    bool short_ones;  // also those that are too short to be run
    std::unique_ptr<Deflated> bytes;

    bool fits() const;
  };

  void drop_too_large();

  std::unique_ptr<Deflated> whole_;
  std::vector<Thinned> thinned_;  // from the finest that may still fit
  size_t motions_ = 0;
};

}  // namespace wgr
