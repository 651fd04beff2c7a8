#include "vycam/VycamTest.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>

namespace {

using File = std::unique_ptr<FILE, int (*)(FILE*)>;

}  // namespace

std::string StoredPng::describe() const {
  const std::string kind = colourType == PNG_COLOR_TYPE_RGB    ? " RGB "
                           : colourType == PNG_COLOR_TYPE_GRAY ? " grey "
                                                               : " ? ";
  return std::to_string(width) + "x" + std::to_string(height) + kind + std::to_string(bitDepth);
}

uint64_t StoredPng::checksum() const {
  uint64_t sum = 0xcbf29ce484222325;
  for (const std::vector<png_byte>& row : rows) {
    for (const png_byte byte : row) sum = (sum ^ byte) * 0x100000001b3;
  }
  return sum;
}

StoredPng storedPng(const vycam::GreyImage& image) {
  StoredPng png;
  png.width = image.width, png.height = image.height;
  for (size_t i = 0; i < image.pixels.size(); ++i) {
    if (i % image.width == 0) png.rows.emplace_back();
    png.rows.back().push_back(static_cast<png_byte>(image.pixels[i] >> 8));
    png.rows.back().push_back(static_cast<png_byte>(image.pixels[i] & 0xFF));
  }
  return png;
}

// Both end the program where libpng finds fault.
void writePng(const std::string& path, const StoredPng& png) {
  const File file(fopen(path.c_str(), "wb"), fclose);
  png_structp writer = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(writer);
  png_init_io(writer, file.get());
  png_set_IHDR(writer, info, png.width, png.height, png.bitDepth, png.colourType, png.interlace, 0, 0);
  const png_color black{};
  if (png.colourType == PNG_COLOR_TYPE_PALETTE) png_set_PLTE(writer, info, &black, 1);
  std::vector<png_bytep> rows;
  for (const std::vector<png_byte>& row : png.rows) rows.push_back(const_cast<png_bytep>(row.data()));
  png_set_rows(writer, info, rows.data());
  png_write_png(writer, info, PNG_TRANSFORM_IDENTITY, nullptr);
  png_destroy_write_struct(&writer, &info);
}

StoredPng readPng(const std::string& path) {
  const File file(fopen(path.c_str(), "rb"), fclose);
  if (file == nullptr) {
    ADD_FAILURE() << "no file " << path;
    return {};
  }
  png_structp reader = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(reader);
  png_init_io(reader, file.get());
  png_read_png(reader, info, PNG_TRANSFORM_IDENTITY, nullptr);
  StoredPng png;
  png_get_IHDR(reader, info, &png.width, &png.height, &png.bitDepth, &png.colourType, &png.interlace, nullptr, nullptr);
  for (png_uint_32 y = 0; y < png.height; ++y) {
    const png_bytep row = png_get_rows(reader, info)[y];
    png.rows.emplace_back(row, row + png_get_rowbytes(reader, info));
  }
  png_destroy_read_struct(&reader, &info, nullptr);
  return png;
}

vycam::GreyImage rampWithHole() {
  vycam::GreyImage image{24, 16, {}};
  for (int y = 0; y < 16; ++y) {
    for (int x = 0; x < 24; ++x) image.pixels.push_back(static_cast<uint16_t>(x < 4 && y < 4 ? 0 : 600 + 100 * x + y));
  }
  return image;
}

std::string kept(const std::string& name) {
  const std::string text = contentsOf(VYCAM_KEPT "/" + name);
  EXPECT_NE(text, "") << name << " is missing";
  return text;
}

void expectKept(const std::string& name, const std::string& text) {
  if (std::getenv("VYCAM_KEEP") != nullptr) std::ofstream(VYCAM_KEPT "/" + name, std::ios::binary) << text;
  EXPECT_EQ(kept(name), text) << "If that is meant: VYCAM_KEEP=1 vycam_test --gtest_filter=...";
}

void expectParts(const std::string& text, const std::vector<std::string>& parts) {
  for (const std::string& part : parts) {
    EXPECT_NE(text.find(part), std::string::npos) << "\"" << part << "\" is missing in: " << text;
  }
}
