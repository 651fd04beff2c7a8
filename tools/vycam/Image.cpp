#include "Image.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <png++/png.hpp>
#include <sstream>
#include <system_error>

#include "Failure.h"

namespace vycam {
namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "pixels in memory are taken as little-endian words");

constexpr uint32_t kLargestSide = 16384;

/// Throws png::error. It drops warnings, which libpng would print: they concern nothing that changes grey pixels.
class Reader : public png::reader<std::istream> {
 public:
  explicit Reader(std::istream& file) : reader(file) {
    const auto ignore = [](png_structp /*png*/, png_const_charp /*message*/) {};
    png_set_error_fn(m_png, static_cast<png::io_base*>(this), raise_error, ignore);
  }
};

const char* colourName(png::color_type type) {
  switch (type) {
    case png::color_type_gray:
      return "grey";
    case png::color_type_gray_alpha:
      return "grey with transparency";
    case png::color_type_palette:
      return "palette";
    case png::color_type_rgb:
      return "RGB";
    default:
      return "RGB with transparency";
  }
}

bool startsAsPng(std::istream& file) {
  png::byte start[8] = {};
  file.read(reinterpret_cast<char*>(start), sizeof start);
  const bool isPng = file && png_sig_cmp(start, 0, sizeof start) == 0;
  file.seekg(0);
  return isPng;
}

}  // namespace

GreyImage readGreyPng(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw Failure(fmt::format("cannot open {}: {}", path, std::generic_category().message(errno)));
  }
  if (!startsAsPng(file)) {
    throw Failure(fmt::format("{} is not a PNG file; give a 16-bit grey PNG with depths in millimetres", path));
  }
  try {
    Reader reader(file);
    reader.read_info();
    GreyImage image{reader.get_width(), reader.get_height(), {}};
    const bool isGrey16 = reader.get_color_type() == png::color_type_gray && reader.get_bit_depth() == 16;
    if (!isGrey16 || std::max(image.width, image.height) > kLargestSide) {
      throw Failure(fmt::format(
          "{} is a {}-bit {} PNG of {}x{}; give a 16-bit grey one with depths in millimetres, of at most {}x{}", path,
          reader.get_bit_depth(), colourName(reader.get_color_type()), image.width, image.height, kLargestSide,
          kLargestSide));
    }
    image.pixels.resize(size_t{image.width} * image.height);
    reader.set_swap();
    const int passes = reader.set_interlace_handling();
    for (int pass = 0; pass < passes; ++pass) {
      for (size_t y = 0; y < image.height; ++y) {
        reader.read_row(reinterpret_cast<png::byte*>(&image.pixels[y * image.width]));
      }
    }
    reader.read_end_info();
    return image;
  } catch (const png::error& error) {
    throw Failure(fmt::format("cannot read {}: {}", path, file.eof() ? "the file ends too early" : error.what()));
  }
}

std::string greyPng(const GreyImage& image) {
  png::image<png::gray_pixel_16> png(image.width, image.height);
  for (size_t y = 0; y < image.height; ++y) {
    std::copy_n(&image.pixels[y * image.width], image.width, png[y].begin());
  }
  std::ostringstream bytes;
  png.write_stream(bytes);
  return bytes.str();
}

}  // namespace vycam
