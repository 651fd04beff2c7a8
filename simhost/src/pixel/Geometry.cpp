#include "pixel/Geometry.h"

#include <algorithm>
#include <cstring>

namespace tavrix::pixel {
namespace {

template <size_t kBytes>
void copyPixel(const uint8_t* source, uint8_t* target) {
  std::memcpy(target, source, kBytes);
}

template <size_t kBytes>
void mirrorRow(const uint8_t* input, uint8_t* output, size_t width) {
  const uint8_t* last = input + (width - 1) * kBytes;
  for (size_t x = 0; x < width; ++x) copyPixel<kBytes>(last - x * kBytes, output + x * kBytes);
}

// Side of a tile in pixels. Rows of one image and columns of the other stay in the cache together.
constexpr uint32_t kTile = 32;

/// Steps in bytes from an output pixel's source to that of its right and its lower neighbour.
struct Steps {
  std::ptrdiff_t right, down;
};

template <size_t kBytes>
void turnTile(const uint8_t* source, Steps steps, uint8_t* target, size_t targetRow, uint32_t width, uint32_t height) {
  for (uint32_t y = 0; y < height; ++y, source += steps.down, target += targetRow) {
    const uint8_t* from = source;
    for (uint32_t x = 0; x < width; ++x, from += steps.right) copyPixel<kBytes>(from, target + x * kBytes);
  }
}

/// Turns by 90 or 270 degrees.
template <size_t kBytes>
void turn(const uint8_t* input, uint8_t* output, uint32_t width, uint32_t height, bool clockwise) {
  const auto pixel = static_cast<std::ptrdiff_t>(kBytes);
  const std::ptrdiff_t row = static_cast<std::ptrdiff_t>(width) * pixel;
  // The input pixel that becomes the first of the output is the lower left or the upper right one.
  const Steps steps = clockwise ? Steps{-row, pixel} : Steps{row, -pixel};
  const uint8_t* origin = clockwise ? input + row * (static_cast<std::ptrdiff_t>(height) - 1) : input + row - pixel;
  const size_t outputRow = static_cast<size_t>(height) * kBytes;
  for (uint32_t y = 0; y < width; y += kTile) {
    for (uint32_t x = 0; x < height; x += kTile) {
      const uint8_t* source =
          origin + steps.right * static_cast<std::ptrdiff_t>(x) + steps.down * static_cast<std::ptrdiff_t>(y);
      turnTile<kBytes>(source, steps, output + y * outputRow + x * kBytes, outputRow, std::min(kTile, height - x),
                       std::min(kTile, width - y));
    }
  }
}

constexpr uint32_t kNoSource = UINT32_MAX;

/// Index of the input pixel, of `size` in a row or column, in which the centre of an output pixel lies.
uint32_t sourceIndex(uint32_t output, int border, double scale, uint32_t scaledSize, uint32_t size) {
  const int64_t inScaled = static_cast<int64_t>(output) - border;
  if (inScaled < 0 || inScaled >= scaledSize) return kNoSource;
  const auto index = static_cast<uint32_t>((static_cast<double>(inScaled) + 0.5) / scale);
  return std::min(index, size - 1);
}

/// Whole pixels of a scaled side, in single precision, as the frame processor library computes the output's size.
uint32_t scaledSize(uint32_t size, double scale) {
  const float scaled = static_cast<float>(size) * static_cast<float>(scale);
  return scaled < 65536.0F ? static_cast<uint32_t>(scaled) : 65536;
}

}  // namespace

void mirror(const uint8_t* input, uint8_t* output, uint32_t width, uint32_t height, size_t bytesPerPixel) {
  const size_t rowBytes = width * bytesPerPixel;
  if (width == 0) return;
  for (uint32_t y = 0; y < height; ++y, input += rowBytes, output += rowBytes) {
    if (bytesPerPixel == 1) mirrorRow<1>(input, output, width);
    if (bytesPerPixel == 2) mirrorRow<2>(input, output, width);
    if (bytesPerPixel == 3) mirrorRow<3>(input, output, width);
  }
}

void flip(const uint8_t* input, uint8_t* output, uint32_t width, uint32_t height, size_t bytesPerPixel) {
  const size_t rowBytes = width * bytesPerPixel;
  if (rowBytes == 0) return;
  for (uint32_t y = 0; y < height; ++y) {
    std::memcpy(output + y * rowBytes, input + (height - 1 - y) * rowBytes, rowBytes);
  }
}

void rotate(const uint8_t* input, uint8_t* output, uint32_t width, uint32_t height, size_t bytesPerPixel, int degrees) {
  if (width == 0 || height == 0) return;
  if (degrees == 0) {
    std::memcpy(output, input, static_cast<size_t>(width) * height * bytesPerPixel);
  } else if (degrees == 180) {
    // Turned by 180 degrees, the image is itself as one long row, reversed.
    mirror(input, output, width * height, 1, bytesPerPixel);
  } else {
    const bool clockwise = degrees == 90;
    if (bytesPerPixel == 1) turn<1>(input, output, width, height, clockwise);
    if (bytesPerPixel == 2) turn<2>(input, output, width, height, clockwise);
    if (bytesPerPixel == 3) turn<3>(input, output, width, height, clockwise);
  }
}

void resize(const uint16_t* input, uint32_t width, uint32_t height, uint16_t* output,
            const ResizeParameters& parameters, ResizeScratch& scratch) {
  const uint32_t outputWidth = parameters.outputWidth;
  const uint32_t scaledWidth = scaledSize(width, parameters.scale);
  const uint32_t scaledHeight = scaledSize(height, parameters.scale);
  std::vector<uint32_t>& columns = scratch.columns;
  columns.resize(outputWidth);
  for (uint32_t x = 0; x < outputWidth; ++x) {
    columns[x] = sourceIndex(x, parameters.left, parameters.scale, scaledWidth, width);
  }
  // Columns with a source lie side by side; around them is border.
  const auto hasSource = [](uint32_t column) { return column != kNoSource; };
  const auto begin = static_cast<uint32_t>(std::find_if(columns.begin(), columns.end(), hasSource) - columns.begin());
  const auto end =
      static_cast<uint32_t>(std::find_if_not(columns.begin() + begin, columns.end(), hasSource) - columns.begin());

  uint32_t rowBefore = kNoSource;
  for (uint32_t y = 0; y < parameters.outputHeight; ++y, output += outputWidth) {
    const uint32_t row = sourceIndex(y, parameters.top, parameters.scale, scaledHeight, height);
    if (row == kNoSource || begin == end) {
      std::fill_n(output, outputWidth, uint16_t{0});
    } else if (row == rowBefore) {
      std::memcpy(output, output - outputWidth, outputWidth * sizeof(uint16_t));
    } else {
      const uint16_t* source = input + static_cast<size_t>(row) * width;
      std::fill(output, output + begin, uint16_t{0});
      for (uint32_t x = begin; x < end; ++x) output[x] = source[columns[x]];
      std::fill(output + end, output + outputWidth, uint16_t{0});
    }
    rowBefore = row;
  }
}

}  // namespace tavrix::pixel
