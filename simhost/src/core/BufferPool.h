#pragma once

#include <cstddef>
#include <cstdint>

namespace tavrix {

/// Memory for pixels, aligned to a cache line. It comes from a pool that takes back the memory of dead frames, so it
/// holds what its last user left in it.
class PixelBuffer {
 public:
  explicit PixelBuffer(size_t size);
  ~PixelBuffer();
  PixelBuffer(const PixelBuffer&) = delete;
  PixelBuffer& operator=(const PixelBuffer&) = delete;

  uint8_t* data() const { return data_; }
  size_t size() const { return size_; }

 private:
  size_t size_;
  size_t capacity_;
  uint8_t* data_;
};

}  // namespace tavrix
