#include "Image.h"

#include <fmt/format.h>
#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <memory>
#include <system_error>

#include "Failure.h"

namespace vycam {
namespace {

constexpr png_uint_32 kLargestSide = 16384;
constexpr size_t kSignatureSize = 8;

struct FileClose {
  void operator()(std::FILE* file) const {
    // A file that was written is closed by hand; one that was read has nothing to lose.
    static_cast<void>(std::fclose(file));
  }
};
using File = std::unique_ptr<std::FILE, FileClose>;

File openFile(const std::string& path, const char* mode) {
  File file(std::fopen(path.c_str(), mode));
  if (file == nullptr) {
    throw Failure(fmt::format("cannot open {}: {}", path, std::generic_category().message(errno)));
  }
  return file;
}

/// What libpng said when it gave up.
struct PngFault {
  char text[128] = "";
};

// libpng is C and leaves by longjmp, so nothing with a destructor may be made in the functions that set the jump.
[[noreturn]] void onError(png_structp png, png_const_charp message) {
  auto* const fault = static_cast<PngFault*>(png_get_error_ptr(png));
  fault->text[std::string(message).copy(fault->text, sizeof fault->text - 1)] = '\0';
  png_longjmp(png, 1);
}

void onWarning(png_structp /*png*/, png_const_charp /*message*/) {}

struct PngReader {
  PngFault fault;
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, &fault, onError, onWarning);
  png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;

  PngReader() = default;
  PngReader(const PngReader&) = delete;
  PngReader& operator=(const PngReader&) = delete;
  ~PngReader() { png_destroy_read_struct(&png, &info, nullptr); }

  bool readHeader(std::FILE* file) {
    if (setjmp(png_jmpbuf(png)) != 0) {  // NOLINT(cert-err52-cpp): the only way libpng offers
      return false;
    }
    png_init_io(png, file);
    png_set_user_limits(png, kLargestSide, kLargestSide);
    png_read_info(png, info);
    return true;
  }

  bool readPixels(png_bytepp rows) {
    if (setjmp(png_jmpbuf(png)) != 0) {  // NOLINT(cert-err52-cpp): the only way libpng offers
      return false;
    }
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
    png_read_image(png, rows);
    png_read_end(png, nullptr);
    return true;
  }
};

struct PngWriter {
  PngFault fault;
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, &fault, onError, onWarning);
  png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;

  PngWriter() = default;
  PngWriter(const PngWriter&) = delete;
  PngWriter& operator=(const PngWriter&) = delete;
  ~PngWriter() { png_destroy_write_struct(&png, &info); }

  bool write(std::FILE* file, uint32_t width, uint32_t height, png_bytepp rows) {
    if (setjmp(png_jmpbuf(png)) != 0) {  // NOLINT(cert-err52-cpp): the only way libpng offers
      return false;
    }
    png_init_io(png, file);
    png_set_IHDR(png, info, width, height, 16, PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    png_write_info(png, info);
    png_write_image(png, rows);
    png_write_end(png, nullptr);
    return true;
  }
};

const char* colourName(png_byte type) {
  switch (type) {
    case PNG_COLOR_TYPE_GRAY:
      return "grey";
    case PNG_COLOR_TYPE_GRAY_ALPHA:
      return "grey with transparency";
    case PNG_COLOR_TYPE_PALETTE:
      return "palette";
    case PNG_COLOR_TYPE_RGB:
      return "RGB";
    default:
      return "RGB with transparency";
  }
}

bool hasPngSignature(std::FILE* file) {
  png_byte start[kSignatureSize] = {};
  const bool isPng =
      std::fread(start, 1, sizeof start, file) == sizeof start && png_sig_cmp(start, 0, sizeof start) == 0;
  std::rewind(file);
  return isPng;
}

/// A pointer to each row of 16-bit pixels, as libpng wants them.
std::vector<png_bytep> rowPointers(std::vector<png_byte>& bytes, uint32_t width, uint32_t height) {
  std::vector<png_bytep> rows;
  for (size_t y = 0; y < height; ++y) {
    rows.push_back(bytes.data() + y * width * 2);
  }
  return rows;
}

}  // namespace

GreyImage readGreyPng(const std::string& path) {
  const File file = openFile(path, "rb");
  if (!hasPngSignature(file.get())) {
    throw Failure(fmt::format("{} is not a PNG file; give a 16-bit grey PNG with depths in millimetres", path));
  }
  PngReader reader;
  if (reader.info == nullptr || !reader.readHeader(file.get())) {
    throw Failure(fmt::format("cannot read {}: {}", path, reader.fault.text));
  }
  GreyImage image;
  image.width = png_get_image_width(reader.png, reader.info);
  image.height = png_get_image_height(reader.png, reader.info);
  const png_byte colour = png_get_color_type(reader.png, reader.info);
  const png_byte depth = png_get_bit_depth(reader.png, reader.info);
  if (colour != PNG_COLOR_TYPE_GRAY || depth != 16) {
    throw Failure(fmt::format("{} is a {}-bit {} PNG of {}x{}; give a 16-bit grey one with depths in millimetres", path,
                              depth, colourName(colour), image.width, image.height));
  }
  std::vector<png_byte> bytes(size_t{image.width} * image.height * 2);
  std::vector<png_bytep> rows = rowPointers(bytes, image.width, image.height);
  if (!reader.readPixels(rows.data())) {
    throw Failure(fmt::format("cannot read {}: {}", path, reader.fault.text));
  }
  image.pixels.resize(bytes.size() / 2);
  for (size_t i = 0; i < image.pixels.size(); ++i) {
    image.pixels[i] =
        static_cast<uint16_t>(bytes[2 * i] << 8 | bytes[2 * i + 1]);  // the format's order: high byte first
  }
  return image;
}

void writeGreyPng(const GreyImage& image, const std::string& path) {
  std::vector<png_byte> bytes;
  bytes.reserve(image.pixels.size() * 2);
  for (const uint16_t pixel : image.pixels) {
    bytes.push_back(static_cast<png_byte>(pixel >> 8));
    bytes.push_back(static_cast<png_byte>(pixel & 0xFF));
  }
  std::vector<png_bytep> rows = rowPointers(bytes, image.width, image.height);
  File file = openFile(path, "wb");
  PngWriter writer;
  if (writer.info == nullptr || !writer.write(file.get(), image.width, image.height, rows.data())) {
    throw Failure(fmt::format("cannot write {}: {}", path, writer.fault.text));
  }
  if (std::fclose(file.release()) != 0) {
    throw Failure(fmt::format("cannot write {}: {}", path, std::generic_category().message(errno)));
  }
}

}  // namespace vycam
