// Cameras with a rate: when their frames come, and which of them are lost.
#include <chrono>
#include <future>
#include <thread>

#include "simhost/SimulatedHost.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

class Pacing : public SimulatedHost {
 protected:
  static Camera open(uint32_t fps) {
    vysim_camera_options options{};
    options.width = options.height = 8;
    options.fps = fps;
    return Camera(call(vysim_open_camera, "Corvid", &options));
  }
  static uint32_t numberOf(const Frame& frame) { return call(vysim_frame_get_number, frame.get()); }
  static uint64_t timeOf(const Frame& frame) { return call(vysim_frame_get_time, frame.get()); }
};

TEST_F(Pacing, FramesComeAtTheirMomentsAndLateOnesAreLost) {
  const Camera camera = open(100);
  const auto start = steady_clock::now();
  uint32_t last = 0;
  for (int i = 0; i < 5; ++i) {
    const Frame frame = nextFrame(camera);
    EXPECT_GE(steady_clock::now() - start, milliseconds(10 * numberOf(frame)));
    EXPECT_EQ(timeOf(frame), 10000 * numberOf(frame));
    EXPECT_TRUE(numberOf(frame) > last || i == 0);
    last = numberOf(frame);
  }
  std::this_thread::sleep_for(milliseconds(50));
  const Frame frame = nextFrame(camera);
  EXPECT_GE(numberOf(frame), last + 5);
  for (const bool isCopy : {true, false})
    EXPECT_EQ(timeOf(Frame(call(vy_create_frame_from_other_frame, frame.get(), isCopy))), timeOf(frame));
  EXPECT_GE(numberOf(nextFrame(camera, VY_SENSOR_COLOR)), numberOf(frame)) << "sensors share a clock";
}

TEST_F(Pacing, NoSensorWaitsForAnother) {
  const Camera camera = open(1);
  nextFrame(camera);
  const auto waiting = std::async(std::launch::async, [&] { nextFrame(camera); });
  std::this_thread::sleep_for(milliseconds(50));
  EXPECT_EQ(numberOf(nextFrame(camera, VY_SENSOR_COLOR)), 0U);
  EXPECT_EQ(waiting.wait_for(milliseconds(0)), std::future_status::timeout);
}

TEST_F(Pacing, APausedCameraStepsFromFrameToFrame) {
  const Camera camera = open(1);
  nextFrame(camera);
  call(vysim_camera_pause, camera.get(), true);
  const auto start = steady_clock::now();
  for (const uint32_t number : {1U, 2U, 3U}) EXPECT_EQ(numberOf(nextFrame(camera)), number);
  EXPECT_EQ(numberOf(nextFrame(camera, VY_SENSOR_COLOR)), 0U) << "each sensor steps for itself";
  call(vysim_camera_pause, camera.get(), false);
  EXPECT_EQ(numberOf(nextFrame(camera, VY_SENSOR_COLOR)), 3U) << "the clock goes on at the newest frame";
  EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(3)) << "none of them was waited for";
  call(vysim_camera_pause, camera.get(), false);
  EXPECT_EQ(numberOf(nextFrame(camera)), 4U) << "what goes on already is left alone";
}

TEST_F(Pacing, APauseMayBeLong) {
  const Camera camera = open(1000);
  call(vysim_camera_pause, camera.get(), true);
  for (int i = 0; i < 4400; ++i) nextFrame(camera);  // of more than 2^32 millionths of a second at a frame a second
  const auto start = steady_clock::now();
  call(vysim_camera_pause, camera.get(), false);
  nextFrame(camera);
  EXPECT_LT(steady_clock::now() - start, std::chrono::seconds(2));
}

TEST_F(Pacing, WithoutARateEveryFrameComesAtOnce) {
  const Camera camera = open(0);
  for (const uint32_t number : {0U, 1U, 2U, 3U}) {
    const Frame frame = nextFrame(camera);
    EXPECT_EQ(numberOf(frame), number);
    EXPECT_EQ(timeOf(frame), number * 1000000ULL / 30);
  }
  EXPECT_EQ(timeOf(makeFrame()), 0U);
}

}  // namespace
