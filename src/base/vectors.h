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

// In which lanes something was so.
template <size_t kLanes>
struct Lanes {
  typename Vectors<kLanes>::Counts lanes = {};
  [[gnu::always_inline]] void add_equal(const typename Vectors<kLanes>::Doubles& a,
                                        const typename Vectors<kLanes>::Doubles& b) {
    lanes |= a == b;
  }
  // A bit each.
  unsigned bits() const {
    std::ptrdiff_t all[kLanes];
    store(lanes, all);
    unsigned found = 0;
    for (size_t lane = 0; lane < kLanes; ++lane) {
      found |= (all[lane] != 0 ? 1u : 0u) << lane;
    }
    return found;
  }
};

#if defined(__x86_64__) && !defined(__clang__)
// Vectors of eight are compared into a mask, which GCC would make a vector of.
template <>
struct Lanes<8> {
  unsigned mask = 0;
  [[gnu::always_inline]] void add_equal(const Vectors<8>::Doubles& a,
                                        const Vectors<8>::Doubles& b) {
    mask |= __builtin_ia32_cmppd512_mask(a, b, _CMP_EQ_OQ, -1, _MM_FROUND_CUR_DIRECTION);
  }
  unsigned bits() const { return mask; }
};
#endif

}  // namespace wgr
