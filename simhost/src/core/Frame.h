#pragma once

#include <memory>

#include "TavrixSDK.h"
#include "core/BufferPool.h"
#include "core/Object.h"
#include "core/StreamProfile.h"

namespace tavrix {

/// Where the pixels of a frame come from: an affine map to places in the camera's image. Whole numbers are centres of
/// pixels. Raw frames have the identity.
struct PixelMap {
  double xx = 1, xy = 0, x0 = 0;
  double yx = 0, yy = 1, y0 = 0;

  double cameraX(double x, double y) const { return xx * x + xy * y + x0; }
  double cameraY(double x, double y) const { return yx * x + yy * y + y0; }
  /// The map of an output of this map's frame, where `step` maps the output's pixels to those of the frame.
  PixelMap after(const PixelMap& step) const;
};

struct FrameShape {
  uint32_t width = 0;
  uint32_t height = 0;
  VYFormat format = VY_FORMAT_UNKNOWN;
  VYPixelType pixelType = VY_PIXEL_DISPARITY;
};

/// When a camera took a frame. Frames without a camera have zeros.
struct Moment {
  uint32_t number = 0;        ///< of the frame in its stream
  uint64_t microseconds = 0;  ///< since the camera's first frame
};

/// Bytes of a frame; 0 for a run-length compressed one, whose size varies. Throws Failure for a size out of range.
size_t frameBytes(const FrameShape& shape);

/// Bytes of a pixel of Y16, Y8 and RGB; 0 for the other formats, whose pixels share bytes.
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

  /// The pixels are not set.
  Frame(const FrameShape& shape, size_t bytes, std::shared_ptr<StreamProfile> profile, Moment moment);

  const FrameShape& shape() const { return shape_; }
  uint32_t width() const { return shape_.width; }
  uint32_t height() const { return shape_.height; }
  const Moment& moment() const { return moment_; }
  size_t size() const { return pixels_.size(); }

  uint8_t* data() { return pixels_.data(); }
  const uint8_t* data() const { return pixels_.data(); }
  /// The pixels of a Y16 frame.
  uint16_t* pixels16() { return static_cast<uint16_t*>(static_cast<void*>(pixels_.data())); }
  const uint16_t* pixels16() const { return static_cast<const uint16_t*>(static_cast<const void*>(pixels_.data())); }

  const std::shared_ptr<StreamProfile>& profile() const { return profile_; }
  const PixelMap& pixelMap() const { return pixelMap_; }
  void setPixelMap(const PixelMap& map) { pixelMap_ = map; }

 private:
  FrameShape shape_;
  Moment moment_;
  PixelBuffer pixels_;
  std::shared_ptr<StreamProfile> profile_;
  PixelMap pixelMap_;
};

using FrameRef = Ref<Frame>;
using FrameLoan = Loan<Frame>;

/// Makes a frame without setting its pixels. `bytes` 0 = as many as the shape needs.
FrameRef makeFrame(const FrameShape& shape, std::shared_ptr<StreamProfile> profile, Moment moment, size_t bytes = 0);

/// Makes a frame for a filter's output, with the input's moment and pixel map and a copy of its profile. The pixels are
/// not set.
FrameRef makeOutput(const Frame& input, const FrameShape& shape, size_t bytes = 0);

/// Adapts pixel map and intrinsic of an output of makeOutput(), where `step` maps its pixels to those of the input. A
/// step may swap, mirror and scale the axes, but not slant them.
void placeOutput(Frame& output, const Frame& input, const PixelMap& step);

/// Copies a frame with its pixels and its profile.
FrameRef copyFrame(const Frame& input);

}  // namespace tavrix
