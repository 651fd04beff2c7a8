#include <fmt/core.h>

#include "core/Frame.h"

namespace tavrix {
namespace {

// Pixels. An intrinsic holds sizes in 16 signed bits.
constexpr uint32_t kLargestSide = 16384;

/// How the pixels of a format lie in a row. Every row takes whole bytes.
struct Layout {
  VYFormat format;
  const char* name;
  size_t bitsPerPixel;
  size_t groupPixels;  // rows are filled up to whole groups
};

constexpr Layout kLayouts[] = {
    {VY_FORMAT_Y16, "16-bit words", 16, 1},
    {VY_FORMAT_Y8, "8-bit grey", 8, 1},
    {VY_FORMAT_Y10, "10-bit packed", 10, 1},
    {VY_FORMAT_Y11, "11-bit packed", 11, 1},
    {VY_FORMAT_Y12, "12-bit packed", 12, 1},
    {VY_FORMAT_Y14, "14-bit packed", 14, 1},
    {VY_FORMAT_RGB, "RGB, 8 bits each", 24, 1},
    {VY_FORMAT_Y10_MIPI, "10-bit in groups of four", 10, 4},
    {VY_FORMAT_RLE, "16-bit run-length compressed", 0, 1},
};

// Tests make frames of codes without a meaning, to see what filters do with them.
constexpr Layout kUnknownLayout{VY_FORMAT_UNKNOWN, "unknown", 16, 1};

const Layout& layoutOf(VYFormat format) {
  for (const Layout& layout : kLayouts) {
    if (layout.format == format) return layout;
  }
  return kUnknownLayout;
}

}  // namespace

const char* formatName(VYFormat format) {
  return layoutOf(format).name;
}

std::string formatText(VYFormat format) {
  return fmt::format("format {} ({})", static_cast<int>(format), formatName(format));
}

const char* pixelTypeName(VYPixelType type) {
  switch (type) {
    case VY_PIXEL_DISPARITY:
      return "disparity";
    case VY_PIXEL_DEPTH:
      return "depth";
    case VY_PIXEL_INTENSITY:
      return "intensity";
    case VY_PIXEL_COLOR:
      return "colour";
  }
  return "unknown";
}

size_t bytesPerPixel(VYFormat format) {
  const Layout& layout = layoutOf(format);
  const bool isPlain = format == VY_FORMAT_Y16 || format == VY_FORMAT_Y8 || format == VY_FORMAT_RGB;
  return isPlain ? layout.bitsPerPixel / 8 : 0;
}

size_t frameBytes(const FrameShape& shape) {
  if (shape.width < 1 || shape.height < 1 || shape.width > kLargestSide || shape.height > kLargestSide) {
    throw Failure(ExceptionType::invalidValue,
                  fmt::format("a frame must be 1 to {} pixels wide and high but should become {} x {}", kLargestSide,
                              shape.width, shape.height));
  }
  const Layout& layout = layoutOf(shape.format);
  const size_t pixels = (shape.width + layout.groupPixels - 1) / layout.groupPixels * layout.groupPixels;
  return (pixels * layout.bitsPerPixel + 7) / 8 * shape.height;
}

}  // namespace tavrix
