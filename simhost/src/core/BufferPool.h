#pragma once

#include <cstddef>
#include <cstdint>

namespace tavrix {

/// Bytes for pixels, aligned to a cache line, from a pool of those that dead frames gave back. What is in them is left
/// over from their last use.
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
