// Counts what C++ code asks of the heap, in this program and in the libraries it loads.
#include "Allocations.h"

#include <cstdlib>
#include <new>

namespace {
thread_local std::uint64_t count = 0;
}

std::uint64_t allocationCount() {
  return count;
}

void* operator new(std::size_t size) {
  ++count;
  if (void* const memory = std::malloc(size != 0 ? size : 1)) return memory;
  throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
