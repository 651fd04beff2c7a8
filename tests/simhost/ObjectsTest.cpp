// Frames, their profiles and bytes, and the memory behind handles.
#include <functional>
#include <thread>
#include <tuple>

#include "simhost/SimulatedHost.h"

namespace {

class Objects : public SimulatedHost {};

TEST_F(Objects, FramesMadeFromOthersHaveProfilesOfTheirOwn) {
  const Frame frame = makeFrame(VY_FORMAT_Y16, VY_PIXEL_DEPTH);
  call(vysim_frame_get_data, frame.get())[0] = 7;
  const StreamProfile profile(call(vy_frame_get_stream_profile, frame.get()));
  call(vy_video_stream_profile_set_distortion, profile.get(), VYCameraDistortion{1, 2, 3, 4, 5, 6, 7, 8, 9});
  call(vy_stream_profile_set_extrinsic_to_type, profile.get(), VY_STREAM_IR, VYExtrinsic{{1}, {2}});
  const Frame copies[] = {Frame(call(vy_create_frame_from_other_frame, frame.get(), true)),
                          Frame(call(vy_create_frame_from_other_frame, frame.get(), false)),
                          process(makeFilter("DepthResize"), frame)};
  const int firstBytes[] = {7, 0, 7};
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(call(vysim_frame_get_data, copies[i].get())[0], firstBytes[i]);
    const StreamProfile copied(call(vy_frame_get_stream_profile, copies[i].get()));
    EXPECT_EQ(call(vysim_profile_get_distortion, copied.get()).p2, 8);
    EXPECT_EQ(call(vysim_profile_get_extrinsic, copied.get(), VY_STREAM_IR).trans[0], 2);
    call(vy_video_stream_profile_set_intrinsic, copied.get(), VYCameraIntrinsic{1, 1, 1, 1, 1, 1});
    call(vy_stream_profile_set_extrinsic_to_type, copied.get(), VY_STREAM_IR, VYExtrinsic{});
    call(vy_video_stream_profile_set_distortion, copied.get(), VYCameraDistortion{});
  }
  EXPECT_EQ(call(vy_video_stream_profile_get_intrinsic, profile.get()).width, 6);
  EXPECT_EQ(call(vysim_profile_get_distortion, profile.get()).k1, 1);
  EXPECT_EQ(call(vysim_profile_get_extrinsic, profile.get(), VY_STREAM_IR).rot[0], 1);
}

