// The repair of a stream: a change of every sample, or of what the host passes.
#pragma once

#include <vector>

#include "diagnosis/agreement.h"
#include "recording/recording.h"

namespace wgr {

// In the order in which they are applied.
enum class RepairKind {
  kTimeUnit,     // times the factor
  kSort,         // by time
  kDropRepeats,  // samples with the stamp of the one before
  kSwapSensors,
  kAccUnit,     // times the factor
  kAccSpikes,   // values above the factor are replaced by those before
  kGyroSpikes,  // likewise
  kGyroUnit,    // times the factor
  kAccAxes,     // taken as `axes` says
  kGyroAxes,    // likewise
  kZeroRates,   // of the gyroscope: no sample is exactly its bias
  kFillGaps,    // short ones, between samples at `factor` a second
  kEvenRate,    // resampled to the whole number nearest to `factor`, samples per second
  kRate,        // the host passes the rate `factor`, rounded
  kBias,        // the host passes this bias
};

struct Repair {
  RepairKind kind;
  double factor = 1.0;
  AxisMap axes = {};
  Point3Df bias = {0.0, 0.0, 0.0};  // deg/s
};

// Whether it changes what the host passes, and no sample.
bool is_passed(const Repair& repair);

// Sorts repairs as they are to be applied.
void order_repairs(std::vector<Repair>& repairs);

// Changes the samples. Of a repair that is passed nothing, or, with `passed_too`, what
// comes to the same where it is possible: a bias is taken off.
void apply(const Repair& repair, std::vector<RecordedSample>& samples,
           bool passed_too = false);

}  // namespace wgr
