// Do the two sensors agree? When the wrist turns from one steady moment to another, the
// gyroscope predicts how gravity turns in the watch's frame, and the accelerometer shows
// it. Wrong units, axes and signs of either make the two differ.
//
// What both sensors have in common stays unseen: the same axes swapped or turned in both,
// and an accelerometer that shows gravity the other way round on all three axes.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "base/points.h"

namespace wgr {

// A choice and signs of axes: entry i of the result is sign[i] times entry axis[i].
struct AxisMap {
  std::array<int, 3> axis = {0, 1, 2};
  std::array<int, 3> sign = {1, 1, 1};
};

std::vector<AxisMap> all_axis_maps();  // 48
Point3Df mapped(const AxisMap& map, const Point3Df& p);
bool is_identity(const AxisMap& map);
int determinant(const AxisMap& map);
AxisMap inverse(const AxisMap& map);
AxisMap negated(const AxisMap& map);
int changes(const AxisMap& map);  // axes that move, and signs that turn
// How the accelerometer's axes can be taken instead of mapping the gyroscope's, in the
// way that changes them least; none for a mirrored frame.
std::optional<AxisMap> acc_alternative(const AxisMap& gyro);

// As "(ay, ax, -az)", for the letter 'a'.
std::string as_text(const AxisMap& map, char letter);

// From one steady moment to a later one.
struct Turn {
  Point3Df before;  // gravity as the accelerometer shows it, any unit
  Point3Df after;
  std::vector<Point3Df> rates;  // of each step between, the gyroscope's unit
  std::vector<double> steps;    // s
};

struct Agreement {
  size_t turns = 0;     // that were examined
  double angle = 0.0;   // that gravity turned in one, on the average, deg
  double error = 0.0;   // of the prediction as the stream is, deg
  AxisMap gyro;         // what makes the gyroscope agree best
  double factor = 1.0;  // and by what to multiply it
  double best_error = 0.0;
  bool alone = true;  // no other simple explanation does nearly as well
};

inline constexpr double kDegreesPerRadian = 57.29577951308232;

// Rates are deg/s unless a factor says otherwise.
Agreement compare_sensors(const std::vector<Turn>& turns);

}  // namespace wgr
