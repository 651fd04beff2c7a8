// The flaws of what cameras see: noise, shadows, rims, speckles. How they look in the room is kept in SceneTest.cpp.
#include <algorithm>
#include <cmath>

#include "simhost/SimulatedHost.h"

namespace {

class Flaws : public SimulatedHost {};

Image rawWordsOf(const Camera& camera) {
  return pixelsOf(process(makeFilter("CorvidPixelOffsetFix"), nextFrame(camera)));
}

TEST_F(Flaws, NoiseIsTheSameForTheSameFrameOnly) {
  const Camera camera = openCamera("Corvid", 320, 200, {2000}, 1, false);
  const Camera twin = openCamera("Corvid", 320, 200, {2000}, 1, false);
  std::vector<Image> frames, holes;
  for (int i = 0; i < 10; ++i) {
    frames.push_back(rawWordsOf(camera));
    EXPECT_EQ(rawWordsOf(twin), frames.back()) << i;
    Image isHole = frames.back();
    for (uint16_t& pixel : isHole) pixel = pixel == 0;
    holes.push_back(isHole);
  }
  EXPECT_NE(frames[0], frames[1]);
  EXPECT_EQ(holes[0], holes[7]);  // patches without a measurement stay for eight frames
  EXPECT_NE(holes[0], holes[8]);
  EXPECT_EQ(holes[8], holes[9]);
  const auto lightOf = [](const Camera& from, VYSensorType sensor) { return bytesOf(nextFrame(from, sensor)); };
  const Image wall = {0};  // without dots
  const Camera pair = openCamera("Pellan", 64, 64, wall, 1, false);
  const std::vector<uint8_t> left = lightOf(pair, VY_SENSOR_IR_LEFT);
  EXPECT_NE(left, lightOf(pair, VY_SENSOR_IR_RIGHT));
  EXPECT_NE(left, lightOf(pair, VY_SENSOR_IR_LEFT));
  EXPECT_EQ(left, lightOf(openCamera("Pellan", 64, 64, wall, 1, false), VY_SENSOR_IR_LEFT));
}

// The right lens of a pair does not see what is close to the left of something near; a single lens is no pair.
TEST_F(Flaws, ShadowsLieLeftOfNearThings) {
  // 4659200 / 1000 mm = 4659 steps, / 3873 mm = 1203: 27 pixels of 128 steps between them.
  Image scene(1280, 3873);
  std::fill_n(scene.begin() + 600, 100, uint16_t{1000});
  const Image words = rawWordsOf(openCamera("Corvid", 1280, 800, scene, 1280, false));
  std::vector<int> holes(1280);
  for (size_t i = 0; i < words.size(); ++i) holes[i % 1280] += words[i] == 0;
  for (size_t x = 40; x < 1280; ++x) {
    const bool isShadow = x >= 600 - 27 && x < 600;
    EXPECT_EQ(holes[x] > 700, isShadow) << x;  // a few have speckles in them
  }
}

TEST_F(Flaws, TimeOfFlightLosesTheRimsOfEdges) {
  const struct {
    uint16_t left, right;
    bool isLeftLost, isRightLost;
  } cases[] = {
      {1000, 2000, true, true},  {2000, 1000, true, true},  {1200, 1300, false, false}, {1200, 1301, true, false},
      {1301, 1200, false, true}, {1200, 1308, true, false}, {1200, 1309, true, false},  {1200, 1310, true, true},
  };
  for (const auto& each : cases) {
    const Image pixels = pixelsOf(nextFrame(openCamera("Ostrel", 6, 1, {each.left, each.right}, 2, false)));
    const bool lost[] = {false, false, each.isLeftLost, each.isRightLost, false, false};
    for (size_t x = 0; x < 6; ++x) EXPECT_EQ(pixels[x] == 0, lost[x]) << each.left << " " << each.right << " " << x;
  }
}

// Where there is no light to measure, there is no wrong measurement either, though speckles lie beside.
TEST_F(Flaws, TimeOfFlightHolesHaveNoSpeckles) {
  Image stripes;
  for (int i = 0; i < 64; ++i) stripes.push_back(i % 2 == 0 ? 0 : 2500);
  const Image pixels = pixelsOf(nextFrame(openCamera("Vashti", 640, 576, stripes, 64, false)));
  long speckles = 0;
  for (size_t i = 0; i < pixels.size(); ++i) {
    const bool isHole = i / 10 % 2 == 0;
    EXPECT_TRUE(!isHole || pixels[i] == 0) << i;
    speckles += pixels[i] != 0 && std::abs(pixels[i] - 2500) > 1;
  }
  EXPECT_GT(speckles, 100);
}

// Speckles are what the noise filter of the family's chain finds: no larger, no more like the pixels around them.
TEST_F(Flaws, SpecklesAreJustWhatTheNoiseFilterRemoves) {
  const struct {
    const char* family;
    const char* unpacker;
    uint32_t width, height;
    double size, difference;  ///< of a speckle; 0 for families without any
  } cases[] = {
      {"Corvid", "CorvidPixelOffsetFix", 1280, 800, 25, 256}, {"Talon", "TalonFrameUnpacker", 848, 480, 25, 256},
      {"Mirel", "FrameUnpacker", 1280, 960, 25, 512},         {"Pellan", "TiberonDecompress", 640, 400, 6, 512},
      {"Halden", "FrameUnpacker", 800, 600, 25, 256},         {"Ostrel", "DepthResize", 640, 576, 12, 10},
      {"SpecialOpenNI", "FrameUnpacker", 1280, 800, 25, 256}, {"Vashti", "DepthResize", 640, 576, 12, 10},
      {"NormalOpenNI", "FrameUnpacker", 1280, 800, 25, 256},  {"Sorrel", "FrameUnpacker", 640, 480, 0, 0},
      {"Talon", "TalonFrameUnpacker", 120, 120, 0, 0},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.family);
    const Filter unpacker = makeFilter(each.unpacker);
    const Frame clean = process(unpacker, nextFrame(openCamera(each.family, each.width, each.height, {2500}, 1)));
    const uint16_t value = pixelsOf(clean).front();
    const Frame noisy =
        process(unpacker, nextFrame(openCamera(each.family, each.width, each.height, {2500}, 1, false)));
    const auto strangers = [&](const Image& pixels) {
      return std::count_if(pixels.begin(), pixels.end(), [&](int p) { return p != 0 && std::abs(p - value) > 1; });
    };
    const auto filtered = [&](double size, double difference) {
      const std::string settings =
          "MaxSpeckleSize=" + std::to_string(size) + " MaxDifference=" + std::to_string(difference) +
          " ReferenceWidth=" + std::to_string(each.width) + " ReferenceHeight=" + std::to_string(each.height);
      return strangers(pixelsOf(process(configured("NoiseRemovalFilter", settings), noisy)));
    };
    const auto all = strangers(pixelsOf(noisy));
    // Three cells of eight have a speckle; cells are 44 pixels wide.
    const double cells = std::floor((each.width - 2) / 44.0) * std::floor((each.height - 2) / 44.0) * 3 / 8;
    EXPECT_EQ(filtered(each.size, each.difference), 0);
    if (each.size == 0) continue;
    EXPECT_GT(static_cast<double>(all), cells);
    EXPECT_LT(static_cast<double>(all), cells * each.size);
    EXPECT_GT(filtered(1, each.difference), 0);
    EXPECT_EQ(filtered(each.size, each.difference + 400), all) << "one with what is around them";
  }
}

}  // namespace