TEST_F(Objects, FramesHaveTheBytesOfTheirFormat) {
  const struct {
    VYFormat format;
    const char* name;
    size_t bytes;  // of 5 x 3 pixels
  } formats[] = {
      {VY_FORMAT_Y16, "16-bit words", 30},
      {VY_FORMAT_Y8, "8-bit grey", 15},
      {VY_FORMAT_Y10, "10-bit packed", 3 * 7},
      {VY_FORMAT_Y11, "11-bit packed", 3 * 7},
      {VY_FORMAT_Y12, "12-bit packed", 3 * 8},
      {VY_FORMAT_Y14, "14-bit packed", 3 * 9},
      {VY_FORMAT_RGB, "RGB, 8 bits each", 45},
      {VY_FORMAT_Y10_MIPI, "10-bit in groups of four", 3 * 10},
      {VY_FORMAT_RLE, "16-bit run-length compressed", 4},
      {static_cast<VYFormat>(13), "unknown", 30},
  };
  for (const auto& each : formats) {
    EXPECT_STREQ(vysim_format_name(each.format), each.name);
    {  // what lay in the buffer before does not show
      const Frame used = makeFrame(VY_FORMAT_Y16, VY_PIXEL_DEPTH, 5, 3);
      std::memset(call(vysim_frame_get_data, used.get()), 0xFF, 30);
    }
    const Frame frame = makeFrame(each.format, VY_PIXEL_DISPARITY, 5, 3);
    const std::vector<uint8_t> bytes = bytesOf(frame);
    EXPECT_EQ(bytes,
              each.format == VY_FORMAT_RLE ? (std::vector<uint8_t>{15, 0, 0, 0}) : std::vector<uint8_t>(each.bytes))
        << each.name;
    EXPECT_EQ(bytesOf(Frame(call(vy_create_frame_from_other_frame, frame.get(), false))), bytes);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(call(vysim_frame_get_data, frame.get())) % 64, 0U);
  }
  ErrorSlot slot;
  for (const auto& [width, height, isGood] : {std::tuple(0U, 1U, false),
                                              {1U, 0U, false},
                                              {16384U, 1U, true},
                                              {1U, 16384U, true},
                                              {16385U, 1U, false},
                                              {1U, 16385U, false},
                                              {UINT32_MAX, UINT32_MAX, false}}) {
    for (const VYFormat format : {VY_FORMAT_Y8, VY_FORMAT_RLE}) {
      const Frame frame(vysim_create_frame(width, height, format, VY_PIXEL_DEPTH, slot));
      EXPECT_EQ(slot.take().exceptionType, isGood ? 0 : kInvalidValue) << width << " x " << height;
    }
  }
  const std::pair<VYPixelType, const char*> types[] = {{VY_PIXEL_DISPARITY, "disparity"},
                                                       {VY_PIXEL_INTENSITY, "intensity"},
                                                       {VY_PIXEL_COLOR, "colour"},
                                                       {static_cast<VYPixelType>(4), "unknown"}};
  for (const auto& [type, name] : types) {
    EXPECT_EQ(
        vy_filter_process(makeFilter("HardwareD2DCorrectionFilter").get(), makeFrame(VY_FORMAT_Y16, type).get(), slot),
        nullptr);
    EXPECT_EQ(slot.take().message,
              std::string("HardwareD2DCorrectionFilter works on depth frames but got a frame of ") + name);
  }
  EXPECT_EQ(vy_filter_process(makeFilter("DepthResize").get(), makeFrame(VY_FORMAT_Y14).get(), slot), nullptr);
  EXPECT_EQ(slot.take().message, "DepthResize works on Y16 frames but got a frame of format 21 (14-bit packed)");
  const StreamProfile profile(
      call(vy_frame_get_stream_profile, makeFrame(VY_FORMAT_Y16, VY_PIXEL_DEPTH, 80, 41).get()));
  const VYCameraIntrinsic plain = call(vy_video_stream_profile_get_intrinsic, profile.get()),
                          expected{70, 70, 39.5F, 20, 80, 41};
  EXPECT_EQ(std::memcmp(&plain, &expected, sizeof plain), 0);
}

TEST_F(Objects, BuffersAreUsedAgainTheWarmestFirst) {
  // Capacities are whole pages; no other test uses these.
  const auto make = [](uint32_t height) { return makeFrame(VY_FORMAT_Y8, VY_PIXEL_INTENSITY, 4096, height); };
  const auto dataOf = [](const Frame& frame) { return call(vysim_frame_get_data, frame.get()); };
  Frame first = make(37), second = make(37);
  const uint8_t* const a = dataOf(first);
  const uint8_t* const b = dataOf(second);
  first.reset();
  second.reset();
  const Frame other = make(38);
  EXPECT_TRUE(dataOf(other) != a && dataOf(other) != b);
  const Frame third = make(37), fourth = makeFrame(VY_FORMAT_Y8, VY_PIXEL_INTENSITY, 4095, 37);
  EXPECT_TRUE(dataOf(third) == b && dataOf(fourth) == a);
}

TEST_F(Objects, HandlesServeAgainAfter256Deaths) {
  std::vector<Device> living;  // take the place of those beyond 256 that have died in other tests
  for (int i = 0; i < 50; ++i) living.emplace_back(vysim_create_device(1, 2));
  Device device(vysim_create_device(1, 2));
  const vy_device_t* const handle = device.get();
  int others = -1;
  do {
    device.reset();
    device.reset(vysim_create_device(1, 2));
    ++others;
  } while (device.get() != handle && others < 1000);
  EXPECT_EQ(others, 256);
  EXPECT_EQ(vysim_live_count(VYSIM_DEVICE), 51U);
  EXPECT_EQ(vysim_live_count(VYSIM_KIND_COUNT), 0U);
  const char* const kinds[] = {"device", "device_info", "filter", "schema_list", "frame", "stream_profile", "error"};
  for (size_t kind = 0; kind < std::size(kinds); ++kind) {
    EXPECT_STREQ(vysim_kind_name(static_cast<vysim_kind>(kind)), kinds[kind]);
  }
  EXPECT_STREQ(vysim_kind_name(VYSIM_KIND_COUNT), "unknown");
}

