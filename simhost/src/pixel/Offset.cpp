#include "pixel/Offset.h"

#include <algorithm>
#include <cstring>

namespace tavrix::pixel {
namespace {

/// How many pixels an image has, and how many a shift loses and keeps.
struct Extent {
  Extent(uint32_t width, uint32_t height, uint32_t shift)
      : all(static_cast<size_t>(width) * height), lost(std::min<size_t>(shift, all)), kept(all - lost) {}

  size_t all, lost, kept;
};

void copyPixels(uint16_t* target, const uint16_t* source, size_t count) {
  if (count > 0) std::memcpy(target, source, count * sizeof(uint16_t));
}

}  // namespace

void applyRasterOffset(const uint16_t* image, uint16_t* raw, uint32_t width, uint32_t height, uint32_t shift) {
  const Extent extent(width, height, shift);
  std::fill_n(raw, extent.lost, uint16_t{0});
  copyPixels(raw + extent.lost, image, extent.kept);
}

void repairRasterOffset(const uint16_t* raw, uint16_t* image, uint32_t width, uint32_t height, uint32_t shift) {
  const Extent extent(width, height, shift);
  copyPixels(image, raw + extent.lost, extent.kept);
  std::fill_n(image + extent.kept, extent.lost, uint16_t{0});
}

}  // namespace tavrix::pixel
