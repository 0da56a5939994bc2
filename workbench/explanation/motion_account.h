// What became of one motion, and which of the engine's steps decided it.
//
// Every figure comes from the library's own functions over the library's own engine.
// Accelerations in m/s², rates in deg/s with the bias off, times in s.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "base/points.h"
#include "engine/agGes.h"
#include "engine/reconstruction.h"
#include "explanation/warping_path.h"

namespace wgr {

// Why a motion was, or was not, reported.
enum class Cause {
  kReported,
  kUnlike,           // like no gesture: reported as 5
  kTooShort,         // before the trim
  kNotANumber,       // the attitude was lost
  kStartsFast,       // dropped whole
  kEndsFast,         // dropped whole
  kStretchTooShort,  // after the cut to the active stretch
  kTooWeak,
  kNoTemplates,    // the model is empty
  kNoScore,        // no template could be compared with
  kNeverReported,  // a class that the interface does not tell
  kUnfinished,     // not at rest again when the recording ends
  kCutByReport,    // its start fell into the pause after a report
  kWrongMode,      // an engine for the accelerometer alone refuses sample pairs
  // What else can keep an expected gesture away:
  kAtRest,
  kOtherClass,
  kSharedMotion,  // one motion for two expected gestures
  kNoSamples,     // not in the recording
};

// A short name such as "too-weak", the same in text, JSON and page.
const char* name_of(Cause cause);

struct TemplateScore {
  size_t index;  // in the model
  int label;
  float score;  // minus infinity or not a number: nothing to compare
  std::optional<double> threshold;

  std::optional<double> margin() const {
    if (!threshold) return std::nullopt;
    return static_cast<double>(score) - *threshold;
  }
};

struct MotionAccount {
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
  bool ran = false;               // long enough to be looked at
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
  bool predicted = false;             // the classifier was asked
  Points compared;                    // as it compares, gravity last
  double strength = 0.0;              // m/s²
  std::vector<TemplateScore> scores;  // best first
  size_t compared_templates = 0;      // of which these are the scores
  TracedPath path;                    // of `compared` and the best template

  int engine_class = 0;         // as in AgGes
  std::optional<int> reported;  // what the host is told
  double duration_ms = 0.0;     // as the interface answers

  Cause cause = Cause::kUnfinished;
  std::vector<Cause> also;  // what would have stopped it as well

  // Drops what is only drawn: of scores the best `most_scores` stay, of traces nothing,
  // of speeds the first and the last.
  void drop_traces(size_t most_scores);

  size_t kept() const { return collected - trimmed; }
  size_t compared_points() const { return active.end - active.begin; }
};

// The motion of samples `first` to first + collected - 1, judged by the steps of
// `engine`, whose parameters and classifier it uses.
// `acc` and `rates` hold the collected samples alone.
MotionAccount account_of(AgGes& engine, const Samples& acc, const Samples& rates,
                         size_t first, size_t collected);

}  // namespace wgr
