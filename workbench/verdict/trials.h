// What would have helped: a recording replayed under other circumstances, and what comes
// of it counted.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "classifier/Gmodel.h"
#include "diagnosis/diagnosis.h"
#include "explanation/matching.h"
#include "hostrun/host_run.h"
#include "recording/recording.h"

namespace wgr {

// What is changed, the simplest first: of two that do as well, the first is shown first.
enum class Change {
  kNone,
  kInitialise,  // init_gesture_handle() is called
  kRepair,      // one that the examination of the stream proposes
  kAllRepairs,  // all of them at once
  kOtherModel,  // one of the six for another wrist or mode
  kMirror,      // the stream as the other wrist would give it
  kSensitivity,
  kMounting,  // the watch is turned about its axes
  kRestWindow,
};

// A model that a host could choose.
struct ModelChoice {
  int wearer = 0;
  int mode = 1;
  std::shared_ptr<const Gmodel> model;
};

// One change, and what it is made with; the rest is as it was.
struct Circumstances {
  Change change = Change::kNone;
  std::vector<Repair> repairs = {};
  size_t finding = 0;      // of the diagnosis, that proposes the repair
  ModelChoice model = {};  // of kOtherModel
  int sensitivity = 0;
  int rest_window = 0;    // samples
  AxisMap mounting = {};  // of both sensors
};

struct Trial {
  Circumstances with;
  size_t came = 0;
  size_t reported = 0;    // as a gesture
  size_t unexpected = 0;  // of these
};

// What trials replay.
struct TrialInput {
  std::vector<RecordedSample> samples;
  std::vector<ExpectedGesture> expected;
  HostRunOptions host;              // as the recording was explained; with the model
  int rest_window = 0;              // samples
  std::vector<ModelChoice> models;  // the six, or those of them that are there
  bool own_model = false;           // a model of which no one knows the wrist
};

// The proper rotations of three axes except for no rotation, 23.
std::vector<AxisMap> mountings();

// What is tried: each of the changes of `input.host`, and first of all none.
std::vector<Circumstances> circumstances(const TrialInput& input,
                                         const Diagnosis& diagnosis);

// By what a trial is better than `base`: gestures gained, minus reports that were not
// expected and came with them.
long gain_of(const Trial& trial, const Trial& base);

// Replays the recording in all circumstances on all processors. The first of the result
// is the one without a change; the others follow, the most helpful first. `done`, where
// there is one, is called after each, from any thread.
std::vector<Trial> run_trials(const TrialInput& input, const Diagnosis& diagnosis,
                              const std::function<void()>& done = nullptr);

}  // namespace wgr
