// Pictures pixel by pixel: numbers as colours, the scale below, reduced sizes.
#include "Picture.h"

#include "vycam/VycamTest.h"

namespace {

using vycam::Picture;

constexpr unsigned kHole = 0x222226, kPaper = 0xFAFAF8, kInk = 0x28282C;

class PictureTest : public VycamTest {
 protected:
  StoredPng drawn(const Picture& picture, int maxWidth = 0) const {
    write("a.png", picture.png(maxWidth));
    return png("a.png");
  }
  /// Where ticks stand below the bar of a scale.
  static std::vector<size_t> ticks(const StoredPng& png) {
    std::vector<size_t> found;
    for (size_t x = 0; x < png.width; ++x) {
      if (png.colour(x, png.height - 58 + 38) == kInk) found.push_back(x);
    }
    return found;
  }
};

vycam::Scale makeScale(double low, double high, bool isReciprocal = false) {
  vycam::Scale scale;
  scale.low = low, scale.high = high, scale.isReciprocal = isReciprocal;
  scale.title = "depth in mm";
  return scale;
}

TEST_F(PictureTest, NumbersBecomeColours) {
  const vycam::GreyImage image{4, 2, {0, 1000, 1500, 3000, 500, 9999, 2000, 0}};
  const struct {
    vycam::Scale scale;
    std::vector<unsigned> colours;
  } cases[] = {
      {makeScale(1000, 3000), {kHole, 0xA51A26, 0xF99D4A, 0x5E3C92, 0xA51A26, 0x5E3C92, 0xC8E492, kHole}},
      {makeScale(1000, 3000, true), {kHole, 0x5E3C92, 0xC8E492, 0xA51A26, 0x5E3C92, 0xA51A26, 0xF99D4A, kHole}},
  };
  for (const auto& c : cases) {
    const StoredPng png = drawn(Picture::ofNumbers(image, c.scale));
    EXPECT_EQ(png.describe(), "340x60 RGB 8") << "wide enough for the scale";
    for (size_t i = 0; i < c.colours.size(); ++i) EXPECT_EQ(png.colour(168 + i % 4, i / 4), c.colours[i]) << i;
    EXPECT_EQ(png.colour(167, 0), kPaper);
    EXPECT_EQ(png.colour(172, 1), kPaper);
  }
  vycam::Scale brightness = makeScale(0, 10000);
  brightness.palette = vycam::Palette::Grey, brightness.missing = -1;
  const StoredPng png = drawn(Picture::ofNumbers(image, brightness));
  EXPECT_EQ(png.colour(168, 0), 0U);
  EXPECT_EQ(png.colour(169, 1), 0xFFFFFFU);
  EXPECT_EQ(png.colour(170, 1), 0x333333U);
}

TEST_F(PictureTest, ColoursStayAsTheyAre) {
  const StoredPng png = drawn(Picture::ofColours(2, 2, {1, 2, 3, 255, 0, 9, 0, 0, 0, 16, 32, 64}), 2);
  EXPECT_EQ(png.describe(), "2x2 RGB 8");
  EXPECT_EQ(png.rows, (std::vector<std::vector<png_byte>>{{1, 2, 3, 255, 0, 9}, {0, 0, 0, 16, 32, 64}}));
}

TEST_F(PictureTest, ScalesShowWhichColourMeansWhichNumber) {
  const vycam::GreyImage narrow{1, 1, {1000}};
  const vycam::GreyImage wide{400, 1, std::vector<uint16_t>(400, 1000)};
  const struct {
    const vycam::GreyImage& image;
    vycam::Scale scale;
    std::vector<size_t> ticks;
  } cases[] = {
      {narrow, makeScale(1000, 3000), {14, 92, 170, 247, 325}},
      {narrow, makeScale(1001, 2999), {92, 170, 247}},
      {narrow, makeScale(1, 2), {14, 325}},
      {narrow, makeScale(100, 400, true), {14, 118, 187, 256, 325}},
      {wide, makeScale(600, 60000), {135, 260, 385}},
  };
  for (const auto& c : cases) {
    const StoredPng png = drawn(Picture::ofNumbers(c.image, c.scale));
    SCOPED_TRACE(png.describe() + " from " + std::to_string(c.scale.low));
    EXPECT_EQ(ticks(png), c.ticks);
    const size_t right = png.width - 15;
    for (const size_t y : {png.height - 35, png.height - 24}) {
      EXPECT_EQ(png.colour(13, y), kPaper);
      EXPECT_EQ(png.colour(14, y), 0xA51A26U);
      EXPECT_EQ(png.colour(right, y), 0x5E3C92U);
      EXPECT_EQ(png.colour(right + 1, y), kPaper);
    }
    for (const size_t y : {png.height - 36, png.height - 23}) EXPECT_EQ(png.colour(15, y), kPaper);
    EXPECT_EQ(png.colour(right - 84 - 15, png.height - 45), kHole) << "the sample beside \"no measurement\"";
  }
}

TEST_F(PictureTest, AWideScaleHasTicksUpToItsEnd) {
  const StoredPng png = drawn(Picture::ofNumbers({9000, 1, std::vector<uint16_t>(9000, 1000)}, makeScale(0, 7000)));
  EXPECT_EQ(ticks(png).size(), 141U) << "one for every fifty";
}

TEST_F(PictureTest, TheLongestTitleFits) {
  vycam::Scale scale = makeScale(30, 100, true);
  scale.title = "as sent: disparity, 1/128 px";
  const StoredPng png = drawn(Picture::ofNumbers({1, 1, {50}}, scale));
  for (size_t y = 1; y < 24; ++y)
    EXPECT_EQ(png.colour(220, y), kPaper) << "between the title and the sample, row " << y;
}

TEST_F(PictureTest, WidePicturesAreReduced) {
  vycam::GreyImage image{800, 4, std::vector<uint16_t>(3200, 1500)};
  for (size_t i = 0; i < 3200; ++i) image.pixels[i] = i % 800 < 400 ? 1500 : 2500;
  const Picture picture = Picture::ofNumbers(image, makeScale(1000, 3000));
  for (const auto& [maxWidth, size] : {std::pair(0, "800x62 RGB 8"),
                                       {800, "800x62 RGB 8"},
                                       {799, "799x61 RGB 8"},
                                       {400, "400x60 RGB 8"},
                                       {100, "340x59 RGB 8"}}) {
    const StoredPng png = drawn(picture, maxWidth);
    EXPECT_EQ(png.describe(), size) << maxWidth;
    const size_t quarter = (maxWidth == 0 ? 800U : static_cast<size_t>(maxWidth)) / 4;
    EXPECT_EQ(png.colour(png.width / 2 - quarter, 0), 0xF99D4AU);
    EXPECT_EQ(png.colour(png.width / 2 + quarter, 0), 0x3B89AAU);
    EXPECT_EQ(png.colour(0, 0), maxWidth == 100 ? kPaper : 0xF99D4AU);
  }
  EXPECT_EQ(drawn(Picture::ofColours(3, 1, std::vector<uint8_t>(9, 7)), 2).describe(), "2x1 RGB 8") << "no row of 0";
}

}  // namespace
