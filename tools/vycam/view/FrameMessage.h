// A frame of a live stream, and the bytes that a browser gets of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "view/Plane.h"

namespace vycam {

struct LiveFrame {
  uint16_t stream = 0;
  uint32_t number = 0;        ///< of the camera
  uint64_t microseconds = 0;  ///< of the camera's clock
  uint64_t sequence = 0;      ///< counts the frames that the stream has shown, from 1 on
  std::vector<Plane> planes;
};

/// The message for one client, read piece by piece as its socket takes it.
class FrameMessage {
 public:
  /// Of the frame's planes, those of `roles`. `dropped` counts the frames of this stream that the client did not get.
  FrameMessage(std::shared_ptr<const LiveFrame> frame, Roles roles, uint32_t dropped);
  FrameMessage(const FrameMessage&) = delete;
  FrameMessage& operator=(const FrameMessage&) = delete;

  size_t size() const { return size_; }
  /// Copies the next bytes, at most `most`, and returns how many.
  size_t read(uint8_t* to, size_t most);

 private:
  struct Part {
    const uint8_t* bytes;
    size_t size;
  };

  std::shared_ptr<const LiveFrame> frame_;
  std::vector<uint8_t> head_;
  std::vector<Part> parts_;
  size_t size_ = 0;
  size_t part_ = 0, offset_ = 0;  // of what is read next
};

}  // namespace vycam
