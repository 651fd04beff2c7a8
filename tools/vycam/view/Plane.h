// One image of a live stream, as clients get it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "Chain.h"
#include "Host.h"

namespace vycam {

/// Where the pixels of a plane come from.
enum class Role : uint8_t { before, after, truth };

/// Any number of roles, a bit each.
using Roles = unsigned;
constexpr Roles bitOf(Role role) {
  return 1U << static_cast<unsigned>(role);
}

/// What the pixels of a plane are; the numbers are those of the message.
enum class PixelKind : uint8_t { depth, disparity, brightness, colours, smallBrightness };

/// One image. Its pixels are those of a host frame, which all copies of the plane share.
struct Plane {
  Role role = Role::before;
  PixelKind kind = PixelKind::depth;
  uint32_t width = 0, height = 0;
  VYCameraIntrinsic intrinsic{};
  std::shared_ptr<const vy_frame_t> frame;
  const uint8_t* pixels = nullptr;
  size_t size = 0;  ///< of the pixels, in bytes
};

/// A frame without plain pixels, or with too few of them, is a Failure.
Plane planeOf(Role role, std::shared_ptr<const vy_frame_t> frame);

/// Shares a frame that has plain pixels, or unpacks it; where the chain has no filter for that, it is a Failure.
std::shared_ptr<vy_frame_t> plainFrame(const std::shared_ptr<vy_frame_t>& frame, const Chain& chain);

}  // namespace vycam
