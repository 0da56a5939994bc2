// A person carries a plan out, and the watch records it.
#pragma once

#include <vector>

#include "recording/recording.h"
#include "synthesis/plan.h"
#include "synthesis/recording_faults.h"

namespace wgr {

struct PerformanceOptions {
  int wearer = 0;         // 0: left wrist, 1: right wrist
  int rate = 50;          // samples per second
  bool postures = false;  // people hold their arms as make_posture() says
  RecordingFaults faults = {};
};

// The movement of the left wrist; arms go where each activity wants them at the start of
// the rest before it. Consecutive rests count as several.
WristMotion perform(const Plan& plan, const Person& person, Random& random);

// What the watch records of a plan: four decimals, times from 0; then with the faults.
std::vector<RecordedSample> record(const Plan& plan, const Person& person,
                                   const PerformanceOptions& options, Random random);

struct Performance {
  Plan plan;
  std::vector<RecordedSample> samples;
};

// A person's recording for a seed: of the script, or, without one, of a random plan.
Performance perform_for(int seed, int person_number, Style style, const Plan* script,
                        const PlanOptions& plan_options,
                        const PerformanceOptions& options);

}  // namespace wgr
