// One host of the library, as a watch's sensor service is one: it drives the library
// through its C interface. Only a handle with a model of its own is not made by it.
#pragma once

#include <memory>
#include <optional>

#include "WgrInterface.h"
#include "classifier/Gmodel.h"
#include "recording/recording.h"

namespace wgr {

struct HostRunOptions {
  std::shared_ptr<const Gmodel> model;   // instead of all; null: the installed ones
  int wearer = 0;                        // 0: left wrist, 1: right wrist
  int mode = 1;                          // 0, 1 or 2
  int rate = 50;                         // samples per second
  Point3Df gyro_bias = {0.0, 0.0, 0.0};  // deg/s
  std::optional<int> sensitivity;        // the library's own default when absent
  bool initialise = true;                // false: a host that forgets to
  int shortest = -1;                     // motion, samples; below 1: the library's own
  int rest_window = -1;                  // samples; likewise
};

struct GestureEvent {
  double t;            // of the sample that completed the gesture, s
  int gesture;         // the class, as the library reports it
  double strength;     // root mean square, m/s²
  double duration_ms;  // of the compared stretch of motion, at the nominal rate
};

class HostRun {
 public:
  // Without a model of its own the installed ones must be there (see require_models()). A
  // default model that the library cannot load all the same ends the process: with a
  // message and kExitBadInput, not silently and with 0 as it would without this class.
  explicit HostRun(const HostRunOptions& options);
  ~HostRun();
  HostRun(const HostRun&) = delete;
  HostRun& operator=(const HostRun&) = delete;

  // Feeds one sample pair; the gesture that it completes, if any.
  std::optional<GestureEvent> feed(const RecordedSample& sample);

  // Whether the sample that was fed last ended at rest.
  bool at_rest() const;

  // What the wrist detector, fed with this sample too, says: 0 left, 1 right, 2
  // undecided.
  int ask_wearer(const RecordedSample& sample);

  // For callers that examine the engine while the host runs.
  WgrHandle handle() const { return handle_; }

 private:
  static void on_gesture(void* handle, int gesture, void* host_run);

  WgrHandle handle_;
  double now_ = 0.0;  // time of the sample being fed, s
  std::optional<GestureEvent> event_;
};

}  // namespace wgr
