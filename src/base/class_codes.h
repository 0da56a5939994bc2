// The gesture classes that mean something other than a gesture, and what is reported to
// the host for a class.
#pragma once

#include <optional>

namespace wgr {

inline constexpr int kReportedRejected = 5;  // what is reported to the host for kRejected
inline constexpr int kNothingReported = 6;   // an answer; as a label, never reported
inline constexpr int kRejected = 13;         // a strong motion that no template matches
inline constexpr int kNoGesture = 14;        // a motion that is no gesture, or none yet

// Whether a model's label is the same number as one of them.
inline bool is_class_code(int label) {
  return label == kReportedRejected || label == kNothingReported || label == kRejected ||
         label == kNoGesture;
}

// What is reported to the host for a class of the engine; nothing when it is not
// reported.
inline std::optional<int> report_of(int engine_class) {
  if (engine_class == kRejected) return kReportedRejected;
  if (engine_class == kNoGesture || engine_class == kNothingReported) return std::nullopt;
  return engine_class;
}

}  // namespace wgr
