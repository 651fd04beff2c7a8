// 16-bit grey images in PNG files.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vycam {

struct GreyImage {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint16_t> pixels;  ///< row by row
};

/// Reads a 16-bit grey PNG, its numbers exactly as stored. Any other file is a Failure that says what the file is.
GreyImage readGreyPng(const std::string& path);
/// The bytes of a PNG file.
std::string greyPng(const GreyImage& image);

}  // namespace vycam
