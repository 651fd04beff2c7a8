// 16-bit grey pictures in and out, and every other kind of PNG refused.
#include "vycam/VycamTest.h"

namespace {

using PngTest = VycamTest;

/// Without the words around the file's name.
std::string readRefusal(const std::string& path) {
  return refusal([&] { vycam::readGreyPng(path); });
}

TEST_F(PngTest, ReadsGrey16AndNamesEveryOtherKind) {
  const struct {
    int colourType;
    std::vector<int> bitDepths;
    size_t channels;
    const char* name;
  } kinds[] = {
      {PNG_COLOR_TYPE_GRAY, {1, 2, 4, 8, 16}, 1, "grey"},
      {PNG_COLOR_TYPE_GRAY_ALPHA, {8, 16}, 2, "grey with transparency"},
      {PNG_COLOR_TYPE_PALETTE, {1, 2, 4, 8}, 1, "palette"},
      {PNG_COLOR_TYPE_RGB, {8, 16}, 3, "RGB"},
      {PNG_COLOR_TYPE_RGB_ALPHA, {8, 16}, 4, "RGB with transparency"},
  };
  const vycam::GreyImage image = rampWithHole();
  for (const auto& kind : kinds) {
    for (const int bitDepth : kind.bitDepths) {
      for (const int interlace : {PNG_INTERLACE_NONE, PNG_INTERLACE_ADAM7}) {
        SCOPED_TRACE(std::to_string(bitDepth) + "-bit " + kind.name + ", interlace " + std::to_string(interlace));
        StoredPng png = storedPng(image);
        png.colourType = kind.colourType, png.bitDepth = bitDepth, png.interlace = interlace;
        const bool isGrey16 = bitDepth == 16 && kind.channels == 1;
        if (!isGrey16)
          png.rows.assign(16, std::vector<png_byte>(24 * kind.channels * static_cast<size_t>(bitDepth) / 8));
        writePng(path("a.png"), png);
        if (isGrey16) {
          const vycam::GreyImage read = vycam::readGreyPng(path("a.png"));
          EXPECT_EQ(read.width, 24U);
          EXPECT_EQ(read.height, 16U);
          EXPECT_EQ(read.pixels, image.pixels);
        } else {
          EXPECT_EQ(readRefusal(path("a.png")),
                    path("a.png") + " is a " + std::to_string(bitDepth) + "-bit " + kind.name +
                        " PNG of 24x16; give a 16-bit grey one with depths in millimetres, of at most 16384x16384");
        }
      }
    }
  }
}

TEST_F(PngTest, RefusesWhatIsTooLargeOrDamaged) {
  const vycam::GreyImage image = rampWithHole();
  writePng(path("a.png"), storedPng(image));
  const std::string whole = contentsOf(path("a.png"));
  const size_t data = whole.find("IDAT");
  const auto changed = [&](size_t at) {
    std::string copy = whole;
    copy.at(at) ^= 1;
    return copy;
  };
  // A comment whose checksum is wrong concerns no pixel.
  const std::string comment("\0\0\0\3tEXta\0b\0\0\0\0", 15);
  const struct {
    const char* what;
    std::string content;
    std::vector<std::string> said;
  } cases[] = {
      {"empty", "", {"is not a PNG file; give a 16-bit grey PNG with depths in millimetres"}},
      {"seven bytes", whole.substr(0, 7), {"is not a PNG file"}},
      {"text", "not a picture", {"is not a PNG file"}},
      {"signature alone", whole.substr(0, 8), {"cannot read ", "the file ends too early"}},
      {"cut in the pixels", whole.substr(0, data + 20), {"cannot read ", "the file ends too early"}},
      {"no end", whole.substr(0, whole.size() - 12), {"cannot read ", "the file ends too early"}},
      {"damaged header", changed(16), {"cannot read ", "IHDR: CRC error"}},
      {"damaged pixels", changed(data + 20), {"cannot read ", "IDAT"}},
      {"damaged comment", whole.substr(0, data - 4) + comment + whole.substr(data - 4), {"accepted"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    write("b.png", c.content);
    expectParts(readRefusal(path("b.png")), c.said);
  }
  EXPECT_EQ(vycam("run --camera Vashti --sensor depth --depth b.png --out made").err, "") << "libpng speaks up";
  for (const png_uint_32 side : {16384U, 16385U}) {
    const StoredPng wide = storedPng({side, 1, std::vector<uint16_t>(side)});
    const StoredPng high = storedPng({1, side, std::vector<uint16_t>(side)});
    for (const StoredPng& png : {wide, high}) {
      writePng(path("c.png"), png);
      expectParts(readRefusal(path("c.png")), {side == 16384 ? "accepted" : "of at most 16384x16384"});
    }
  }
  EXPECT_EQ(readRefusal(path("absent.png")), "cannot open " + path("absent.png") + ": No such file or directory");
}

TEST_F(PngTest, WritesEveryNumberWithTheHighByteFirst) {
  const vycam::GreyImage image{3, 2, {0, 1, 255, 256, 0x1234, 65535}};
  write("a.png", vycam::greyPng(image));
  const StoredPng png = readPng(path("a.png"));
  EXPECT_EQ(png.describe(), "3x2 grey 16");
  EXPECT_EQ(png.rows, (std::vector<std::vector<png_byte>>{{0, 0, 0, 1, 0, 255}, {1, 0, 0x12, 0x34, 255, 255}}));
  EXPECT_EQ(vycam::readGreyPng(path("a.png")).pixels, image.pixels);
}

}  // namespace
