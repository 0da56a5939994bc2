// Cuts the motions out of a recording with the engine that runs on the watch, and says
// what became of each.
//
// A motion's trace is what the classifier is given there: freed of gravity, turned into
// its mean frame, cut to its active stretch, the gravity vector as its last point; m/s².
#pragma once

#include <array>
#include <memory>
#include <vector>

#include "classifier/points.h"
#include "engine/agGes.h"
#include "recording/recording.h"
#include "training/labels.h"

enum class Verdict {
  kKept,
  kTooShort,
  kTooWeak,
  kStartsFast,    // cut in its middle: the speed is high at its first step
  kEndsFast,      // or at its last
  kNotANumber,    // the attitude was lost
  kInTwoSpans,    // covers more than one labelled span
  kPartlyInSpan,  // neither inside nor outside
};
inline constexpr size_t kVerdicts = 8;
inline constexpr std::array<const char*, kVerdicts> kVerdictNames = {
    "kept",      "too short",    "too weak",           "starts fast",
    "ends fast", "not a number", "overlaps two spans", "partly in one span",
};

inline constexpr int kBackground = -1;  // the label of motions outside every span

struct Motion {
  double begin;  // s, of its first sample
  double end;    // s, of its last
  Verdict verdict;
  int label;     // of kept motions, when it is known
  Points trace;  // of kept motions
};

class Cutter {
 public:
  // Throws std::runtime_error when no temporary file can be written.
  explicit Cutter(int rate);
  ~Cutter();

  // Forgets what it has seen: the next sample starts another recording.
  void restart();

  // Takes a sample; true when it ended a motion, which `motion` then holds, as kept
  // background unless the engine dropped it.
  bool feed(const RecordedSample& sample, Motion& motion);

 private:
  void clear_histories();
  Verdict judge(size_t first, size_t count);
  bool starts_fast(size_t first, size_t count);

  std::unique_ptr<AgGes> engine_;
  std::vector<RecordedSample> seen_;
};

// Labels a kept motion from the spans of its own recording, or changes its verdict.
void label_motion(const std::vector<LabelledSpan>& spans, Motion& motion);

// All motions of a recording, by a cutter of its rate.
std::vector<Motion> cut_recording(const std::vector<RecordedSample>& samples,
                                  const std::vector<LabelledSpan>& spans, Cutter& cutter);
