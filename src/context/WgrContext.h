// What one handle holds: a wrist detector, a gesture engine with one of the six models,
// and the host's callback.
#pragma once

#include <memory>

#include "WgrTypes.h"
#include "engine/agGes.h"

namespace wgr {

inline constexpr int kWearers = 2;
inline constexpr int kModes = 3;
inline constexpr int kDefaultModel = 1;  // of every new handle: left wrist, mode 1

}  // namespace wgr

// Where the gesture models are, without their ".xml"; entry 3 * wearer + mode.
extern const char c_GmodelPath[wgr::kWearers * wgr::kModes][100];

class WgrContext {
 public:
  // Loads the default model, left wrist and mode 1; ends the process with status 0
  // when it cannot (see AgGes).
  WgrContext();

  // The same with an existing classifier: nothing is read. It is a handle for the C
  // functions as well; set_gesture_model() still loads the installed models.
  explicit WgrContext(std::unique_ptr<HGR> classifier);
  ~WgrContext();
  WgrContext(const WgrContext&) = delete;
  WgrContext& operator=(const WgrContext&) = delete;

  // Sets the parameters of detector and engine; switches the engine to two sensors
  // and its strength threshold to the default. Parameters as in
  // ::init_gesture_handle(). Returns 0.
  int init_gesture_handle(int sample_rate, Point3Df gyro_bias, int min_motion_len,
                          int history_len, int static_window, int hand_window_len);

  // Replaces the classifier by a new one with the chosen model. A file that cannot
  // be read, or whose counts make no sense, leaves the empty model. Returns 0, or 1
  // without any effect when an argument is out of range. Where memory runs out the
  // classifier stays as it was.
  int set_gesture_model(WgWatchWearer wearer, WgWorkMode mode);

  // One accelerometer sample (m/s²) into the wrist detector. Returns 0 or 1 for a
  // wrist, 2 for undecided.
  int update_handtype(Point3Df acc);

  // One sample pair (m/s², deg/s) into the engine. Reports a gesture that it
  // completes to the callback and empties the engine's buffers, also when the callback
  // throws. Returns the reported class, or 6. While the callback runs, samples are
  // neither taken in nor logged.
  int update_gesture(Point3Df acc, Point3Df gyro);

  // Whether this process's use of the library is logged, as it is by default; for
  // programs that are no hosts. Applies to all handles, also later ones.
  static void set_logging(bool on);

  WHD* whd = nullptr;     // owned
  AgGes* ages = nullptr;  // owned
  WgGestureEventCb event_cb = nullptr;
  void* user_data = nullptr;

 private:
  int take_in(Point3Df acc, Point3Df gyro);

  bool reporting_ = false;  // the callback is running
};
