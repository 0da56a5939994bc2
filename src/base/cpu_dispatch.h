// Lets a hot function be compiled several times, once for each width of vectors.
//
// On x86-64 the version for the widest vectors that the CPU has is called. All give the
// same bits: the order of every sum is written out, and no product is fused into one.
#pragma once

#include <cstddef>

// Defined where every CPU computes and selects several doubles at once: work is then
// better laid out differently than for single numbers. WGR_NO_VECTORS switches it off, to
// test and measure what other CPUs get.
#if (defined(__x86_64__) || defined(__aarch64__)) && !defined(WGR_NO_VECTORS)
#define WGR_VECTORS_OF_DOUBLES
#endif

// Defined where a CPU may have wider vectors than all of its kind have. WGR_PORTABLE and
// WGR_NO_AVX512 switch them off, to measure what the others get.
#if defined(__x86_64__) && !defined(WGR_PORTABLE)
#define WGR_WIDER_VECTORS
#define WGR_FOR_FOUR_LANES __attribute__((target("avx2")))
#define WGR_FOR_EIGHT_LANES __attribute__((target("avx512f")))
#endif

// For what such a function calls, to become part of each version.
#define WGR_INLINE __attribute__((always_inline)) static inline

namespace wgr {

// How many doubles a vector of every such CPU has.
#ifdef WGR_VECTORS_OF_DOUBLES
inline constexpr std::size_t kLeastLanes = 2;
#else
inline constexpr std::size_t kLeastLanes = 1;
#endif

// How many doubles a vector of this CPU has, of the widths that there are versions for.
inline std::size_t lanes_of_cpu() {
#ifdef WGR_WIDER_VECTORS
#ifndef WGR_NO_AVX512
  if (__builtin_cpu_supports("avx512f")) return 8;
#endif
  if (__builtin_cpu_supports("avx2")) return 4;
#endif
  return kLeastLanes;
}

}  // namespace wgr
