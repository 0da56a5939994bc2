#include "explanation/matching.h"

#include <algorithm>

namespace wgr {

static double overlap(const JudgedMotion& m, const ExpectedGesture& x) {
  return std::min(m.end, x.end) - std::max(m.begin, x.begin);
}

// The motion that overlaps the most.
static std::optional<size_t> nearest_motion(const std::vector<JudgedMotion>& motions,
                                            const ExpectedGesture& x) {
  std::optional<size_t> nearest;
  double most = 0.0;
  for (size_t i = 0; i < motions.size(); ++i) {
    const double common = overlap(motions[i], x);
    if (common <= most) continue;
    most = common;
    nearest = i;
  }
  return nearest;
}

// Whether another expected gesture of the class covers more of the motion.
static bool belongs_to_another(const JudgedMotion& motion,
                               const std::vector<ExpectedGesture>& expected,
                               const ExpectedGesture& x) {
  const double own = overlap(motion, x);
  for (const ExpectedGesture& other : expected) {
    if (&other == &x || other.label != x.label) continue;
    const double theirs = overlap(motion, other);
    if (theirs > own || (theirs == own && &other < &x)) return true;
  }
  return false;
}

std::vector<MatchedGesture> match_gestures(const std::vector<JudgedMotion>& motions,
                                           const std::vector<ExpectedGesture>& expected) {
  std::vector<MatchedGesture> matched;
  for (const ExpectedGesture& x : expected) {
    MatchedGesture& made = matched.emplace_back();
    made.motion = nearest_motion(motions, x);
    if (!made.motion) continue;
    const JudgedMotion& motion = motions[*made.motion];
    if (!motion.label) {
      made.match = Match::kNotReported;
    } else if (*motion.label != x.label) {
      made.match = Match::kOtherClass;
    } else {
      made.match =
          belongs_to_another(motion, expected, x) ? Match::kSharedMotion : Match::kCame;
    }
  }
  return matched;
}

std::vector<size_t> unexpected_reports(const std::vector<JudgedMotion>& motions,
                                       const std::vector<MatchedGesture>& matched) {
  std::vector<bool> came(motions.size(), false);
  for (const MatchedGesture& gesture : matched) {
    if (gesture.match == Match::kCame) came[*gesture.motion] = true;
  }
  std::vector<size_t> unexpected;
  for (size_t i = 0; i < motions.size(); ++i) {
    if (motions[i].label && !came[i]) unexpected.push_back(i);
  }
  return unexpected;
}

}  // namespace wgr
