#include "core/BufferPool.h"

#include <mutex>
#include <new>
#include <vector>

namespace tavrix {
namespace {

constexpr std::align_val_t kAlignment{64};
constexpr size_t kGranule = 4096;
// A chain holds a handful of frames at a time. Only a burst leaves more buffers idle.
constexpr size_t kMostIdle = 32;

struct IdleBuffer {
  uint8_t* data;
  size_t capacity;
};

struct Pool {
  Pool() { idle.reserve(kMostIdle + 1); }

  std::mutex mutex;
  std::vector<IdleBuffer> idle;  // in the order in which they came back
};

Pool& pool() {
  // Never destroyed: frames may outlive every static object of the process.
  static auto* const instance = new Pool;
  return *instance;
}

size_t roundUp(size_t size) {
  return (size + kGranule - 1) / kGranule * kGranule;
}

/// Takes the idle buffer of a capacity that was used last, as it is the warmest; null where there is none.
uint8_t* takeIdle(size_t capacity) {
  Pool& all = pool();
  const std::lock_guard<std::mutex> lock(all.mutex);
  for (size_t i = all.idle.size(); i-- > 0;) {
    if (all.idle[i].capacity != capacity) continue;
    uint8_t* data = all.idle[i].data;
    all.idle.erase(all.idle.begin() + static_cast<std::ptrdiff_t>(i));
    return data;
  }
  return nullptr;
}

/// Hands a buffer to the pool. Returns the buffer that the pool gives up for it, or null.
uint8_t* giveBack(const IdleBuffer& buffer) {
  Pool& all = pool();
  const std::lock_guard<std::mutex> lock(all.mutex);
  uint8_t* surplus = nullptr;
  if (all.idle.size() >= kMostIdle) {
    surplus = all.idle.front().data;
    all.idle.erase(all.idle.begin());
  }
  all.idle.push_back(buffer);
  return surplus;
}

}  // namespace

PixelBuffer::PixelBuffer(size_t size)
    : size_(size), capacity_(roundUp(size == 0 ? 1 : size)), data_(takeIdle(capacity_)) {
  if (data_ == nullptr) data_ = static_cast<uint8_t*>(::operator new(capacity_, kAlignment));
}

PixelBuffer::~PixelBuffer() {
  if (uint8_t* surplus = giveBack({data_, capacity_})) ::operator delete(surplus, kAlignment);
}

}  // namespace tavrix
