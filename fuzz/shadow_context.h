// What stands behind a handle, from the reference implementations: fed with the same
// calls, it has to give the same answers and keep the same samples.
#pragma once

#include <memory>

#include "classifier/HGR.h"
#include "context/WgrContext.h"
#include "support/reference_hand.h"
#include "support/reference_intake.h"

class ShadowContext {
 public:
  // Reads the default model from its place, as a new handle does.
  ShadowContext();

  void init(int sample_rate, Point3Df gyro_bias, int min_motion_len, int history_len,
            int static_window, int hand_window_len);
  void init_engine(int mode, int sample_rate, int min_motion_len, int history_len,
                   int static_window, double strength_threshold);
  void set_sensitivity(int level);
  int set_model(int wearer, int mode);
  int update_hand(Point3Df acc);

  // Returns the class that is to be reported; 6 when none is. After a report and what the
  // callback does, reported() empties the buffers.
  int update(Point3Df acc, Point3Df gyro);
  void reported();

  // The engine's intake of the accelerometer alone.
  void update(Point3Df acc) { intake_.update(acc); }

  int movement_status() const;
  double cost_time() const { return intake_.recog_cost_time; }
  double strength() const { return intake_.motion_strength; }

  // Requires that the engine and the detector of `context` are as they are here.
  void require_same(const WgrContext& context) const;

 private:
  void load(int index);

  reference::Intake intake_;
  reference::Hand hand_;
  double strength_threshold_ = 2.0;
  std::unique_ptr<HGR> classifier_;
};
