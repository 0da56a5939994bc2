// Slow and obvious rotations: every formula written out, nothing shared with the
// library.
#pragma once

#include <deque>
#include <vector>

#include "WgrTypes.h"

namespace reference {

// c = a * b, 3x3, row-major.
void product(const double a[9], const double b[9], double c[9]);

// The rotation matrix of rotation vector w, and back.
void rotation_matrix(Point3Df w, double R[9]);
Point3Df rotation_theta(const double R[9]);

// The matrix that a segment's attitudes are accumulated from.
void first_matrix(const std::deque<Point3Df>& gyro, int sample_rate, double R[9]);

// A segment's accelerations in its mean frame, without their mean, which is
// `gravity`. With mode 1 or no rates at all they are only copied.
void correct(int work_mode, int sample_rate, const std::deque<Point3Df>& acc,
             const std::deque<Point3Df>& gyro, std::vector<Point3Df>& trace,
             Point3Df& gravity);

}  // namespace reference
