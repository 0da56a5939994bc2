// Votes for the wrist that wears the watch, from windows of samples, and the two rules
// that turn votes into a verdict.
//
// On the two wrists the same movement shows with opposite signs on some axes. Each
// sub-window in which two signals change enough votes for the wrist on which such
// changes go together in that way.
#pragma once

#include <vector>

#include "base/points.h"

// The detection's scales; entry k of every array belongs to scale k.
struct Hparams {
  int count = 0;                 // scales to evaluate
  std::vector<int> lags;         // sub-window length, samples
  std::vector<double> thr_x;     // on the x difference, m/s² summed
  std::vector<double> thr_y;     // on the y difference, m/s² summed
  std::vector<double> thr_gyro;  // on the summed angular velocity about z, deg/s
};

namespace wgr {

inline constexpr int kUndecided = -1;

// Adds the votes of the first n samples to votes[0] and votes[1], the wearer values,
// from the accelerometer alone: its x and y axes.
void vote_acc(const Samples& acc, int n, const Hparams& params, int* votes);

// The same from the accelerometer's y axis and the gyroscope's z axis.
void vote_acc_gyro(const Samples& acc, const Samples& gyro, int n, const Hparams& params,
                   int* votes);

// 0, 1 or kUndecided; requires at least three votes.
int decide_acc(const int* votes);

// 0, 1 or kUndecided; requires a clearer majority, of any number of votes.
int decide_acc_gyro(const int* votes);

}  // namespace wgr
