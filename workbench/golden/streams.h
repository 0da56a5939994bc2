// Recordings made in memory that are the same bits on every machine.
//
// Built from additions, products and square roots alone, and rounded to a grid.
#pragma once

#include <vector>

#include "base/points.h"
#include "classifier/Gmodel.h"

namespace wgr {

inline constexpr int kGoldenStreams = 210;

struct GoldenStream {
  int rate;                    // samples per second
  int level;                   // sensitivity, as for set_gesture_rec_sensitivity()
  int model;                   // the first model; see golden_model()
  size_t switch_at;            // from this sample on the next model is used
  Point3Df bias;               // deg/s, in the rates
  std::vector<Point3Df> acc;   // m/s²
  std::vector<Point3Df> gyro;  // deg/s
};

GoldenStream golden_stream(int index);

// One of four models: 0 and 1 for the wrists, 2 with strict thresholds, 3 without
// gravity, scaling and thresholds. Every template is in it twice, so that there are ties.
inline constexpr int kGoldenModels = 4;
const Gmodel& golden_model(int index);

}  // namespace wgr
