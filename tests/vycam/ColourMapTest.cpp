// Known numbers to known colours.
#include "ColourMap.h"

#include <gtest/gtest.h>

#include "Picture.h"

namespace {

using vycam::Palette;

unsigned hexAt(Palette palette, double place) {
  const vycam::Colour colour = vycam::colourAt(palette, place);
  return static_cast<unsigned>(colour.red << 16 | colour.green << 8 | colour.blue);
}

TEST(ColourMapTest, KnownPlacesHaveKnownColours) {
  const struct {
    Palette palette;
    double place;
    unsigned colour;
  } cases[] = {
      {Palette::WarmToCool, 0, 0xA51A26},     {Palette::WarmToCool, 0.1, 0xD8482B},
      {Palette::WarmToCool, 0.2, 0xF4803E},   {Palette::WarmToCool, 0.3, 0xFDBA56},
      {Palette::WarmToCool, 0.4, 0xFAE585},   {Palette::WarmToCool, 0.5, 0xC8E492},
      {Palette::WarmToCool, 0.6, 0x7FC79B},   {Palette::WarmToCool, 0.7, 0x42A0A8},
      {Palette::WarmToCool, 0.8, 0x3471AB},   {Palette::WarmToCool, 0.9, 0x424A9C},
      {Palette::WarmToCool, 1, 0x5E3C92},     {Palette::WarmToCool, 0.05, 0xBF3129},
      {Palette::WarmToCool, 0.975, 0x574095}, {Palette::WarmToCool, -0.2, 0xA51A26},
      {Palette::WarmToCool, 1.2, 0x5E3C92},   {Palette::Grey, 0, 0x000000},
      {Palette::Grey, 0.25, 0x404040},        {Palette::Grey, 1, 0xFFFFFF},
      {Palette::Grey, -7, 0x000000},          {Palette::Grey, 7, 0xFFFFFF},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(hexAt(c.palette, c.place), c.colour) << static_cast<int>(c.palette) << " at " << c.place;
  }
}

TEST(ColourMapTest, ScalesPlaceNumbersAndFindThemAgain) {
  const struct {
    double low, high;
    bool isReciprocal;
    double number, place;
  } cases[] = {
      {1000, 3000, false, 1000, 0},    {1000, 3000, false, 1500, 0.25}, {1000, 3000, false, 3000, 1},
      {100, 400, true, 400, 0},        {100, 400, true, 100, 1},        {100, 400, true, 160, 0.5},
      {100, 400, true, 800, -1.0 / 6}, {0, 255, false, 51, 0.2},
  };
  vycam::Scale scale;
  for (const auto& c : cases) {
    scale.low = c.low, scale.high = c.high, scale.isReciprocal = c.isReciprocal;
    EXPECT_NEAR(scale.placeOf(c.number), c.place, 1e-12) << c.number;
    EXPECT_NEAR(scale.numberAt(c.place), c.number, 1e-9) << c.place;
  }
  scale.isReciprocal = true;
  EXPECT_EQ(scale.placeOf(0), 1) << "a disparity of 0 is as far as can be";
}

TEST(ColourMapTest, ScalesLeaveTheOutermostHundredthOut) {
  // 200 numbers from 1001 to 1200, and zeros that do not count.
  vycam::GreyImage rising{100, 3, std::vector<uint16_t>(300)};
  for (int i = 0; i < 200; ++i) rising.pixels[static_cast<size_t>(i)] = static_cast<uint16_t>(1001 + i);
  const vycam::GreyImage black{1, 1, {0}};
  const vycam::GreyImage one{1, 1, {7}};
  const vycam::GreyImage ends{2, 1, {1, 65535}};
  const struct {
    std::vector<const vycam::GreyImage*> images;
    double low, high;
  } cases[] = {
      {{&rising}, 1003, 1198}, {{&rising, &one}, 1002, 1198}, {{&one}, 7, 8}, {{&ends}, 1, 65535}, {{&black}, 1, 2},
  };
  for (const auto& c : cases) {
    const vycam::Scale scale = vycam::scaleFor(c.images, "title");
    EXPECT_EQ(scale.low, c.low) << c.images[0]->pixels[0];
    EXPECT_EQ(scale.high, c.high) << c.images[0]->pixels[0];
    EXPECT_EQ(scale.title, "title");
    EXPECT_TRUE(!scale.isReciprocal && scale.missing == 0 && scale.palette == Palette::WarmToCool);
  }
}

}  // namespace
