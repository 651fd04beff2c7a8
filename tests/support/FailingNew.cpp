// Replaces operator new.
#include "support/FailingNew.h"

#include <cstdlib>
#include <new>

thread_local Allocations allocations;
thread_local std::int64_t piecesAlive = 0;

// The other forms call these; a sanitizer has its own for arrays, so those stand here, too.
void* operator new(std::size_t size) {
  if (allocations.watched && ++allocations.count == allocations.failing) throw std::bad_alloc();
  void* const memory = std::malloc(size != 0 ? size : 1);
  if (memory == nullptr) throw std::bad_alloc();
  ++piecesAlive;
  return memory;
}
void operator delete(void* memory) noexcept {
  if (memory != nullptr) --piecesAlive;
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  operator delete(memory);
}
void* operator new[](std::size_t size) {
  return operator new(size);
}
void operator delete[](void* memory) noexcept {
  operator delete(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
  operator delete(memory);
}
