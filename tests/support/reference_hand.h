// Slow and obvious hand detection: every sub-window is summed anew from the running
// sums, every vote and verdict as the rule words it.
#pragma once

#include <deque>
#include <vector>

#include "WgrTypes.h"

namespace reference {

struct HandScale {
  int lag;
  double thr_x;
  double thr_y;
  double thr_gyro;
};

struct Hand {
  int window_len;
  std::vector<HandScale> scales;
  std::deque<Point3Df> acc;
  std::deque<Point3Df> gyro;

  int update(Point3Df a);
  int update(Point3Df a, Point3Df g);
  int detect_acc(int* votes) const;
  int detect(int* votes) const;
};

}  // namespace reference
