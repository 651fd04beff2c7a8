#pragma once

/// Marks a function whose loops over the pixels of a row take most of a frame's time. GCC on x86 compiles it once more,
/// with all that it calls, for processors with vectors of eight numbers, and the loader chooses. Results are the same
/// to the bit. The sanitizers' code must not run as early as that choice is made; Clang does not take both attributes.
#if defined(__x86_64__) && !defined(__clang__) && !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define TAVRIX_WIDE __attribute__((flatten, target_clones("avx2", "default")))
#else
#define TAVRIX_WIDE
#endif
