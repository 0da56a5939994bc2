// The motions of a recording as a page draws them, in a memory that hardly grows with it:
// their series are deflated as the motions end, several times over, each time half as
// fine. What turns out too large for a page is dropped.
#pragma once

#include <deque>
#include <memory>
#include <vector>

#include "base/text_sink.h"
#include "explanation/motion_explanation.h"
#include "json/deflated.h"

namespace wgr {

class DrawnMotions {
 public:
  // `times`: stamps of all samples up to the motion's end, `rate`: their nominal rate.
  void add(const MotionExplanation& motion, const Gmodel& model,
           const std::deque<double>& times, int rate);

  // The JSON array of all motions' series, as fine as a page takes them, over the stamps
  // or over the nominal rate. Ends it: nothing is added or written behind.
  void write(bool stamped, const TextSink& sink);

 private:
  // All motions so far over one sort of time, from the finest array that may still fit.
  class Timeline {
   public:
    Timeline();
    void add(const MotionExplanation& motion, const Gmodel& model,
             const std::vector<double>& t);
    void write(const TextSink& sink);

   private:
    struct Array {
      size_t most;  // points of a motion
      std::unique_ptr<Deflated> text;

      bool fits() const;
    };

    void drop_too_large();

    std::vector<Array> arrays_;
    bool empty_ = true;
  };

  Timeline stamped_;
  Timeline nominal_;
};

}  // namespace wgr
