#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tavrix::pixel {

// Geometry of images of 1, 2 or 3 bytes a pixel. Input and output must not overlap; a size of 0 does nothing.

/// Swaps left and right.
void mirror(const uint8_t* input, uint8_t* output, uint32_t width, uint32_t height, size_t bytesPerPixel);
/// Swaps top and bottom.
void flip(const uint8_t* input, uint8_t* output, uint32_t width, uint32_t height, size_t bytesPerPixel);
/// Turns clockwise by 0, 90, 180 or 270 degrees; width and height are the input's.
void rotate(const uint8_t* input, uint8_t* output, uint32_t width, uint32_t height, size_t bytesPerPixel, int degrees);

struct ResizeParameters {
  uint32_t outputWidth = 0;
  uint32_t outputHeight = 0;
  double scale = 1;  ///< above 0
  int left = 0;      ///< empty columns left of the scaled image; negative: columns cut off
  int top = 0;       ///< the same for rows above it
};

/// Memory that resize() reuses from one image to the next.
struct ResizeScratch {
  std::vector<uint32_t> columns;
};

/// Scales an image by nearest neighbour and lays it into an output that is 0 everywhere else. An output pixel shows the
/// input pixel in which its centre lies.
void resize(const uint16_t* input, uint32_t width, uint32_t height, uint16_t* output,
            const ResizeParameters& parameters, ResizeScratch& scratch);

}  // namespace tavrix::pixel
