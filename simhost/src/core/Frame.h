#pragma once

#include <memory>

#include "TavrixSDK.h"
#include "core/BufferPool.h"
#include "core/Object.h"
#include "core/StreamProfile.h"

namespace tavrix {

/// Where the pixels of a frame come from: an affine map from the centre of a pixel of the frame (whole numbers) to the
/// place in the camera's image. The identity for raw frames.
struct PixelMap {
  double xx = 1, xy = 0, x0 = 0;
  double yx = 0, yy = 1, y0 = 0;

  double cameraX(double x, double y) const { return xx * x + xy * y + x0; }
  double cameraY(double x, double y) const { return yx * x + yy * y + y0; }
  /// The map of an output whose pixels lie in this map's frame where `step` says.
  PixelMap after(const PixelMap& step) const;
};

struct FrameShape {
  uint32_t width = 0;
  uint32_t height = 0;
  VYFormat format = VY_FORMAT_UNKNOWN;
  VYPixelType pixelType = VY_PIXEL_DISPARITY;
};

/// Bytes of a frame. Throws Failure for a shape that cannot be; 0 for run-length compressed ones, which vary.
size_t frameBytes(const FrameShape& shape);

/// Bytes of one pixel for Y16, Y8 and RGB; 0 for formats whose pixels have no bytes of their own.
size_t bytesPerPixel(VYFormat format);

/// "12-bit packed"; "unknown" for a code that means nothing here.
const char* formatName(VYFormat format);
/// "format 12 (12-bit packed)", for messages.
std::string formatText(VYFormat format);
const char* pixelTypeName(VYPixelType type);

class Frame {
 public:
  using Handle = vy_frame_t;
  static constexpr Kind kKind = Kind::frame;

  /// Pixels hold whatever was there before.
  Frame(const FrameShape& shape, size_t bytes, std::shared_ptr<StreamProfile> profile, uint32_t number);

  const FrameShape& shape() const { return shape_; }
  uint32_t width() const { return shape_.width; }
  uint32_t height() const { return shape_.height; }
  uint32_t number() const { return number_; }
  size_t size() const { return pixels_.size(); }

  uint8_t* data() { return pixels_.data(); }
  const uint8_t* data() const { return pixels_.data(); }
  /// The pixels of a Y16 frame.
  uint16_t* pixels16() { return reinterpret_cast<uint16_t*>(pixels_.data()); }
  const uint16_t* pixels16() const { return reinterpret_cast<const uint16_t*>(pixels_.data()); }

  const std::shared_ptr<StreamProfile>& profile() const { return profile_; }
  const PixelMap& pixelMap() const { return pixelMap_; }
  void setPixelMap(const PixelMap& map) { pixelMap_ = map; }

 private:
  FrameShape shape_;
  uint32_t number_;
  PixelBuffer pixels_;
  std::shared_ptr<StreamProfile> profile_;
  PixelMap pixelMap_;
};

using FrameRef = Ref<Frame>;
using FrameLoan = Loan<Frame>;

/// A frame of unset pixels; `bytes` 0 = as many as the shape needs.
FrameRef makeFrame(const FrameShape& shape, std::shared_ptr<StreamProfile> profile, uint32_t number, size_t bytes = 0);

/// A frame for what a filter makes of `input`: its number and pixel map, a copy of its profile, unset pixels.
FrameRef makeOutput(const Frame& input, const FrameShape& shape, size_t bytes = 0);

/// Notes on an output, just made by makeOutput(), that its pixels lie in the input where `step` says: composes the
/// pixel map and adapts the intrinsic. The axes of `step` may be swapped, mirrored and scaled, not slanted.
void placeOutput(Frame& output, const Frame& input, const PixelMap& step);

/// The same frame once more, with pixels and profile of its own.
FrameRef copyFrame(const Frame& input);

}  // namespace tavrix
