// The recognition of one motion: how it ended, and what it was made from.
//
// A collected motion is turned into its mean frame and freed of gravity, reduced to its
// active stretch, compared with the templates, and accepted or not. Accelerations in
// m/s², angular velocities in deg/s with the bias taken off.
#pragma once

#include <cstddef>
#include <limits>
#include <optional>
#include <vector>

#include "base/class_codes.h"
#include "base/points.h"
#include "classifier/HGR.h"
#include "engine/reconstruction.h"

namespace wgr {

// Values of AgGes::work_mode; any other corrects motions and classifies none.
inline constexpr int kAccOnly = 1;
inline constexpr int kAccAndGyro = 2;

// How a motion ended, in the order of the steps that may end it. Where several reasons
// hold, the first counts.
enum class Ending {
  kTooShort,         // too few samples were collected, or none are left: it is not run
  kCorrectedOnly,    // in a mode that classifies nothing
  kNotANumber,       // the attitude was lost
  kStartsFast,       // segmented in its middle: the speed is high at its first step
  kEndsFast,         // or at its last
  kStretchTooShort,  // too few points are left to compare
  kTooWeak,          // from here on it was compared with the templates
  kNoTemplates,      // the model has none
  kNoScore,          // no template can be compared with it
  kBelowThreshold,   // its score does not exceed the threshold of the class
  kNeverReported,    // a label that is never reported to a host
  kRecognised,
};
inline constexpr size_t kEndings = 12;

// Every reason for which one motion is not recognised.
class Reasons {
 public:
  void add(Ending reason) { bits_ |= bit(reason); }
  bool has(Ending reason) const { return (bits_ & bit(reason)) != 0; }

  // The one that counts; kRecognised without any.
  Ending first() const {
    int first = 0;
    while (first < static_cast<int>(Ending::kRecognised) &&
           !has(static_cast<Ending>(first))) {
      ++first;
    }
    return static_cast<Ending>(first);
  }

 private:
  static unsigned bit(Ending reason) { return 1u << static_cast<unsigned>(reason); }

  unsigned bits_ = 0;
};

inline constexpr double kNoScoreAtAll = std::numeric_limits<double>::lowest();

// How a motion ended, and the figures that decided it.
struct RecognitionResult {
  Ending ending = Ending::kTooShort;
  Reasons reasons;                  // why it was not recognised; `ending` is the first
  int gesture_class = kNoGesture;   // as AgGes::gesture_class
  int label = kNoGesture;           // of the most similar template
  double score = kNoScoreAtAll;     // its similarity
  std::optional<double> threshold;  // of its class: the score must exceed it
  double strength = 0.0;            // m/s²; set where both sensors are compared
  double duration_ms = 0.0;         // of the trace, at the nominal sample rate
  FastSteps fast;                   // with both sensors

  // Whether the classifier was run, and whether it found a template.
  bool compared() const { return ending >= Ending::kTooWeak; }
  bool scored() const { return score > kNoScoreAtAll; }
};

struct Recognition {
  RecognitionResult result;
  Points trace;     // as compared, before the gravity vector; as AgGes::trace
  Points velocity;  // of the active stretch, m/s
  Points position;  // of the active stretch, m
  Point3Df gravity = {0.0, 0.0, 0.0};  // in the mean frame
};

// The intermediate results of a recognition, to explain it.
struct Intermediates {
  Points corrected;  // the whole motion without gravity, in the mean frame
  std::vector<double> squared_speed;  // (m/s)², of every step
  Points compared;                    // as the classifier compares it; gravity last
  std::vector<float> scores;          // of every template, in the model's order
};

// The engine's parameters that a recognition depends on; see AgGes.
struct RecognitionParameters {
  int work_mode;
  int sample_rate;
  int min_motion_len;
  double strength_threshold;
};

// Whether a collected motion is long enough to be run.
inline bool is_long_enough(size_t samples, int min_motion_len) {
  return static_cast<long long>(samples) >= min_motion_len;
}

// Fills `trace` with the accelerations, with both sensors turned into the mean frame and
// freed of gravity; returns the gravity vector, zero from the accelerometer alone.
Point3Df correct(const Samples& acc, const Samples& gyro, int work_mode, int sample_rate,
                 Points& trace);

// Recognises a motion. `made` is new, except for memory to reuse and for values that stay
// where a step is not reached. `intermediates` may be null; comparing with every template
// takes much longer than finding the best.
void recognise(const Samples& acc, const Samples& gyro,
               const RecognitionParameters& parameters, HGR& classifier,
               Recognition& made, Intermediates* intermediates = nullptr);

}  // namespace wgr
