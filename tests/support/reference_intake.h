// Slow and obvious sample intakes: the state machine step by step, on fields of its
// own, with the recognition left to whoever uses it.
#pragma once

#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "WgrTypes.h"

namespace reference {

struct Intake {
  int work_mode = 1;
  int sample_rate = 50;
  int static_window = 10;
  int min_motion_len = 25;
  int history_len = 250;
  Point3Df gyro_bias{0, 0, 0};

  std::deque<Point3Df> motion_acc, motion_gyro, last_motion_acc;
  std::deque<Point3Df> acc_history, gyro_history;
  std::deque<bool> static_history;

  // What a recognition leaves; only `recognise` writes them, but for the cost time.
  std::vector<Point3Df> trace, trace_velocity, trace_position;
  Point3Df gravity{0, 0, 0};
  int gesture_class = 14;
  double motion_strength = 0.0;
  double recog_cost_time = 0.0;

  std::function<void(Intake&)> recognise = [](Intake&) {};
  int recognitions = 0;
  int refused = 0;  // samples that met the mode mismatch message

  void init(int mode, int rate, Point3Df bias, int min_len, int hist_len, int window);
  void update(Point3Df acc, Point3Df gyro);
  void update(Point3Df acc);
  void clear_buf();

 private:
  int half_window() const;
  void handle_transition(bool cur);
};

}  // namespace reference
