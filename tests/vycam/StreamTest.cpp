// Frames on their way: what is made of their pixels, and what is told when a call of the host fails.
#include "Stream.h"

#include <dlfcn.h>
#include <unistd.h>

#include <csignal>
#include <cstring>

#include "Signals.h"
#include "VirtualCamera.h"
#include "view/Plane.h"
#include "vycam/VycamTest.h"

namespace {

using vycam::Frame;

Frame makeFrame(VYFormat format, VYPixelType type, const std::vector<uint8_t>& bytes) {
  Frame frame(vycam::call("make a frame", vysim_create_frame, 2U, 1U, format, type));
  std::memcpy(vycam::call("write", vysim_frame_get_data, frame.get()), bytes.data(), bytes.size());
  return frame;
}

TEST(StreamTest, FramesBecomeNumbersAndColours) {
  const struct {
    VYFormat format;
    VYPixelType type;
    std::vector<uint8_t> bytes;
    std::vector<uint16_t> numbers;
    std::vector<uint8_t> colours;
    const char* facts;
  } cases[] = {
      {VY_FORMAT_Y16, VY_PIXEL_DEPTH, {1, 2, 0, 0xFF}, {0x201, 0xFF00}, {}, "2x1, 16-bit words, depth in mm"},
      {VY_FORMAT_Y8, VY_PIXEL_INTENSITY, {7, 255}, {7, 255}, {}, "2x1, 8-bit grey, infrared brightness"},
      {VY_FORMAT_RGB, VY_PIXEL_COLOR, {1, 2, 3, 4, 5, 6}, {}, {1, 2, 3, 4, 5, 6}, "2x1, RGB, 8 bits each, colour"},
      {VY_FORMAT_Y12, VY_PIXEL_DISPARITY, {0, 0, 0}, {}, {}, "2x1, 12-bit packed, disparity"},
      {VY_FORMAT_Y16, static_cast<VYPixelType>(77), {1, 0, 2, 0}, {1, 2}, {}, "2x1, 16-bit words, unknown pixels"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.facts);
    const Frame frame = makeFrame(c.format, c.type, c.bytes);
    EXPECT_EQ(vycam::factsOf(frame.get()).describe(), c.facts);
    EXPECT_EQ(vycam::isPlain(c.format), !c.numbers.empty() || !c.colours.empty());
    std::vector<uint16_t> numbers;
    std::vector<uint8_t> colours;
    const std::string facts = c.facts;
    EXPECT_EQ(refusal([&] { numbers = vycam::greyPixels(frame.get()).pixels; }),
              c.numbers.empty() ? "a frame does not have one number per pixel: " + facts : "accepted");
    EXPECT_EQ(refusal([&] { colours = vycam::colourPixels(frame.get()); }),
              c.colours.empty() ? "a frame does not have colours: " + facts : "accepted");
    EXPECT_EQ(numbers, c.numbers);
    EXPECT_EQ(colours, c.colours);
    EXPECT_EQ(refusal([&] {
                vycam::decodeForView(frame.get(), {{"FrameMirror", "", {}, true}});
              }),
              vycam::isPlain(c.format) ? "accepted" : "no filter of the chain decodes frames of this kind: " + facts);
  }
}

TEST(StreamTest, WhatNoPlaneCanBeMadeOfIsTold) {
  const auto refused = [](VYPixelType type) {
    const std::shared_ptr<vy_frame_t> frame = makeFrame(VY_FORMAT_Y8, type, {1, 2});
    return refusal([&] { vycam::planeOf(vycam::Role::after, frame); });
  };
  EXPECT_EQ(refused(VY_PIXEL_DEPTH), "a frame (2x1, 8-bit grey, depth in mm) has fewer bytes than its pixels need");
  EXPECT_EQ(refused(static_cast<VYPixelType>(77)), "a frame has unknown pixels");
  EXPECT_EQ(refused(VY_PIXEL_INTENSITY), "accepted");
}

TEST(StreamTest, ASignalThatCameFirstEndsTheRun) {
  const auto run = [](int first) {
    signal(SIGINT, SIG_DFL);  // whoever starts the tests may ignore it
    vycam::takeSignals();
    raise(first);
    raise(SIGHUP);
    vycam::Progress progress("", 1);
    vycam::StreamOptions options;
    options.family = &vycam::parseFamily("Corvid");
    const std::string said = refusal([&] { vycam::runStream(vycam::Library(""), options, progress); });
    fputs(said.c_str(), stderr);
    _exit(vycam::takenSignal());
  };
  for (const int first : {SIGINT, SIGTERM}) {
    EXPECT_EXIT(run(first), testing::ExitedWithCode(first), "^ended by a signal; nothing was written$");
  }
}

TEST(StreamTest, FailedCallsOfTheHostAreToldAndLeaveNothingBehind) {
  const vycam::Library library("");
  vycam::Progress progress("", 1);
  const struct {
    const char* family;
    const char* function;
    uint64_t nth;
    const char* said;
  } cases[] = {
      {"Corvid", "vy_device_get_device_info", 1, "cannot open the camera in the library: "},
      {"Corvid", "vy_filter_process", 1, "cannot process a frame: "},
      {"Corvid", "vy_frame_get_stream_profile", 1, "cannot read a frame's profile: "},
      {"Corvid", "vy_video_stream_profile_get_intrinsic", 1, "cannot read a frame's intrinsics: "},
      {"Corvid", "vy_video_frame_get_width", 1, "cannot read a frame's size: "},
      {"Corvid", "vy_video_frame_get_height", 1, "cannot read a frame's size: "},
      {"Corvid", "vy_frame_get_format", 1, "cannot read a frame's format: "},
      {"Corvid", "vy_video_frame_get_pixel_type", 1, "cannot read a frame's pixel type: "},
      {"Corvid", "vy_create_frame_from_other_frame", 1, "cannot copy a frame: "},
      // Behind the four filters of the chain, of which three are on.
      {"Halden", "vy_create_filter", 5, "cannot make a decoder: "},
      {"Halden", "vy_filter_process", 4, "cannot decode a frame: "},
      {"Halden", "no function at all", 1, "accepted"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.said);
    vycam::StreamOptions options;
    options.family = &vycam::parseFamily(c.family);
    options.size = {64, 48};
    if (c.family == std::string("Corvid"))
      options.hardwareD2C.emplace();
    else
      options.sensor = VY_SENSOR_IR;
    vysim_reset();
    vysim_count_calls(true);
    vysim_fail_call(c.function, c.nth, VYSIM_FAULT_ERROR);
    expectParts(refusal([&] { vycam::runStream(library, options, progress); }), {c.said});
    EXPECT_EQ(vysim_fail_count(), c.said == std::string("accepted") ? 0U : 1U);
    EXPECT_TRUE(options.hardwareD2C || vysim_call_count("vy_filter_set_config_value") == 0) << "no setting was given";
    for (int kind = 0; kind < VYSIM_KIND_COUNT; ++kind) {
      EXPECT_EQ(vysim_live_count(static_cast<vysim_kind>(kind)), 0U) << vysim_kind_name(static_cast<vysim_kind>(kind));
    }
  }
  vysim_reset();
}

TEST(StreamTest, CamerasWithoutProductsOrChainsAreTold) {
  vysim_family family{};
  family.name = "Raven";
  EXPECT_EQ(refusal([&] { vycam::makeDevice(family); }), "the host knows no product of family Raven");
  expectParts(refusal([&] { vycam::openCamera(family, {}, false, {}); }), {"cannot open the camera: "});
  const vycam::Camera halden = vycam::openCamera(vycam::parseFamily("Halden"), {}, false, {});
  expectParts(refusal([&] { vycam::nextFrame(halden.get(), VY_SENSOR_9); }), {"cannot get a frame from the camera: "});
  const vycam::Device corvid = vycam::makeDevice(vycam::parseFamily("Corvid"));
  const vysim::DeviceInfo info(vycam::call("ask", vy_device_get_device_info, corvid.get()));
  EXPECT_EQ(vycam::call("ask", vy_device_info_get_pid, info.get()), 0x414B) << "its first product";
  {
    const vycam::Library library("");
    const vycam::Device device(vysim_create_device(1, 2));
    const vycam::Context context(library, device.get());
    EXPECT_EQ(refusal([&] { context.makeProcessor("Raven", VY_SENSOR_IR); }),
              "Raven cameras have no chain for sensor ir; they have one for none");
  }
  EXPECT_EQ(dlopen("libvy_frame_processor.so.1", RTLD_NOW | RTLD_NOLOAD), nullptr) << "the library stays loaded";
}

}  // namespace
