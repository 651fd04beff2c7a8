#pragma once

#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define TAVRIX_SANITIZED
#endif
#elif defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TAVRIX_SANITIZED
#endif

/// Marks a function whose loops over the pixels of a row take most of a frame's time. On x86 it is compiled once more,
/// with all that it calls, for processors with vectors of eight numbers; the loader chooses. Results are the same to
/// the bit. The sanitizers' code must not run as early as that choice is made.
#if defined(__x86_64__) && !defined(TAVRIX_SANITIZED)
#define TAVRIX_WIDE __attribute__((flatten, target_clones("avx2", "default")))
#else
#define TAVRIX_WIDE
#endif
