// What colour and infrared cameras show of scenes whose light can be worked out by hand. Dots from each lens, and which
// pictures are mirrored, is kept in SceneTest.cpp.
#include <set>

#include "simhost/SimulatedHost.h"

namespace {

class Pictures : public SimulatedHost {};

/// The brightness of each pixel, that of green in colour frames.
Image lightOf(const Frame& frame) {
  const VYFormat format = call(vy_frame_get_format, frame.get());
  if (format == VY_FORMAT_Y10 || format == VY_FORMAT_Y10_MIPI) {
    return pixelsOf(process(makeFilter("FrameUnpacker"), frame));
  }
  const std::vector<uint8_t> bytes = bytesOf(frame);
  Image light;
  for (size_t i = 0; i < bytes.size(); i += format == VY_FORMAT_RGB ? 3 : 1) {
    light.push_back(bytes[i + (format == VY_FORMAT_RGB ? 1 : 0)]);
  }
  return light;
}

TEST_F(Pictures, LightUpAFlatWallAndDotsOnIt) {
  const struct {
    uint16_t depth;
    std::vector<uint16_t> grey, withDots, tenBits;
    std::vector<uint8_t> colour;
  } cases[] = {
      {0, {10}, {10}, {40}, {12, 11, 8}},
      {1000, {165}, {165, 237, 255}, {661, 950, 1023}, {175, 171, 139}},
      {4000, {93}, {93, 111, 147}, {373, 445, 589}, {75, 90, 95}},
      {9000, {32}, {32, 37, 47}, {128, 148, 188}, {20, 29, 37}},
  };
  const auto valuesOf = [](const Image& light) {
    const std::set<uint16_t> values(light.begin(), light.end());
    return std::vector<uint16_t>(values.begin(), values.end());
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(each.depth);
    const auto lightOfCamera = [&](const char* family, VYSensorType sensor) {
      return valuesOf(lightOf(nextFrame(openCamera(family, 64, 48, {each.depth}, 1), sensor)));
    };
    EXPECT_EQ(lightOfCamera("Ostrel", VY_SENSOR_IR), each.grey);
    EXPECT_EQ(lightOfCamera("Sorrel", VY_SENSOR_IR), each.withDots);
    EXPECT_EQ(lightOfCamera("Pellan", VY_SENSOR_IR_RIGHT), each.withDots);
    EXPECT_EQ(lightOfCamera("Talon", VY_SENSOR_IR_LEFT), each.tenBits);
    EXPECT_EQ(lightOfCamera("NormalOpenNI", VY_SENSOR_IR), each.tenBits);
    EXPECT_EQ(bytesOf(nextFrame(openCamera("Ostrel", 1, 1, {each.depth}, 1), VY_SENSOR_COLOR)), each.colour);
  }
}

TEST_F(Pictures, ShadeSlopes) {
  const struct {
    std::vector<uint16_t> scene;  // 3 x 3
    int light;                    // of the middle
  } cases[] = {
      {{2000, 2000, 2000, 2000, 2000, 2000, 2000, 2000, 2000}, 164},
      {{0, 2000, 0, 1875, 2000, 2125, 0, 2000, 0}, 208},
      {{0, 2000, 0, 2125, 2000, 1875, 0, 2000, 0}, 120},
      {{0, 2000, 0, 1874, 2000, 2125, 0, 2000, 0}, 164},  // an edge, no slope
      {{0, 2000, 0, 0, 2000, 2010, 0, 2000, 0}, 164},     // beside a hole
      {{0, 2000, 0, 1990, 2000, 0, 0, 2000, 0}, 164},
      {{0, 1875, 0, 2000, 2000, 2000, 0, 2125, 0}, 109},
      {{0, 2125, 0, 2000, 2000, 2000, 0, 1875, 0}, 219},
      {{0, 2000, 0, 1998, 2000, 2002, 0, 2000, 0}, 184},  // steep is 0.5, its share 0.447
  };
  for (const auto& each : cases) {
    const Image light = lightOf(nextFrame(openCamera("Ostrel", 3, 3, each.scene, 3), VY_SENSOR_IR));
    EXPECT_EQ(light[4], each.light * 7 / 8) << "case " << &each - cases;
  }
}

// A step of 20 mm in the middle of six pixels, across and down: only its slope is brighter or darker.
TEST_F(Pictures, ShadeASlopeWhereItIs) {
  const Image row = {2000, 2000, 2010, 2020, 2020, 2020};
  Image across = row, down;
  across.insert(across.end(), row.begin(), row.end());
  for (const uint16_t depth : row) down.insert(down.end(), 2, depth);
  const Image acrossLight = lightOf(nextFrame(openCamera("Ostrel", 6, 2, across, 6), VY_SENSOR_IR));
  const Image downLight = lightOf(nextFrame(openCamera("Ostrel", 2, 6, down, 2), VY_SENSOR_IR));
  EXPECT_EQ(acrossLight, (Image{143, 174, 179, 173, 143, 143, 143, 174, 179, 173, 143, 143}));
  EXPECT_EQ(downLight, (Image{143, 143, 105, 105, 98, 98, 105, 105, 143, 143, 143, 143}));

  Image wide(800, 2000);
  for (size_t i = 0; i < 800; ++i) wide[i] = i % 400 < 200 ? 2000 : 2010;
  const Image light = lightOf(nextFrame(openCamera("Ostrel", 400, 2, wide, 400), VY_SENSOR_IR));
  EXPECT_EQ(Image(light.begin() + 196, light.begin() + 204), (Image{143, 158, 158, 158, 158, 158, 158, 143}))
      << "three pixels far where there are many";
}

}  // namespace
