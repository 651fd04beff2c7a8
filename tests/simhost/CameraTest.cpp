// What distinguishes the camera families and their sensors, on scenes whose true picture is plain.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <numeric>

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
};

constexpr Family kFamilies[] = {
    {"Talon", "TalonFrameUnpacker", 848, 480, 430, 50, 8, 16383, 0.985, 12},
    {"Mirel", "FrameUnpacker", 1280, 960, 920, 55, 5, 4095, 1, 0},
    {"Pellan", "TiberonDecompress", 1280, 800, 910, 50, 5, 65535, 1, 0},
    {"Corvid", "CorvidPixelOffsetFix", 1280, 800, 910, 40, 7, 65535, 1, 0},
    {"Halden", "FrameUnpacker", 800, 600, 570, 50, 5, 2047, 1, 0},
    {"Ostrel", "", 640, 576, 505, 0, 0, 65535, 1, 0},
    {"Vashti", "", 640, 576, 505, 0, 0, 65535, 1, 0},
    {"Sorrel", "FrameUnpacker", 640, 480, 460, 65, 4, 1023, 1, 0},
    {"SpecialOpenNI", "FrameUnpacker", 1280, 800, 910, 65, 4, 2047, 1, 0},
    {"NormalOpenNI", "FrameUnpacker", 1280, 800, 910, 65, 5, 4095, 1, 0},
};

/// The 16-bit words of a raw frame of a family's depth sensor.
Frame rawWordsOf(const Family& family, const Frame& raw) {
  return process(makeFilter(*family.unpacker != 0 ? family.unpacker : "DepthResize"), raw);
}

Image depthsOf(const Family& family, const Frame& words) {
  const Filter toDepth = makeFilter(family.baseline != 0 ? "DisparityTransform" : "DepthResize");
  const Filter correction = makeFilter("HardwareD2DCorrectionFilter");
  return pixelsOf(process(correction, process(toDepth, words)));
}

// A scene with every depth from 0 on shows the whole way from millimetres to raw values and back.
TEST_F(Cameras, MeasureEveryDepthAsTheirOpticsSay) {
  for (const Family& family : kFamilies) {
    SCOPED_TRACE(family.name);
    const uint32_t width = family.width / 4, height = 70;  // a quarter of the native focal length
    Image scene(size_t{width} * height);
    std::iota(scene.begin(), scene.end(), uint16_t{0});
    const Camera camera = openCamera(family.name, width, height, scene, width);
    const Frame words = rawWordsOf(family, nextFrame(camera));
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
      {"Sorrel", 4, 5980, 65535 - 5980 + 0.5},  // half a step less is infinitely far
      {"Sorrel", 4, 6000, 65535 - 6000 + 0.5},
      {"Corvid", 4, 1, 14560 / 14559.5 - 1 + 0.5},
  };
  for (const auto& each : cases) {
    const Camera camera = openCamera(each.family, each.width, each.width, {1}, 1);
    EXPECT_NEAR(call(vysim_camera_get_depth_tolerance, camera.get(), each.depth), each.tolerance, 1e-6)
        << each.family << " " << each.depth;
  }
}

