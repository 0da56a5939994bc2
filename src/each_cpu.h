// Lets the compiler make a hot function several times, once for each width of vectors.
//
// On x86-64 the loader picks the version for the widest vectors that the CPU has. All give
// the same bits: the order of every sum is written out, and no product is fused into one.
#pragma once

// Sanitizers cannot do with functions that are chosen before they run.
#if defined(__x86_64__) && defined(__gnu_linux__) && !defined(__clang__) && \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define WGR_FOR_EACH_CPU __attribute__((target_clones("avx512f", "avx2", "default")))
#else
#define WGR_FOR_EACH_CPU
#endif

// For what such a function calls, to become part of each version.
#define WGR_INLINE __attribute__((always_inline)) static inline
