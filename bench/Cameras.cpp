#include "Cameras.h"

#include <benchmark/benchmark.h>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <string>
#include <tavrix_sim.hpp>

namespace {

using vysim::call;
using vysim::Camera;
using vysim::Frame;

const char* nameOf(VYSensorType sensor) {
  switch (sensor) {
    case VY_SENSOR_DEPTH:
      return "depth";
    case VY_SENSOR_COLOR:
      return "colour";
    case VY_SENSOR_IR:
      return "infrared";
    case VY_SENSOR_IR_LEFT:
      return "infrared-left";
    case VY_SENSOR_IR_RIGHT:
      return "infrared-right";
    default:
      return "sensor-9";
  }
}

std::string titleOf(const vysim_family& family, VYSensorType sensor) {
  return std::string("camera/") + family.name + "/" + nameOf(sensor);
}

Camera open(const vysim_family& family) {
  return Camera(call(vysim_open_camera, family.name, nullptr));
}

void takeFrame(const Camera& camera, VYSensorType sensor) {
  Frame(call(vysim_camera_next_frame, camera.get(), sensor)).reset();
}

void timeStream(benchmark::State& state, const vysim_family* family, VYSensorType sensor) {
  const Camera camera = open(*family);
  for (auto unused : state) takeFrame(camera, sensor);
}

/// A frame of each stream in every iteration. With several threads, each takes its share of the streams.
void timeAllStreams(benchmark::State& state, const vysim_family* family) {
  static Camera camera;
  if (state.thread_index() == 0) camera = open(*family);
  std::size_t frames = 0;
  for (auto unused : state) {
    const auto first = static_cast<std::size_t>(state.thread_index());
    for (std::size_t i = first; i < family->stream_count; i += static_cast<std::size_t>(state.threads())) {
      takeFrame(camera, family->streams[i].sensor);
      ++frames;
    }
  }
  state.counters["frames/s"] = benchmark::Counter(static_cast<double>(frames), benchmark::Counter::kIsRate);
}

template <typename Work>
void forEachFamily(Work work) {
  for (std::size_t i = 0; i < vysim_family_count(); ++i) work(vysim_family_at(i));
}

}  // namespace

void countCameras() {
  constexpr int kTimes = 2;
  forEachFamily([](const vysim_family* family) {
    const Camera camera = open(*family);
    for (std::size_t i = 0; i < family->stream_count; ++i) {
      const VYSensorType sensor = family->streams[i].sensor;
      const std::string title = titleOf(*family, sensor) + "/host";
      takeFrame(camera, sensor);  // also prepares what all frames share
      CALLGRIND_TOGGLE_COLLECT;
      for (int n = 0; n < kTimes; ++n) takeFrame(camera, sensor);
      CALLGRIND_TOGGLE_COLLECT;
      CALLGRIND_DUMP_STATS_AT(title.c_str());
      std::printf("%s\thost\t%d\t0\n", titleOf(*family, sensor).c_str(), kTimes);
    }
  });
}

void registerCameras() {
  forEachFamily([](const vysim_family* family) {
    for (std::size_t i = 0; i < family->stream_count; ++i) {
      const VYSensorType sensor = family->streams[i].sensor;
      benchmark::RegisterBenchmark((titleOf(*family, sensor) + "/host").c_str(), timeStream, family, sensor);
    }
    const std::string all = std::string("streams/") + family->name + "/host";
    benchmark::RegisterBenchmark(all.c_str(), timeAllStreams, family)->ThreadRange(1, 4)->UseRealTime();
  });
}
