// What became of one motion, and which of the engine's steps decided it.
//
// Every figure is the engine's own, of the recognition that the host saw. Accelerations
// in m/s², angular velocities in deg/s with the bias off, times in s.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "base/points.h"
#include "engine/agGes.h"
#include "engine/reconstruction.h"
#include "warping/warping_path.h"

namespace wgr {

// What else than the end of a recognition can keep an expected gesture from a host.
enum class Circumstance {
  kUnfinished,   // not at rest again when the recording ends
  kCutByReport,  // its start fell into the pause after a report
  kWrongMode,    // an engine for the accelerometer alone refuses sample pairs
  kAtRest,
  kOtherClass,
  kSharedMotion,  // one motion for two expected gestures
  kNoSamples,     // not in the recording
};
inline constexpr size_t kCircumstances = 7;

// Why a motion, or an expected gesture, was or was not reported: how its recognition
// ended, or a circumstance.
class Cause {
 public:
  // Either is a cause as it stands.
  // NOLINTNEXTLINE(google-explicit-constructor)
  constexpr Cause(Ending ending) : ending_(ending) {}
  // NOLINTNEXTLINE(google-explicit-constructor)
  constexpr Cause(Circumstance circumstance) : circumstance_(circumstance) {}

  const std::optional<Ending>& ending() const { return ending_; }
  // Where there is no ending.
  Circumstance circumstance() const { return circumstance_; }

  friend bool operator==(const Cause& a, const Cause& b) {
    return a.ending_ == b.ending_ && a.circumstance_ == b.circumstance_;
  }
  friend bool operator!=(const Cause& a, const Cause& b) { return !(a == b); }

 private:
  std::optional<Ending> ending_;
  Circumstance circumstance_ = Circumstance::kUnfinished;
};

// A short name such as "too-weak", the same in text, JSON and page.
const char* name_of(const Cause& cause);

struct TemplateScore {
  size_t index;  // in the model
  int label;
  float score;  // minus infinity or not a number: nothing to compare
  std::optional<double> threshold;

  std::optional<double> decision_margin() const {
    if (!threshold) return std::nullopt;
    return static_cast<double>(score) - *threshold;
  }
};

struct MotionExplanation {
  // Where it is. The motion is samples `first` to first + collected - 1.
  size_t first = 0;
  size_t collected = 0;       // samples, with the pre-roll
  size_t preroll = 0;         // taken from before the first sample judged in motion
  size_t trimmed = 0;         // taken off again at the end
  double begin = 0.0;         // s, of the first sample
  double end = 0.0;           // s, of the last one that was not trimmed
  double judged = 0.0;        // s, of the sample that ended it
  bool after_report = false;  // begins as soon as the pause after a report is over
  bool at_start = false;      // begins as soon as the first window is full

  // What the engine made of it; each part is empty when no step got so far.
  bool ran = false;               // long enough to be examined
  std::optional<size_t> lost_at;  // of the motion's samples, the one that costs the
                                  // attitude
  bool zero_rate = false;         // whose rate is exactly zero
  Points corrected;               // in the mean frame, without gravity
  Point3Df gravity = {0, 0, 0};   // in the mean frame
  std::vector<double> speed;      // m/s, one for each step of the motion
  double fast_from = 0.0;         // m/s
  bool starts_fast = false;
  bool ends_fast = false;
  Stretch active = {0, 0};            // steps that were kept
  bool predicted = false;             // the classifier was run
  Points compared;                    // as it compares, gravity last
  double strength = 0.0;              // m/s²
  std::vector<TemplateScore> scores;  // best first
  size_t compared_templates = 0;      // of which these are the scores
  TracedPath path;                    // of `compared` and the best template

  int engine_class = 0;         // as in AgGes
  std::optional<int> reported;  // what is reported to the host
  double duration_ms = 0.0;     // as the interface answers

  Cause cause = Circumstance::kUnfinished;
  std::vector<Cause> also;  // what would have stopped it as well

  // Drops what is only drawn: of scores the best `most_scores` stay, of traces nothing,
  // of speeds the first and the last.
  void drop_traces(size_t most_scores);

  size_t kept() const { return collected - trimmed; }
  size_t compared_points() const { return active.end - active.begin; }
};

// The motion of samples `first` to first + collected - 1, which `engine` has just ended;
// `intermediates` are those of its recognition, if it was run. `acc` and `rates` hold the
// collected samples alone.
MotionExplanation explanation_of(const AgGes& engine, Intermediates intermediates,
                                 const Samples& acc, const Samples& rates, size_t first,
                                 size_t collected);

}  // namespace wgr