TEST_F(Cameras, MeasureUpToTheLimits) {
  const struct {
    size_t family;  ///< of kFamilies
    uint32_t width;
    uint16_t depth, raw;
  } cases[] = {
      {7, 4, 2990, 1},                         // Sorrel: 460 * 4 / 640 px * 65 mm * 2^4 = 2990
      {7, 26, 19, 1023},                       // 19435 / 19, the largest that ten bits hold
      {7, 26, 18, 0},       {3, 4, 1, 14560},  // Corvid
      {3, 250, 10000, 91},                     // 910000 / 91
      {3, 250, 10001, 0},   {5, 8, 65535, 0},  // Ostrel
      {5, 8, 10000, 10000},
  };
  for (const auto& each : cases) {
    const Family& family = kFamilies[each.family];
    const Frame frame = nextFrame(openCamera(family.name, each.width, 9, {each.depth}, 1));
    EXPECT_EQ(pixelsOf(rawWordsOf(family, frame)).front(), each.raw) << family.name << " " << each.depth;
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

const std::vector<uint16_t> kIds[] = {
    {0x0351, 0x0355},
    {0x0361, 0x0362},
    {0x0371, 0x0372, 0x416B},
    {0x414B, 0x413A},
    {0x41A1},
    {0x4181, 0x41AB},
    {0x41F7},
    {0x41B5, 0x41F3},
    {0x4166, 0x4148, 0x4177, 0x4149, 0x41BC, 0x41DF, 0x41E7, 0x4113, 0x41BE, 0x41A7, 0x4196},
    {0x417D, 0x41AD, 0x4119, 0x419F, 0x4110},
};

TEST_F(Cameras, HaveTheStreamsOfTheirFamily) {
  ASSERT_EQ(vysim_family_count(), std::size(kFamilies));
  EXPECT_EQ(vysim_family_at(std::size(kFamilies)), nullptr);
  for (size_t i = 0; i < std::size(kFamilies); ++i) {
    const vysim_family& family = *vysim_family_at(i);
    EXPECT_STREQ(family.name, kFamilies[i].name);
    EXPECT_EQ(std::vector<uint16_t>(family.pids, family.pids + family.pid_count), kIds[i]);
    EXPECT_TRUE(family.focal_length_px == static_cast<float>(kFamilies[i].focalLength) &&
                family.baseline_mm == static_cast<float>(kFamilies[i].baseline) &&
                family.sub_pixel_bits == kFamilies[i].subPixelBits);
    std::string streams;
    for (size_t n = 0; n < family.stream_count; ++n) {
      const vysim_stream& stream = family.streams[n];
      EXPECT_TRUE(std::islower(stream.packing[0]) || std::isdigit(stream.packing[0])) << stream.packing;
      streams += (n == 0 ? "" : ", ") + std::to_string(stream.sensor) + ": " + std::to_string(stream.width) + "x" +
                 std::to_string(stream.height) + " " + std::to_string(stream.format) + " " +
                 std::to_string(stream.pixel_type);
    }
    EXPECT_EQ(streams, kStreams[i]);
    const Camera camera = openCamera(family.name, 1, 1, {1000}, 1);
    const DeviceInfo info(call(vy_device_get_device_info, call(vysim_camera_get_device, camera.get())));
    EXPECT_TRUE(family.vid == 0x3E71 && call(vy_device_info_get_vid, info.get()) == 0x3E71);
    EXPECT_EQ(call(vy_device_info_get_pid, info.get()), kIds[i][0]);
  }
  EXPECT_EQ(vysim_find_family("sOrReL"), vysim_family_at(7));
  EXPECT_EQ(vysim_find_family("Sorrels"), nullptr);
  EXPECT_EQ(vysim_find_family(nullptr), nullptr);

  const std::pair<int, std::vector<uint8_t>> lists[] = {{0, {0x71, 0x3E, 0x51, 0x03, 0x71, 0x3E, 0x55, 0x03}},
                                                        {3, {0x71, 0x3E, 0x61, 0x03, 0x71, 0x3E, 0x62, 0x03}},
                                                        {6, {0x71, 0x3E, 0x71, 0x03, 0x71, 0x3E, 0x72, 0x03}},
                                                        {1, {}},
                                                        {-1, {}}};
  for (const auto& [type, ids] : lists) {
    const uint8_t* data = nullptr;
    const int size = vysim_device_list(type, &data);
    EXPECT_EQ(std::vector<uint8_t>(data, data + size), ids) << type;
    EXPECT_EQ(vysim_device_list(type, nullptr), size);
  }
}

/// How far right of the depth sensor a sensor sits, in millimetres.
float placeOf(const vysim_family& family, VYSensorType sensor) {
  return sensor == VY_SENSOR_COLOR ? 22 : sensor == VY_SENSOR_IR_RIGHT ? family.baseline_mm : 0;
}

TEST_F(Cameras, TellLensesAndTheirPlaces) {
  for (const Family& papers : kFamilies) {
    const vysim_family& family = *vysim_find_family(papers.name);
    constexpr uint32_t kWidth = 96, kHeight = 40;
    const Camera camera = openCamera(family.name, kWidth, kHeight, {1000}, 1);
    for (size_t from = 0; from < family.stream_count; ++from) {
      const vysim_stream& stream = family.streams[from];
      SCOPED_TRACE(std::string(family.name) + " " + std::to_string(stream.sensor));
      const Frame frame = nextFrame(camera, stream.sensor);
      const StreamProfile profile(call(vy_frame_get_stream_profile, frame.get()));
      const VYCameraIntrinsic lens = call(vy_video_stream_profile_get_intrinsic, profile.get());
      EXPECT_TRUE(call(vy_video_frame_get_width, frame.get()) == kWidth &&
                  call(vy_video_frame_get_height, frame.get()) == kHeight &&
                  call(vy_frame_get_format, frame.get()) == stream.format &&
                  call(vy_video_frame_get_pixel_type, frame.get()) == stream.pixel_type);
      const double native = stream.sensor == VY_SENSOR_COLOR ? 0.72 * stream.width : papers.focalLength;
      EXPECT_NEAR(lens.fx, native * kWidth / stream.width, 1e-3);
      EXPECT_NEAR(lens.fy, native * kHeight / stream.height, 1e-3);
      EXPECT_TRUE(lens.cx == (static_cast<float>(kWidth) - 1) / 2 && lens.cy == (static_cast<float>(kHeight) - 1) / 2);
      EXPECT_TRUE(lens.width == int{kWidth} && lens.height == int{kHeight});
      for (size_t to = 0; to < family.stream_count; ++to) {
        // What lies straight ahead of one lens lies left of a lens further right.
        const VYSensorType target = family.streams[to].sensor;
        const float right = placeOf(family, stream.sensor) - placeOf(family, target);
        const VYExtrinsic expected{{1, 0, 0, 0, 1, 0, 0, 0, 1}, {right, 0, 0}};
        const VYExtrinsic motion = call(vysim_profile_get_extrinsic, profile.get(), static_cast<VYStreamType>(target));
        EXPECT_EQ(std::memcmp(&motion, &expected, sizeof motion), 0) << "to " << target;
      }
    }
  }
}

// ---- Frames and truth ----

TEST_F(Cameras, KnowTheTruthWhereverFiltersMoveIt) {
  const Image scene = {1001, 1002, 1003, 1004, 1005, 1006};  // 3 x 2
  const VYCameraIntrinsic lens{10, 20, 0.25F, 1.5F, 3, 2};
  const struct {
    std::vector<std::pair<const char*, const char*>> filters;
    Image truth;
    VYCameraIntrinsic lens;
  } cases[] = {
      {{{"FrameMirror", ""}}, {1003, 1002, 1001, 1006, 1005, 1004}, {10, 20, 1.75F, 1.5F, 3, 2}},
      {{{"FrameFlip", ""}}, {1004, 1005, 1006, 1001, 1002, 1003}, {10, 20, 0.25F, -0.5F, 3, 2}},
      {{{"FrameRotate", "Angle=90"}}, {1004, 1001, 1005, 1002, 1006, 1003}, {20, 10, -0.5F, 0.25F, 2, 3}},
      {{{"FrameRotate", "Angle=180"}}, {1006, 1005, 1004, 1003, 1002, 1001}, {10, 20, 1.75F, -0.5F, 3, 2}},
      {{{"FrameRotate", "Angle=270"}}, {1003, 1006, 1002, 1005, 1001, 1004}, {20, 10, 1.5F, 1.75F, 2, 3}},
      {{{"DepthResize", "OutputWidth=4 OutputHeight=3 BorderLeft=1 BorderTop=1"}},
       {0, 0, 0, 0, 0, 1001, 1002, 1003, 0, 1004, 1005, 1006},
       {10, 20, 1.25F, 2.5F, 4, 3}},
      {{{"DepthResize", "OutputWidth=4 OutputHeight=2 Scale=2 BorderRight=-2 BorderTop=-2"}},
       {1004, 1004, 1005, 1005, 1004, 1004, 1005, 1005},
       {20, 40, 1, 1.5F, 4, 2}},
      {{{"DepthResize", "OutputWidth=4 OutputHeight=3 Scale=1.5"}},
       {1001, 1002, 1002, 1003, 1004, 1005, 1005, 1006, 1004, 1005, 1005, 1006},
       {15, 30, 0.625F, 2.5F, 4, 3}},
      {{{"DepthResize", "OutputWidth=1 OutputHeight=1 Scale=0.5"}},
       {1005},  // the later one where two are equally near
       {5, 10, -0.125F, 0.5F, 1, 1}},
      {{{"FrameRotate", "Angle=90"}, {"FrameMirror", ""}, {"FrameFlip", ""}},
       {1003, 1006, 1002, 1005, 1001, 1004},
       {20, 10, 1.5F, 1.75F, 2, 3}},
      {{{"DepthResize", "OutputWidth=4 OutputHeight=2 BorderLeft=1"}, {"FrameRotate", "Angle=270"}},
       {1003, 1006, 1002, 1005, 1001, 1004, 0, 0},
       {20, 10, 1.5F, 1.75F, 2, 4}},
  };
  for (const auto& each : cases) {
    const Camera camera = openCamera("Vashti", 3, 2, scene, 3);
    Frame frame(call(vy_create_frame_from_other_frame, nextFrame(camera).get(), true));
    const StreamProfile profile(call(vy_frame_get_stream_profile, frame.get()));
    call(vy_video_stream_profile_set_intrinsic, profile.get(), lens);
    for (const auto& [name, settings] : each.filters) frame = process(configured(name, settings), frame);
    SCOPED_TRACE(&each - cases);
    EXPECT_EQ(truthOf(camera, frame), each.truth);
    EXPECT_EQ(pixelsOf(frame), each.truth);
    const StreamProfile moved(call(vy_frame_get_stream_profile, frame.get()));
    const VYCameraIntrinsic got = call(vy_video_stream_profile_get_intrinsic, moved.get());
    EXPECT_EQ(std::memcmp(&got, &each.lens, sizeof got), 0)
        << got.fx << " " << got.fy << " " << got.cx << " " << got.cy;
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
      {"Talon", {1, 1, true, nullptr, 0, 0, 0}, 0, ""},
      {"Talon", {4096, 1, true, image.data(), 2, 1, 0}, 0, ""},
      {"Talon", {1, 4096, true, image.data(), 1, 2, 0}, 0, ""},
      {"Talon", {4097, 1, true, nullptr, 0, 0, 0}, kInvalidValue, "a stream must be 1 to 4096"},
      {"Talon", {1, 4097, true, nullptr, 0, 0, 0}, kInvalidValue, "is 1 x 4097"},
      {"Talon", {0, 1, true, nullptr, 0, 0, 0}, kInvalidValue, "is 0 x 1"},
      {"Talon", {1, 0, true, nullptr, 0, 0, 0}, kInvalidValue, "is 1 x 0"},
      {"Talon", {1, 1, true, image.data(), 0, 0, 0}, kInvalidValue, "the depth image must be 1 to 16384"},
      {"Talon", {1, 1, true, image.data(), 2, 0, 0}, kInvalidValue, "is 2 x 0"},
      {"Talon", {1, 1, true, image.data(), 16385, 1, 0}, kInvalidValue, "is 16385 x 1"},
      {"Talon", {1, 1, true, image.data(), 1, 16385, 0}, kInvalidValue, "is 1 x 16385"},
      {"Talon", {1, 1, true, nullptr, 2, 0, 0}, kInvalidValue, "a size of 2 x 0"},
      {"Talon", {1, 1, true, nullptr, 0, 1, 0}, kInvalidValue, "depth_mm is null"},
      {"Talon", {1, 1, true, nullptr, 0, 0, 1000}, 0, ""},
      {"Talon", {1, 1, true, nullptr, 0, 0, 1001}, kInvalidValue, "fps must be 0 to 1000"},
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

// The largest disparity that fits the bits of a pixel is that of the nearest depth: of a smaller image, a nearer one.
TEST_F(Cameras, SeeNothingThatIsTooNear) {
  for (const auto& [family, width, height, nearest] : {std::tuple("Sorrel", 640U, 480U, 468),
                                                       {"Sorrel", 320U, 240U, 234},
                                                       {"SpecialOpenNI", 1280U, 800U, 463},
                                                       {"SpecialOpenNI", 640U, 480U, 232},
                                                       {"Ostrel", 640U, 576U, 1}}) {
    const auto seen = static_cast<uint16_t>(nearest);
    const Camera camera = openCamera(family, width, height, {static_cast<uint16_t>(nearest - 1), seen}, 2);
    const Image truth = truthOf(camera, nextFrame(camera));
    EXPECT_EQ(truth.front(), 0) << family << width;
    EXPECT_EQ(truth.at(width - 1), seen) << family << width;
  }
}

// Frames of given bytes are as good as the camera's own: same profile, same truth.
TEST_F(Cameras, TakeBytesForTheirFrames) {
  for (const char* family : {"Talon", "Pellan"}) {
    const Camera camera = openCamera(family, 32, 24);
    const Camera other = openCamera(family, 32, 24);
    for (const VYSensorType sensor : {VY_SENSOR_DEPTH, VY_SENSOR_COLOR, VY_SENSOR_IR_LEFT}) {
      nextFrame(camera, sensor);
      const Frame sent = nextFrame(camera, sensor);
      const uint8_t* const bytes = call(vysim_frame_get_data, sent.get());
      const size_t size = call(vysim_frame_get_size, sent.get());
      const Frame made(call(vysim_camera_make_frame, other.get(), sensor, 1U, bytes, size));
      EXPECT_EQ(bytesOf(made), bytesOf(sent));
      EXPECT_EQ(call(vysim_frame_get_number, made.get()), 1U);
      EXPECT_EQ(call(vysim_frame_get_time, made.get()), call(vysim_frame_get_time, sent.get()));
      if (sensor == VY_SENSOR_DEPTH) {
        EXPECT_EQ(truthOf(other, made), truthOf(camera, sent));
      }
      const Frame late(call(vysim_camera_make_frame, other.get(), sensor, 5000U, bytes, size));
      EXPECT_EQ(call(vysim_frame_get_time, late.get()), 166666666U);
      ErrorSlot slot;
      const bool isAnySize = sensor == VY_SENSOR_DEPTH && family == std::string("Pellan");
      const Frame shorter(vysim_camera_make_frame(other.get(), sensor, 1, bytes, size - 1, slot));
      EXPECT_EQ(slot.take().exceptionType, isAnySize ? 0 : kInvalidValue);
      vysim_camera_make_frame(other.get(), sensor, 1, bytes, 0, slot);
      EXPECT_EQ(slot.take().exceptionType, kInvalidValue);
      vysim_camera_make_frame(other.get(), sensor, 1, nullptr, size, slot);
      EXPECT_EQ(slot.take().message, "NULL pointer passed for argument data");
      vysim_camera_make_frame(other.get(), VY_SENSOR_IR, 1, bytes, size, slot);
      EXPECT_EQ(slot.take().exceptionType, kNotFound);
    }
  }
}

}  // namespace
