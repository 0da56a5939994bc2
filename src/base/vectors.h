// Vectors of doubles, and of counts beside them, as GCC and clang make them; of floats
// there are twice as many.
//
// How they are passed by value depends on the CPU: hand them over by reference.
#pragma once

#include <cstddef>
#include <cstring>

#include "base/cpu_dispatch.h"

namespace wgr {

// One entry a lane.
template <size_t kLanes>
struct Vectors {
  typedef double Doubles __attribute__((vector_size(kLanes * sizeof(double))));
  typedef std::ptrdiff_t Counts
      __attribute__((vector_size(kLanes * sizeof(std::ptrdiff_t))));
  typedef float Floats __attribute__((vector_size(2 * kLanes * sizeof(float))));
  typedef int Ints __attribute__((vector_size(2 * kLanes * sizeof(int))));
};
template <>
struct Vectors<1> {
  using Doubles = double;
  using Counts = std::ptrdiff_t;
  using Floats = float;
  using Ints = int;
};

// From and to any address, be it a vector's boundary or not.
template <class Vector, class Entry>
WGR_INLINE void load(const Entry* from, Vector& to) {
  std::memcpy(&to, from, sizeof to);
}

template <class Vector, class Entry>
WGR_INLINE void store(const Vector& from, Entry* to) {
  std::memcpy(to, &from, sizeof from);
}

}  // namespace wgr
