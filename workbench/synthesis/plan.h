// What happens when: a plan of activities, random or from a script.
//
// A script is CSV with the header t_start,t_end,what: seconds, and one of the words of
// kActivityNames. Lines follow each other in time; what lies between is rest.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "synthesis/gestures.h"

namespace wgr {

enum class Activity {
  kSwing,
  kRaise,
  kTwist,
  kPush,
  kCircle,  // the gestures' labels
  kRest,
  kWalk,
  kReach,
  kFidget,
  kType,
};

struct PlannedActivity {
  double begin;  // s
  double end;    // s
  Activity what;
};

using Plan = std::vector<PlannedActivity>;

// The gesture's label; nothing for what is no gesture.
std::optional<int> label_of(Activity what);

// The shortest rest before a gesture, which brings the arm into place and quiet, s.
inline constexpr double kReadyTime = 1.2;

inline constexpr double kLongestPlan = 36000.0;  // s

struct PlanOptions {
  int gestures = 0;        // of each class, in random order
  double distractors = 0;  // s, spread over the gaps between the gestures
};

Plan random_plan(const PlanOptions& options, const Person& person, Random& random);

// Throws UsageError with file and line for what is no script.
Plan read_script(const std::string& path);
std::string script_text(const Plan& plan);

}  // namespace wgr
