// What "DepthResize" is told for a set of hardware D2C parameters and a frame size. All arithmetic is single precision.
#include "d2c/HardwareD2CParams.h"

#include <algorithm>
#include <cfloat>
#include <cinttypes>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "d2c/Saturate.h"

// 32-bit x86 computes in a wider type unless told otherwise, and a size comes out as another one.
static_assert(FLT_EVAL_METHOD == 0,
              "float has to be computed as float: on 32-bit x86 compile with -msse2 -mfpmath=sse");

namespace {

std::uint32_t toUnsigned(std::int32_t value) {
  return static_cast<std::uint32_t>(value);
}

/// Scaled extent plus both borders, in wrapping 32-bit arithmetic.
std::uint32_t bordered(std::uint32_t extent, float scale, std::int16_t first, std::int16_t second) {
  return toUnsigned(first + second) + truncateToUnsigned(static_cast<float>(extent) * scale);
}

/// Whether an unscaled output without its borders is the frame's extent again, and that extent is exact as a float.
bool unscalesTo(std::uint32_t extent, std::uint32_t output, std::int16_t first, std::int16_t second) {
  const auto exact = static_cast<float>(extent);
  return exact == static_cast<float>(output - toUnsigned(first) - toUnsigned(second)) &&
         truncateToUnsigned(exact) == extent;
}

/// Nine digits after a point, whatever the locale's decimal separator is.
void printScale(char* text, std::size_t size, float scale) {
  constexpr std::ptrdiff_t kDecimals = 9;
  char* const end = text + std::snprintf(text, size, "%.*f", static_cast<int>(kDecimals), static_cast<double>(scale));
  if (!std::isfinite(scale)) return;
  char* const decimals = end - kDecimals;
  char* separator = decimals;
  while (separator[-1] < '0' || separator[-1] > '9') --separator;
  *separator = '.';
  std::memmove(separator + 1, decimals, kDecimals + 1);
}

}  // namespace

void HardwareD2CParams::derive(std::uint32_t width, std::uint32_t height) {
  outputWidth = bordered(width, scale, padLeft, padRight);
  outputHeight = bordered(height, scale, padTop, padBottom);
  if (!applyScale && scale != 1.0F) fold(width, height);
}

/// Divides the scale out of everything, if that gives back the frame's own size.
void HardwareD2CParams::fold(std::uint32_t width, std::uint32_t height) {
  const float divisor = scale;
  const auto unscaledSize = [divisor](std::uint32_t size) {
    return truncateToUnsigned(static_cast<float>(size) / divisor);
  };
  const auto unscaled16 = [divisor](std::int16_t value) {
    return truncateToLow16(static_cast<float>(value) / divisor);
  };

  const std::uint32_t foldedWidth = unscaledSize(outputWidth);
  const std::uint32_t foldedHeight = unscaledSize(outputHeight);
  const std::int16_t left = unscaled16(padLeft);
  const std::int16_t top = unscaled16(padTop);
  const std::int16_t right = unscaled16(padRight);
  const std::int16_t bottom = unscaled16(padBottom);
  if (!unscalesTo(width, foldedWidth, left, right) || !unscalesTo(height, foldedHeight, top, bottom)) return;

  outputWidth = foldedWidth;
  outputHeight = foldedHeight;
  scale = 1.0F;
  padLeft = left;
  padTop = top;
  padRight = right;
  padBottom = bottom;
  intrinsic.fx /= divisor;
  intrinsic.fy /= divisor;
  intrinsic.cx /= divisor;
  intrinsic.cy /= divisor;
  intrinsic.width = unscaled16(intrinsic.width);
  intrinsic.height = unscaled16(intrinsic.height);
}

ResizeArguments HardwareD2CParams::resizeArguments() const {
  return {outputWidth, outputHeight, scale, padLeft, padRight, padTop, padBottom};
}

ResizeArguments::ResizeArguments(std::uint32_t width, std::uint32_t height, float scale, std::int16_t left,
                                 std::int16_t right, std::int16_t top, std::int16_t bottom) {
  constexpr std::size_t kSize = sizeof texts_[0];
  (void)std::snprintf(texts_[0], kSize, "%" PRIu32, width);
  (void)std::snprintf(texts_[1], kSize, "%" PRIu32, height);
  printScale(texts_[2], kSize, scale);
  // Both horizontal borders come before both vertical ones.
  std::size_t position = 3;
  for (const int border : {left, right, top, bottom}) (void)std::snprintf(texts_[position++], kSize, "%d", border);
}

std::array<const char*, ResizeArguments::kCount> ResizeArguments::texts() const {
  std::array<const char*, kCount> pointers = {};
  std::copy(texts_.begin(), texts_.end(), pointers.begin());
  return pointers;
}
