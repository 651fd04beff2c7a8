// The pixels of a host frame as plain numbers, for pictures and figures.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Chain.h"
#include "Host.h"
#include "Image.h"

namespace vycam {

/// Size, format and pixel type of a frame; describe() gives "1280x800, 12-bit packed, disparity".
struct FrameFacts {
  uint32_t width = 0, height = 0;
  VYFormat format = VY_FORMAT_UNKNOWN;
  VYPixelType pixelType = VY_PIXEL_DISPARITY;

  /// "disparity"
  const char* meaning() const;
  std::string describe() const;
};

FrameFacts factsOf(const vy_frame_t* frame);

VYCameraIntrinsic intrinsicOf(const vy_frame_t* frame);

/// The pixels of a frame. Too few of them are a Failure.
const uint8_t* bytesOf(const vy_frame_t* frame, const FrameFacts& facts, size_t bytesPerPixel);

/// True for formats with one 8-bit or 16-bit number, or three bytes of colour, per pixel.
bool isPlain(VYFormat format);

/// A frame with plain pixels: the frame itself, or the output of its chain's unpacking filter.
Frame decodeForView(const vy_frame_t* frame, const Chain& chain);

/// The numbers of a plain frame with one channel.
GreyImage greyPixels(const vy_frame_t* frame);

/// Three bytes per pixel of a colour frame.
std::vector<uint8_t> colourPixels(const vy_frame_t* frame);

}  // namespace vycam
