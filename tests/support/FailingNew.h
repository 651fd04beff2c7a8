#pragma once

#include <cstdint>

/// Which allocation of the thread is to fail, among those made while they are watched.
struct Allocations {
  bool watched = false;
  std::uint64_t count = 0;
  std::uint64_t failing = 0;  ///< the number of the one that fails, from 1; 0: none
};
extern thread_local Allocations allocations;
/// Pieces of memory that the thread asked for and has not given back, watched or not.
extern thread_local std::int64_t piecesAlive;
