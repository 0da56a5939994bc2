// Lets the compiler make a hot function several times, once for each width of vectors.
//
// On x86-64 the loader picks the version for the widest vectors that the CPU has. All
// give the same bits: the order of every sum is written out, and no product is fused into
// one.
#pragma once

// Sanitizers cannot do with functions that are chosen before they run. WGR_PORTABLE and
// WGR_NO_AVX512 leave versions out, to measure what the others get.
#if defined(__x86_64__) && defined(__gnu_linux__) && !defined(__clang__) && \
    !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) &&      \
    !defined(WGR_PORTABLE)
#ifdef WGR_NO_AVX512
#define WGR_TARGET_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define WGR_TARGET_CLONES __attribute__((target_clones("avx512f", "avx2", "default")))
#endif
#else
#define WGR_TARGET_CLONES
#endif

// Where every CPU works on several doubles, and chooses between them, at once: then work
// is better laid out in another way than for single numbers. WGR_NO_VECTORS denies it, to
// try and measure what the other CPUs get.
#if (defined(__x86_64__) || defined(__aarch64__)) && !defined(WGR_NO_VECTORS)
#define WGR_VECTORS_OF_DOUBLES
#endif

// For what such a function calls, to become part of each version.
#define WGR_INLINE __attribute__((always_inline)) static inline

// Before a loop whose turns do not touch each other's memory.
#if defined(__clang__)
#define WGR_INDEPENDENT_TURNS _Pragma("clang loop vectorize(assume_safety)")
#else
#define WGR_INDEPENDENT_TURNS _Pragma("GCC ivdep")
#endif
