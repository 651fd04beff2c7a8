// What distinguishes the camera families and their sensors, on scenes whose true picture is plain.
#include <algorithm>
#include <cmath>
#include <numeric>
#include <set>

#include "simhost/SimulatedHost.h"

namespace {

class Cameras : public SimulatedHost {};

/// The papers of a family.
struct Family {
  const char* name;
  const char* unpacker;  ///< of its depth frames; empty where they are words
  uint32_t width, height;
  double focalLength, baseline;
  int subPixelBits, largestRaw;
  double scale, offset;  ///< true depth = measured depth * scale + offset
  bool isInfraredMirrored;
};

constexpr Family kFamilies[] = {
    {"Talon", "TalonFrameUnpacker", 848, 480, 430, 50, 8, 16383, 0.985, 12, false},
    {"Mirel", "FrameUnpacker", 1280, 960, 920, 55, 5, 4095, 1, 0, false},
    {"Pellan", "TiberonDecompress", 1280, 800, 910, 50, 5, 65535, 1, 0, false},
    {"Corvid", "CorvidPixelOffsetFix", 1280, 800, 910, 40, 7, 65535, 1, 0, true},
    {"Halden", "FrameUnpacker", 800, 600, 570, 50, 5, 2047, 1, 0, true},
    {"Ostrel", "", 640, 576, 505, 0, 0, 65535, 1, 0, false},
    {"Vashti", "", 640, 576, 505, 0, 0, 65535, 1, 0, false},
    {"Sorrel", "FrameUnpacker", 640, 480, 460, 65, 4, 1023, 1, 0, true},
    {"SpecialOpenNI", "FrameUnpacker", 1280, 800, 910, 65, 4, 2047, 1, 0, false},
    {"NormalOpenNI", "FrameUnpacker", 1280, 800, 910, 65, 5, 4095, 1, 0, false},
};

/// The 16-bit words of a raw frame of a family's depth sensor.
Frame wordsOf(const Family& family, const Frame& raw) {
  return process(makeFilter(*family.unpacker != 0 ? family.unpacker : "DepthResize"), raw);
}

Image depthsOf(const Family& family, const Frame& words) {
  if (family.baseline == 0) return pixelsOf(words);
  return pixelsOf(process(makeFilter("HardwareD2DCorrectionFilter"), process(makeFilter("DisparityTransform"), words)));
}

// A scene with every depth from 0 on shows the whole way from millimetres to raw values and back.
TEST_F(Cameras, MeasureEveryDepthAsTheirOpticsSay) {
  for (const Family& family : kFamilies) {
    SCOPED_TRACE(family.name);
    const uint32_t width = family.width / 4, height = 70;  // a quarter of the native focal length
    Image scene(size_t{width} * height);
    std::iota(scene.begin(), scene.end(), uint16_t{0});
    const Camera camera = openCamera(family.name, width, height, scene, width);
    const Frame words = wordsOf(family, nextFrame(camera));
    const Image raw = pixelsOf(words), depths = depthsOf(family, words), truth = truthOf(camera, words);
    const double product = family.focalLength / 4 * family.baseline * (1 << family.subPixelBits);
    const auto rounded = [](double value) { return std::floor(value + 0.5); };
    Image expected, expectedTruth;
    double worst = 0;
    for (const uint16_t depth : scene) {
      const double believed = (depth - family.offset) / family.scale;
      double value = family.baseline == 0 ? depth : believed < 1 ? 0 : rounded(product / believed);
      const bool isFar = depth > 10000 || (family.baseline != 0 && rounded(product / value) > 10000);
      if (value > family.largestRaw || isFar) value = 0;
      expected.push_back(static_cast<uint16_t>(value));
      expectedTruth.push_back(value == 0 ? uint16_t{0} : depth);
      if (value == 0) continue;
      const double tolerance = call(vysim_camera_get_depth_tolerance, camera.get(), depth);
      worst = std::max(worst, std::abs(depths[depth] - depth) / tolerance);
    }
    EXPECT_EQ(raw, expected);
    EXPECT_EQ(truth, expectedTruth);
    EXPECT_GE(std::count(truth.begin(), truth.end(), 0), 1 + static_cast<long>(scene.size()) - 10001);
    EXPECT_LE(worst, 1) << "farther off than the camera says it may be";
    EXPECT_GE(worst, family.baseline != 0 ? 0.9 : 0) << "the camera allows more than it needs";
  }
}

TEST_F(Cameras, TolerateHalfAStepAndRounding) {
  const struct {
    const char* family;
    uint32_t width;
    uint16_t depth;
    double tolerance;
  } cases[] = {
      {"Pellan", 0, 1000, 1456000 / 1455.5 - 1000 + 0.5},
      {"Pellan", 0, 0, 0.5},
      {"Pellan", 640, 1000, 728000 / 727.5 - 1000 + 0.5},
      {"Talon", 0, 1982, (5504000 / 2751.5 - 2000 + 0.5) * 0.985 + 0.5},  // 1982 mm is believed to be 2000
      {"Talon", 0, 12, 0.5},
      {"Ostrel", 0, 5000, 0.5},
      {"Sorrel", 4, 5000, 2990 / (0.598 - 0.5) - 5000 + 0.5},
      {"Sorrel", 4, 6000, 65535 - 6000 + 0.5},  // half a step less than less than half a step
  };
  for (const auto& each : cases) {
    const Camera camera = openCamera(each.family, each.width, each.width, {1}, 1);
    EXPECT_NEAR(call(vysim_camera_get_depth_tolerance, camera.get(), each.depth), each.tolerance, 1e-6)
        << each.family << " " << each.depth;
  }
}

// ---- Streams ----

/// Sensor: width x height, format, pixel type.
constexpr const char* kStreams[] = {
    "3: 848x480 21 0, 2: 1280x720 22 3, 6: 848x480 10 2, 7: 848x480 10 2",
    "3: 1280x960 12 0, 2: 1280x960 22 3, 6: 1280x960 24 2, 7: 1280x960 24 2",
    "3: 1280x800 25 0, 2: 1280x720 22 3, 6: 1280x800 9 2, 7: 1280x800 9 2, 9: 1280x800 9 2",
    "3: 1280x800 8 0, 2: 1280x720 22 3, 1: 1280x800 10 2, 6: 1280x800 10 2, 7: 1280x800 10 2",
    "3: 800x600 11 0, 2: 640x480 22 3, 1: 800x600 10 2",
    "3: 640x576 8 1, 2: 1280x720 22 3, 1: 640x576 9 2",
    "3: 640x576 8 1, 2: 1280x720 22 3, 1: 640x576 9 2",
    "3: 640x480 24 0, 2: 640x480 22 3, 1: 640x480 9 2",
    "3: 1280x800 11 0, 2: 1280x720 22 3, 1: 1280x800 10 2",
    "3: 1280x800 12 0, 2: 1280x720 22 3, 1: 1280x800 24 2",
};

TEST_F(Cameras, HaveTheStreamsOfTheirFamily) {
  ASSERT_EQ(vysim_family_count(), std::size(kFamilies));
  EXPECT_EQ(vysim_family_at(std::size(kFamilies)), nullptr);
  for (size_t i = 0; i < std::size(kFamilies); ++i) {
    const vysim_family& family = *vysim_family_at(i);
    EXPECT_STREQ(family.name, kFamilies[i].name);
    EXPECT_TRUE(family.focal_length_px == static_cast<float>(kFamilies[i].focalLength) &&
                family.baseline_mm == static_cast<float>(kFamilies[i].baseline) &&
                family.sub_pixel_bits == kFamilies[i].subPixelBits);
    const Camera camera = openCamera(family.name, 0, 0, {1000}, 1);
    std::string streams, frames;
    for (size_t n = 0; n < family.stream_count; ++n) {
      const vysim_stream& stream = family.streams[n];
      const auto text = [&](uint32_t width, uint32_t height, VYFormat format, VYPixelType type) {
        return (n == 0 ? "" : ", ") + std::to_string(stream.sensor) + ": " + std::to_string(width) + "x" +
               std::to_string(height) + " " + std::to_string(format) + " " + std::to_string(type);
      };
      streams += text(stream.width, stream.height, stream.format, stream.pixel_type);
      const Frame frame = nextFrame(camera, stream.sensor);
      frames += text(call(vy_video_frame_get_width, frame.get()), call(vy_video_frame_get_height, frame.get()),
                     call(vy_frame_get_format, frame.get()), call(vy_video_frame_get_pixel_type, frame.get()));
    }
    EXPECT_EQ(streams, kStreams[i]);
    EXPECT_EQ(frames, kStreams[i]);
    const DeviceInfo info(call(vy_device_get_device_info, call(vysim_camera_get_device, camera.get())));
    EXPECT_EQ(call(vy_device_info_get_vid, info.get()), family.vid);
    EXPECT_EQ(call(vy_device_info_get_pid, info.get()), family.pids[0]);
  }
  EXPECT_EQ(vysim_find_family("sOrReL"), vysim_family_at(7));
  EXPECT_EQ(vysim_find_family("Sorrels"), nullptr);
  EXPECT_EQ(vysim_find_family(nullptr), nullptr);
}

/// How far right of the depth sensor a sensor sits, in millimetres.
float placeOf(const vysim_family& family, VYSensorType sensor) {
  return sensor == VY_SENSOR_COLOR ? 22 : sensor == VY_SENSOR_IR_RIGHT ? family.baseline_mm : 0;
}

TEST_F(Cameras, TellLensesAndTheirPlaces) {
  for (const Family& papers : kFamilies) {
    const vysim_family& family = *vysim_find_family(papers.name);
    for (const bool isSmall : {false, true}) {
      const Camera camera = openCamera(family.name, isSmall ? 96 : 0, isSmall ? 40 : 0, {1000}, 1);
      for (size_t from = 0; from < family.stream_count; ++from) {
        const vysim_stream& stream = family.streams[from];
        SCOPED_TRACE(std::string(family.name) + " " + std::to_string(stream.sensor));
        const Frame frame = nextFrame(camera, stream.sensor);
        const StreamProfile profile(call(vy_frame_get_stream_profile, frame.get()));
        const VYCameraIntrinsic lens = call(vy_video_stream_profile_get_intrinsic, profile.get());
        const uint32_t width = isSmall ? 96 : stream.width, height = isSmall ? 40 : stream.height;
        const double native = stream.sensor == VY_SENSOR_COLOR ? 0.72 * stream.width : papers.focalLength;
        EXPECT_NEAR(lens.fx, native * width / stream.width, 1e-3);
        EXPECT_NEAR(lens.fy, native * height / stream.height, 1e-3);
        EXPECT_TRUE(lens.cx == (static_cast<float>(width) - 1) / 2 && lens.cy == (static_cast<float>(height) - 1) / 2);
        EXPECT_TRUE(lens.width == static_cast<int>(width) && lens.height == static_cast<int>(height));
        for (size_t to = 0; to < family.stream_count; ++to) {
          // What lies straight ahead of one lens lies left of a lens further right.
          const VYSensorType target = family.streams[to].sensor;
          const float right = placeOf(family, stream.sensor) - placeOf(family, target);
          const VYExtrinsic expected{{1, 0, 0, 0, 1, 0, 0, 0, 1}, {right, 0, 0}};
          const VYExtrinsic motion =
              call(vysim_profile_get_extrinsic, profile.get(), static_cast<VYStreamType>(target));
          EXPECT_EQ(std::memcmp(&motion, &expected, sizeof motion), 0) << "to " << target;
        }
      }
    }
  }
}

// ---- Pictures ----

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

TEST_F(Cameras, MirrorTheInfraredOfSomeFamiliesOnly) {
  for (const Family& papers : kFamilies) {
    const vysim_family& family = *vysim_find_family(papers.name);
    const Camera camera = openCamera(family.name, 64, 4, {1000, 1000, 1000, 4000}, 4);  // far on the right
    for (size_t i = 0; i < family.stream_count; ++i) {
      const vysim_stream& stream = family.streams[i];
      if (stream.sensor == VY_SENSOR_DEPTH) continue;
      const Image light = lightOf(nextFrame(camera, stream.sensor));
      long left = 0, right = 0;
      for (size_t pixel = 0; pixel < light.size(); ++pixel) {
        if (pixel % 64 < 16) left += light[pixel];
        if (pixel % 64 >= 48) right += light[pixel];
      }
      EXPECT_EQ(left < right, papers.isInfraredMirrored && stream.sensor != VY_SENSOR_COLOR)
          << family.name << " " << stream.sensor;
    }
  }
}

TEST_F(Cameras, LightUpAFlatWallAndDotsOnIt) {
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

TEST_F(Cameras, ShadeSlopes) {
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

// The projector's dots lie where it throws them: their disparity is that of the wall.
TEST_F(Cameras, SeeTheSameDotsFromEachLens) {
  constexpr size_t kWidth = 1280;  // 910 px * 40 mm / 1300 mm = 28 px
  const auto picture = [&](uint16_t depth, VYSensorType sensor) {
    const Camera camera = openCamera("Corvid", 0, 0, {depth}, 1);
    Image light = lightOf(nextFrame(camera, sensor));
    const auto background = *std::min_element(light.begin(), light.end());
    for (size_t i = 0; i < light.size(); i += kWidth) {
      std::reverse(light.begin() + static_cast<long>(i), light.begin() + static_cast<long>(i + kWidth));
    }
    for (uint16_t& pixel : light) pixel = pixel > background;
    return light;
  };
  const Image middle = picture(1300, VY_SENSOR_IR_LEFT);
  const struct {
    Image other;
    size_t shift;  ///< of the first picture, to the right against the other
  } cases[] = {{picture(1300, VY_SENSOR_IR_RIGHT), 28}, {picture(2600, VY_SENSOR_IR_LEFT), 7}};
  for (const auto& each : cases) {
    for (size_t i = 0; i < middle.size(); i += kWidth) {
      const auto row = middle.begin() + static_cast<long>(i), otherRow = each.other.begin() + static_cast<long>(i);
      const auto shift = static_cast<long>(each.shift);
      ASSERT_TRUE(std::equal(row + shift, row + kWidth, otherRow)) << "shift " << shift;
    }
  }
  const Image single = picture(1300, VY_SENSOR_IR);
  EXPECT_TRUE(std::equal(single.begin() + 14, single.begin() + kWidth, middle.begin()));
  // Three cells of four hold a dot, of three pixels; cells are 5 pixels wide. A dot's rim may be cut by its cell.
  const auto dots = static_cast<double>(std::count(middle.begin(), middle.end(), 1));
  EXPECT_NEAR(dots / static_cast<double>(middle.size()), 0.75 * 2.6 / 25, 0.004);
}

// ---- Frames and truth ----

TEST_F(Cameras, KnowTheTruthWhereverFiltersMoveIt) {
  const Image scene = {1001, 1002, 1003, 1004, 1005, 1006};  // 3 x 2
  const VYCameraIntrinsic lens{10, 20, 0.25F, 1.5F, 3, 2};
  using Settings = std::vector<std::pair<const char*, double>>;
  const struct {
    std::vector<std::pair<const char*, Settings>> filters;
    Image truth;
    VYCameraIntrinsic lens;
  } cases[] = {
      {{{"FrameMirror", {}}}, {1003, 1002, 1001, 1006, 1005, 1004}, {10, 20, 1.75F, 1.5F, 3, 2}},
      {{{"FrameFlip", {}}}, {1004, 1005, 1006, 1001, 1002, 1003}, {10, 20, 0.25F, -0.5F, 3, 2}},
      {{{"FrameRotate", {{"Angle", 90}}}}, {1004, 1001, 1005, 1002, 1006, 1003}, {20, 10, -0.5F, 0.25F, 2, 3}},
      {{{"FrameRotate", {{"Angle", 180}}}}, {1006, 1005, 1004, 1003, 1002, 1001}, {10, 20, 1.75F, -0.5F, 3, 2}},
      {{{"FrameRotate", {{"Angle", 270}}}}, {1003, 1006, 1002, 1005, 1001, 1004}, {20, 10, 1.5F, 1.75F, 2, 3}},
      {{{"DepthResize", {{"OutputWidth", 4}, {"OutputHeight", 3}, {"BorderLeft", 1}, {"BorderTop", 1}}}},
       {0, 0, 0, 0, 0, 1001, 1002, 1003, 0, 1004, 1005, 1006},
       {10, 20, 1.25F, 2.5F, 4, 3}},
      {{{"DepthResize",
         {{"OutputWidth", 4}, {"OutputHeight", 2}, {"Scale", 2}, {"BorderRight", -2}, {"BorderTop", -2}}}},
       {1004, 1004, 1005, 1005, 1004, 1004, 1005, 1005},
       {20, 40, 1, 1.5F, 4, 2}},
      {{{"DepthResize", {{"OutputWidth", 4}, {"OutputHeight", 3}, {"Scale", 1.5}}}},
       {1001, 1002, 1002, 1003, 1004, 1005, 1005, 1006, 1004, 1005, 1005, 1006},
       {15, 30, 0.625F, 2.5F, 4, 3}},
      {{{"FrameRotate", {{"Angle", 90}}}, {"FrameMirror", {}}, {"FrameFlip", {}}},
       {1003, 1006, 1002, 1005, 1001, 1004},
       {20, 10, 1.5F, 1.75F, 2, 3}},
      {{{"DepthResize", {{"OutputWidth", 4}, {"OutputHeight", 2}, {"BorderLeft", 1}}},
        {"FrameRotate", {{"Angle", 270}}}},
       {1003, 1006, 1002, 1005, 1001, 1004, 0, 0},
       {20, 10, 1.5F, 1.75F, 2, 4}},
  };
  for (const auto& each : cases) {
    const Camera camera = openCamera("Vashti", 3, 2, scene, 3);
    Frame frame(call(vy_create_frame_from_other_frame, nextFrame(camera).get(), true));
    const StreamProfile profile(call(vy_frame_get_stream_profile, frame.get()));
    call(vy_video_stream_profile_set_intrinsic, profile.get(), lens);
    for (const auto& [name, settings] : each.filters) {
      const Filter filter = makeFilter(name);
      for (const auto& [item, value] : settings) call(vy_filter_set_config_value, filter.get(), item, value);
      frame = process(filter, frame);
    }
    EXPECT_EQ(truthOf(camera, frame), each.truth) << "case " << &each - cases;
    EXPECT_EQ(pixelsOf(frame), each.truth) << "case " << &each - cases;
    const StreamProfile moved(call(vy_frame_get_stream_profile, frame.get()));
    const VYCameraIntrinsic got = call(vy_video_stream_profile_get_intrinsic, moved.get());
    EXPECT_EQ(std::memcmp(&got, &each.lens, sizeof got), 0)
        << "case " << &each - cases << ": " << got.fx << " " << got.fy << " " << got.cx << " " << got.cy;
    for (const bool isCopy : {true, false}) {
      const Frame copy(call(vy_create_frame_from_other_frame, frame.get(), isCopy));
      EXPECT_EQ(truthOf(camera, copy), each.truth);
    }
  }
}

TEST_F(Cameras, NumberFramesBySensorAndRememberTheirMoment) {
  const Camera camera = openCamera("Halden", 64, 48);
  const Frame first = nextFrame(camera);
  const Image truth = truthOf(camera, first);
  nextFrame(camera, VY_SENSOR_COLOR);
  for (int i = 0; i < 9; ++i) nextFrame(camera);
  const Frame tenth = nextFrame(camera);
  EXPECT_EQ(call(vysim_frame_get_number, tenth.get()), 10U);
  EXPECT_EQ(call(vysim_frame_get_number, nextFrame(camera, VY_SENSOR_COLOR).get()), 1U);
  EXPECT_EQ(call(vysim_frame_get_number, process(makeFilter("FrameUnpacker"), tenth).get()), 10U);
  EXPECT_NE(truthOf(camera, tenth), truth);
  EXPECT_EQ(truthOf(camera, first), truth);
}

TEST_F(Cameras, RefuseSenselessOptionsAndFrames) {
  const Image image = {1000, 1000};
  const struct {
    const char* family;
    vysim_camera_options options;
    int type;
    const char* messagePart;
  } cases[] = {
      {"Talon", {1, 1, true, nullptr, 0, 0}, 0, ""},
      {"Talon", {4096, 1, true, image.data(), 2, 1}, 0, ""},
      {"Talon", {1, 4096, true, image.data(), 1, 2}, 0, ""},
      {"Talon", {4097, 1, true, nullptr, 0, 0}, kInvalidValue, "a stream must be 1 to 4096"},
      {"Talon", {1, 4097, true, nullptr, 0, 0}, kInvalidValue, "is 1 x 4097"},
      {"Talon", {0, 1, true, nullptr, 0, 0}, kInvalidValue, "is 0 x 1"},
      {"Talon", {1, 0, true, nullptr, 0, 0}, kInvalidValue, "is 1 x 0"},
      {"Talon", {1, 1, true, image.data(), 0, 0}, kInvalidValue, "the depth image must be 1 to 16384"},
      {"Talon", {1, 1, true, image.data(), 2, 0}, kInvalidValue, "is 2 x 0"},
      {"Talon", {1, 1, true, image.data(), 16385, 1}, kInvalidValue, "is 16385 x 1"},
      {"Talon", {1, 1, true, image.data(), 1, 16385}, kInvalidValue, "is 1 x 16385"},
      {"Talon", {1, 1, true, nullptr, 2, 0}, kInvalidValue, "a size of 2 x 0"},
      {"Talon", {1, 1, true, nullptr, 0, 1}, kInvalidValue, "depth_mm is null"},
      {"Telon", {}, kNotFound, "\"Telon\"; there are Talon, Mirel, Pellan,"},
      {nullptr, {}, kInvalidValue, "NULL"},
  };
  ErrorSlot slot;
  for (const auto& each : cases) {
    const Camera camera(vysim_open_camera(each.family, &each.options, slot));
    const Error error = slot.take();
    EXPECT_EQ(error.exceptionType, each.type) << error.message;
    EXPECT_NE(error.message.find(each.messagePart), std::string::npos) << error.message;
    EXPECT_EQ(camera == nullptr, each.type != 0);
  }
  const Camera camera = openCamera("Talon", 8, 8);
  EXPECT_EQ(vysim_camera_next_frame(camera.get(), VY_SENSOR_IR, slot), nullptr);
  EXPECT_EQ(slot.take().message, "a Talon camera has no sensor of type 1; it has 3, 2, 6, 7");
  Image truth(64);
  const Frame depth = nextFrame(camera);
  for (const VYSensorType sensor : {VY_SENSOR_COLOR, VY_SENSOR_IR_LEFT}) {
    vysim_camera_get_truth(camera.get(), nextFrame(camera, sensor).get(), truth.data(), slot);
    EXPECT_EQ(slot.take().exceptionType, kUnsuitableFrame) << sensor;
  }
  vysim_camera_get_truth(camera.get(), makeFrame(VY_FORMAT_Y16, VY_PIXEL_COLOR, 8, 8).get(), truth.data(), slot);
  EXPECT_EQ(slot.take().exceptionType, kUnsuitableFrame);
  vysim_camera_get_truth(camera.get(), depth.get(), nullptr, slot);
  EXPECT_EQ(slot.take().exceptionType, kInvalidValue);
}

}  // namespace
