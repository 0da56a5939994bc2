// Runs the golden streams and compares what comes out with what is recorded.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "golden/outcome.h"

namespace wgr {

// What a stream differs at first: a stage, the figures behind it, or the C interface.
inline constexpr int kStageRecognition = kExactStages;
inline constexpr int kStageInterface = kExactStages + 1;
inline constexpr int kComparedStages = kExactStages + 2;
const char* name_of_stage(int stage);

struct StreamDifference {
  int stream;
  std::string what;
};

struct SelfCheck {
  int streams = 0;
  int differing = 0;  // streams
  size_t recognitions = 0;
  std::vector<StreamDifference> differences;
  std::array<int, kComparedStages> first_at = {};  // streams that differ first at a stage
  double largest = 0.0;                            // tolerated difference of a value
  double largest_score = 0.0;                      // and of a score
};

// What the library prints meanwhile is dropped; results() is for the caller.
SelfCheck self_check();

// The result for people, as the results; returns the exit status, 1 where streams differ.
int print_self_check(const SelfCheck& check);

// Prints what golden/recorded.inc has to hold, as the results.
void print_golden_record();

}  // namespace wgr
