// Which motion belongs to which expected gesture, and which reports nobody expected.
#pragma once

#include <cstddef>
#include <optional>
#include <vector>

namespace wgr {

// A motion, and the class that it was recognised and reported as.
struct JudgedMotion {
  double begin;  // s
  double end;    // s
  std::optional<int> label;
};

struct ExpectedGesture {
  double begin;  // s
  double end;    // s
  int label;
};

enum class Match {
  kCame,
  kNotReported,   // there was a motion
  kOtherClass,    // it was reported as another class
  kSharedMotion,  // another expected gesture of the class covers more of it
  kNoMotion,
};

struct MatchedGesture {
  Match match = Match::kNoMotion;
  std::optional<size_t> motion = {};  // that overlaps it the most
};

// One for each of `expected`.
std::vector<MatchedGesture> match_gestures(const std::vector<JudgedMotion>& motions,
                                           const std::vector<ExpectedGesture>& expected);

// The motions that were reported and are no gesture that came.
std::vector<size_t> unexpected_reports(const std::vector<JudgedMotion>& motions,
                                       const std::vector<MatchedGesture>& matched);

}  // namespace wgr
