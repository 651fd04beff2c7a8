#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tavrix::pixel {

// Run-length code of 16-bit pixels. The data is a sequence of little-endian 16-bit words, made of records that start
// with a control word: its low 15 bits are a count, never 0. With the top bit clear one word follows, a pixel that is
// repeated `count` times; with the top bit set `count` words follow, which are the pixels. Records cross rows; they end
// when all pixels of the image are told.

std::vector<uint8_t> compressRuns(const uint16_t* pixels, size_t count);

/// Fills `pixels` with exactly `count` pixels. Returns what is wrong with the data, or an empty text; pixels after a
/// fault are left as they were.
std::string decompressRuns(const uint8_t* bytes, size_t size, uint16_t* pixels, size_t count);

}  // namespace tavrix::pixel
