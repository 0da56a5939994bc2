// Vectors of doubles, and of counts beside them, as GCC and clang make them; of floats
// there are twice as many.
//
// How they are passed by value depends on the CPU: pass them by reference.
#pragma once

#include <cstddef>
#include <cstring>
#if defined(__x86_64__) && !defined(__clang__)
#include <immintrin.h>
// Of a vector that an instruction returns; all that is called here becomes part of its
// caller.
#pragma GCC diagnostic ignored "-Wpsabi"
#endif

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

// From and to any address, aligned or not.
template <class Vector, class Entry>
WGR_INLINE void load(const Entry* from, Vector& to) {
  std::memcpy(&to, from, sizeof to);
}

template <class Vector, class Entry>
WGR_INLINE void store(const Vector& from, Entry* to) {
  std::memcpy(to, &from, sizeof from);
}

// a < b ? a : b in each lane.
template <size_t kLanes, class Vector>
WGR_INLINE void minimum(const Vector& a, const Vector& b, Vector& least) {
#if defined(__x86_64__) && !defined(__clang__)
  // What the instruction does, also with values that do not compare; GCC does not use it.
  if constexpr (kLanes == 1) {
    least = a < b ? a : b;
  } else if constexpr (kLanes == 2) {
    least = __builtin_ia32_minpd(a, b);
  } else if constexpr (kLanes == 4) {
    least = __builtin_ia32_minpd256(a, b);
  } else {
    least = __builtin_ia32_minpd512_mask(a, b, a, -1, _MM_FROUND_CUR_DIRECTION);
  }
#else
  least = a < b ? a : b;
#endif
}

}  // namespace wgr