// The thread sanitizer's build finds a lock that is missing here. Each kind of work has the threads for itself, as the
// locks of other calls would put its own calls in order.
TEST_F(Objects, AreSharedBetweenThreads) {
  const Camera camera = openCamera("Pellan", 16, 8, false);
  const Frame frame = nextFrame(camera);
  const StreamProfile profile(call(vy_frame_get_stream_profile, frame.get()));
  vy_stream_profile_t* const shared = profile.get();
  const vysim_filter_definition definition{"Passing", nullptr, false, nullptr, 0, nullptr, nullptr};
  call(vysim_define_filter, &definition);
  constexpr int kThreads = 3, kRounds = 100;
  const Filter filters[kThreads] = {makeFilter("Passing"), makeFilter("Passing"), makeFilter("Passing")};
  const std::function<void(int)> works[] = {
      [&](int) { truthOf(camera, nextFrame(camera)), nextFrame(camera, VY_SENSOR_IR_LEFT); },
      [&](int) {
        call(vy_video_stream_profile_set_intrinsic, shared, VYCameraIntrinsic{});
        Frame(call(vy_create_frame_from_other_frame, frame.get(), true));
      },
      [&](int) {
        call(vy_video_stream_profile_set_intrinsic, shared, VYCameraIntrinsic{});
        call(vy_video_stream_profile_get_intrinsic, shared);
      },
      [&](int) {
        call(vy_video_stream_profile_set_distortion, shared, VYCameraDistortion{});
        call(vysim_profile_get_distortion, shared);
      },
      [&](int) {
        call(vy_stream_profile_set_extrinsic_to_type, shared, VY_STREAM_IR, VYExtrinsic{});
        call(vysim_profile_get_extrinsic, shared, VY_STREAM_IR);
      },
      [&](int) { call(vysim_define_filter, &definition), vysim_reset(), vy_create_filter("Nothing", nullptr); },
      // Switching something on puts the threads in order too, so more is done between.
      [&](int) {
        vysim_record_start();
        for (int n = 0; n < 5; ++n) vy_frame_get_format(frame.get(), nullptr), vysim_record_at(0);
      },
      [&](int) { vysim_record_start(), vysim_record_count(); },
      [&](int i) {
        uint64_t calls = 0;
        vysim_timing_start();
        for (int n = 0; n < 5; ++n) process(filters[i], frame), vysim_timing_total(&calls, nullptr);
      },
      [&](int i) {
        vysim_timing_start();
        for (int n = 0; n < 5; ++n) process(filters[i], frame), vysim_timing_filter_at(0);
      },
      [&](int i) { vysim_timing_start(), process(filters[i], frame), vysim_timing_filter_count(); },
      [&](int) {
        vysim_fail_call("vy_frame_get_format", 1, VYSIM_FAULT_NULL), vy_frame_get_format(frame.get(), nullptr);
      },
      [&](int) { vysim_fail_call("vy_frame_get_format", 1, VYSIM_FAULT_NULL), vysim_fail_clear(); },
      [&](int) { vysim_fail_call("vy_frame_get_format", 1, VYSIM_FAULT_NULL), vysim_reset(), vysim_fail_count(); },
      [&](int) { vysim_count_calls(true), vy_filter_reset(nullptr, nullptr), vysim_call_count(nullptr); },
      [&](int) { vysim_reset(), vy_filter_reset(nullptr, nullptr), vysim_refused_function_at(0); },
  };
  for (const auto& work : works) {
    vysim_reset();
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&work, i] {
        for (int round = 0; round < kRounds; ++round) work(i);
      });
    }
    for (std::thread& thread : threads) thread.join();
  }
  EXPECT_EQ(call(vysim_frame_get_number, nextFrame(camera).get()), uint32_t{kThreads * kRounds + 1});
}

}  // namespace
