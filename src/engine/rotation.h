// Rotation vectors and 3x3 rotation matrices, both ways, and the matrix product.
//
// A matrix is nine doubles, row-major, and acts on column vectors. A rotation
// vector points along its axis; its length is the angle in radians, right-handed.
#pragma once

#include "WgrTypes.h"

namespace wgr {

inline constexpr double kIdentity3x3[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};

// c = a * b for a of rows x inner and b of inner x cols, all row-major; every sum
// starts from `init` and runs along the inner dimension. c must not be a or b.
template <class T>
void mmmultiply(const T* a, const T* b, T* c, int rows, int inner, int cols, T init) {
  for (int i = 0; i < rows; ++i) {
    for (int j = 0; j < cols; ++j) {
      T sum = init;
      for (int k = 0; k < inner; ++k) sum += a[i * inner + k] * b[k * cols + j];
      c[i * cols + j] = sum;
    }
  }
}

// M * v.
Point3Df rotate(const double* M, const Point3Df& v);

// Radians that an angular velocity of 1 deg/s turns in one sample period.
double radians_per_sample(int sample_rate);

// R = the rotation matrix of rotation vector w (Rodrigues, 1840).
void rotation_matrix(const Point3Df& w, double* R);

// The rotation vector of R. Not a number for the identity, and wherever rounding has
// pushed the trace of R above 3: this is not guarded, callers take it as an answer.
Point3Df rotation_vector(const double* R);

}  // namespace wgr
