// Refuses a build whose arithmetic gives other bits than every other build.
//
// Each sum and product is rounded to its type, in the order in which it is written, and
// not-a-number and infinities are answers. That no product may be fused into a sum
// (-ffp-contract=off) is the one requirement that no macro shows.
#pragma once

#include <cfloat>

// clang-format off
// 16 differs from 0 for half precision alone.
#if defined(FLT_EVAL_METHOD) && FLT_EVAL_METHOD != 0 && FLT_EVAL_METHOD != 16
#error "double is computed in excess precision, which changes results: compile with -msse2 -mfpmath=sse"
#endif

#if defined(__FAST_MATH__) || (defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__) || \
    defined(__ASSOCIATIVE_MATH__) || defined(__RECIPROCAL_MATH__) || defined(__NO_SIGNED_ZEROS__)
#error "arithmetic is rearranged, which changes results: compile with -fno-fast-math, or without -ffast-math, -Ofast and the like"
#endif
// clang-format on
