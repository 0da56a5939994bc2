// Vectors of doubles, and of counts beside them, as GCC and clang make them.
//
// How they are passed by value depends on the CPU: hand them over by reference.
#pragma once

#include <cstddef>

namespace wgr {

// One entry a lane.
template <size_t kLanes>
struct Vectors {
  typedef double Doubles __attribute__((vector_size(kLanes * sizeof(double))));
  typedef std::ptrdiff_t Counts
      __attribute__((vector_size(kLanes * sizeof(std::ptrdiff_t))));
};
template <>
struct Vectors<1> {
  using Doubles = double;
  using Counts = std::ptrdiff_t;
};

}  // namespace wgr
