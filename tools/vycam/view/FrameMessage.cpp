#include "view/FrameMessage.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vycam {
namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "numbers in memory are taken as the message's");

constexpr uint32_t kMagic = 0x31465956;  // "VYF1"
constexpr size_t kPixelAlignment = 4;
constexpr uint8_t kPadding[kPixelAlignment] = {};

template <class Number>
void append(std::vector<uint8_t>& bytes, Number number) {
  const size_t size = bytes.size();
  bytes.resize(size + sizeof number);
  std::memcpy(&bytes[size], &number, sizeof number);
}

void appendPlane(std::vector<uint8_t>& bytes, const Plane& plane) {
  append(bytes, plane.role);
  append(bytes, plane.kind);
  append(bytes, uint16_t{0});
  append(bytes, plane.width);
  append(bytes, plane.height);
  append(bytes, static_cast<uint32_t>(plane.size));
  append(bytes, float{plane.intrinsic.fx});
  append(bytes, float{plane.intrinsic.fy});
  append(bytes, float{plane.intrinsic.cx});
  append(bytes, float{plane.intrinsic.cy});
}

}  // namespace

FrameMessage::FrameMessage(std::shared_ptr<const LiveFrame> frame, Roles roles, uint32_t dropped)
    : frame_(std::move(frame)) {
  std::vector<const Plane*> planes;
  for (const Plane& plane : frame_->planes) {
    if ((roles & bitOf(plane.role)) != 0) {
      planes.push_back(&plane);
    }
  }
  append(head_, kMagic);
  append(head_, frame_->stream);
  append(head_, static_cast<uint16_t>(planes.size()));
  append(head_, frame_->number);
  append(head_, dropped);
  append(head_, frame_->microseconds);
  for (const Plane* plane : planes) {
    appendPlane(head_, *plane);
  }
  parts_.push_back({head_.data(), head_.size()});
  for (const Plane* plane : planes) {
    parts_.push_back({plane->pixels, plane->size});
    parts_.push_back({kPadding, (kPixelAlignment - plane->size % kPixelAlignment) % kPixelAlignment});
  }
  for (const Part& part : parts_) {
    size_ += part.size;
  }
}

size_t FrameMessage::read(uint8_t* to, size_t most) {
  size_t done = 0;
  while (done < most && part_ < parts_.size()) {
    const Part& part = parts_[part_];
    const size_t count = std::min(most - done, part.size - offset_);
    std::copy_n(part.bytes + offset_, count, to + done);
    done += count;
    offset_ += count;
    if (offset_ == part.size) {
      ++part_;
      offset_ = 0;
    }
  }
  return done;
}

}  // namespace vycam
