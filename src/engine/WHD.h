// The wrist detector: keeps the newest samples and votes on each call.
#pragma once

#include "base/points.h"
#include "engine/hand_votes.h"

class WHD {
 public:
  // pp is copied; null means one scale of a fifth of a second.
  WHD(int sample_rate, int window_len, Hparams* pp);
  ~WHD();
  WHD(const WHD&) = delete;
  WHD& operator=(const WHD&) = delete;

  // Sets the two lengths and nothing else: buffers and parameters stay.
  void init(int sample_rate, int window_len);

  // One sample (m/s²; deg/s), then a detection over the oldest window_len samples:
  // 0 or 1 for a wrist, kUndecided otherwise and until the window has filled.
  int update(Point3Df acc);
  int update(Point3Df acc, Point3Df gyro);

  // One detection. votes, if not null, holds two counts that the new votes are added
  // to and that the verdict is then taken on.
  int detect_acc(int* votes);
  int detect(int* votes);

  int sample_rate;
  int window_len;         // samples that one detection looks at
  wgr::Samples acc_buf;   // oldest first, m/s²
  wgr::Samples gyro_buf;  // oldest first, deg/s; only the two-sensor form fills it
  Hparams* params;        // owned
};
