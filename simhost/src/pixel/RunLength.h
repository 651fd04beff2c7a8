#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tavrix::pixel {

// Run-length code of 16-bit pixels. The data is a sequence of records of little-endian 16-bit words. A record begins
// with a control word, whose low 15 bits are a count, never 0. With the top bit clear, one word follows: a pixel that
// is repeated that many times. With the top bit set, that many words follow: the pixels themselves. A record may cross
// rows; the last one ends with the image.

std::vector<uint8_t> compressRuns(const uint16_t* pixels, size_t count);

/// Fills `pixels` with `count` pixels. Returns an empty text, or what is wrong with the data; the pixels after the
/// fault are left as they were.
std::string decompressRuns(const uint8_t* bytes, size_t size, uint16_t* pixels, size_t count);

}  // namespace tavrix::pixel
