// Sequences of three-axis points, and the arithmetic on one point.
//
// The operators work axis by axis. Squared lengths are summed y, x, z: the order is
// part of every figure that is built on them.
#pragma once

#include <cstddef>
#include <deque>
#include <vector>

#include "WgrTypes.h"
#include "base/exact_arithmetic.h"

namespace wgr {

using Points = std::vector<Point3Df>;
using Samples = std::deque<Point3Df>;

inline Point3Df operator+(const Point3Df& a, const Point3Df& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}

inline Point3Df operator-(const Point3Df& a, const Point3Df& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

inline Point3Df operator*(double k, const Point3Df& p) {
  return {k * p.x, k * p.y, k * p.z};
}

inline Point3Df operator/(const Point3Df& p, double k) {
  return {p.x / k, p.y / k, p.z / k};
}

inline double squared_length(const Point3Df& p) {
  return p.y * p.y + p.x * p.x + p.z * p.z;
}

}  // namespace wgr
