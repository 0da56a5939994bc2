// The explanation in words: one plain sentence for everything that has a cause.
#pragma once

#include <string>

#include "explanation/explanation.h"

namespace wgr {

// Which cause decided, and by how much; then, if anything, what would have stopped it as
// well and what is odd about where the motion is.
std::string sentence_for(const MotionExplanation& motion, const Settings& settings);

// What became of an expected gesture.
std::string sentence_for(const Expected& expected, const Explanation& explanation);

// Which sensor reported rest, and why the other one did not.
std::string sentence_for(const RestStretch& rest, const Settings& settings);

// "2.040 s to 2.830 s"
std::string interval_text(double begin, double end);

}  // namespace wgr
