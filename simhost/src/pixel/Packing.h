#pragma once

#include <cstddef>
#include <cstdint>

namespace tavrix::pixel {

enum class BitOrder {
  msbFirst,  ///< one stream of bits a row, the highest bit of the first pixel in the highest bit of the first byte
  lsbFirst,  ///< the same from the low end: the lowest bit of the first pixel in the lowest bit of the first byte
  mipi       ///< groups of five bytes: the high eight bits of four pixels, then their low two, the first pixel's lowest
};

/// How pixels of less than 16 bits share bytes. Every row starts at a byte.
struct Packing {
  int bits;  ///< of a pixel: 1 to 16; always 10 with BitOrder::mipi
  BitOrder order;
};

size_t packedRowBytes(Packing packing, uint32_t width);

/// Packs rows of pixels; values that do not fit the bits become the largest that does. Bits left over are 0.
void packRows(Packing packing, const uint16_t* pixels, uint8_t* bytes, uint32_t width, uint32_t height);

/// Unpacks rows of pixels. Reads and writes the bytes and pixels of the rows, none beyond.
void unpackRows(Packing packing, const uint8_t* bytes, uint16_t* pixels, uint32_t width, uint32_t height);

}  // namespace tavrix::pixel
