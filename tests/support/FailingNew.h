#pragma once

#include <cstdint>

/// Counts the allocations of this thread while it watches them, and lets one fail.
struct Allocations {
  bool watched = false;
  std::uint64_t count = 0;
  std::uint64_t failing = 0;  ///< the number of the one to fail, from 1; 0: none
};
extern thread_local Allocations allocations;
/// Pieces of memory that this thread holds, watched or not.
extern thread_local std::int64_t piecesAlive;
