// Everything that the library makes of a golden stream, stage by stage.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "golden/streams.h"

namespace wgr {

// The stages in the order in which a gesture passes them. These are compared bit by bit:
// nothing in them needs a sine, a cosine or an arc cosine.
enum GoldenStage {
  kStageStream,          // the samples themselves
  kStageIntake,          // rest flags, histories, the motions cut out
  kStageHand,            // verdicts of the wrist detector, from one sensor and from two
  kStageAccelerometer,   // classes and traces from the accelerometer alone
  kStageReconstruction,  // traces, velocities and positions from given accelerations
  kStagePrediction,      // label, strength, score and rejection of given traces
  kStageClustering,      // the similarity matrix of given traces and their clusters
  kExactStages
};
extern const char* const kGoldenStageNames[kExactStages];

// One recognition from both sensors, with what follows trigonometric functions. The first
// four are compared exactly, the others within a tolerance.
struct GoldenRecognition {
  int sample;         // at which the motion ended
  int gesture;        // the class; kNoGesture for a motion that is none
  int points;         // of the active stretch
  double cost_time;   // ms
  double strength;    // m/s²
  double score;       // of the compared stretch in the model that was in use
  Point3Df gravity;   // m/s²
  Point3Df position;  // at the stretch's end, m
};

struct GoldenOutcome {
  std::array<uint64_t, kExactStages> digests;
  std::vector<GoldenRecognition> recognitions;
  // What the C interface does otherwise than the engine; empty when nothing.
  std::string interface_difference;
};

// Runs one stream.
GoldenOutcome golden_outcome(int index);

}  // namespace wgr
