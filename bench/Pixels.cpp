#include "Pixels.h"

#include <tavrix_sim.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <vector>

namespace {

using vysim::call;
using vysim::Frame;

constexpr int kRounds = 60;

/// The shortest of many rounds, as disturbances only make them longer.
template <typename Job>
double shortestMilliseconds(Job job) {
  double shortest = 1e9;
  for (int i = 0; i < kRounds; ++i) {
    const auto start = std::chrono::steady_clock::now();
    job();
    const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - start;
    shortest = std::min(shortest, taken.count());
  }
  return shortest;
}

Frame compare(const char* filterName, const char* family, const Frame& input) {
  const vysim::Filter filter(call(vy_create_filter, filterName));
  Frame output(call(vy_filter_process, filter.get(), input.get()));
  const std::size_t size = call(vysim_frame_get_size, output.get());
  const std::uint8_t* const bytes = call(vysim_frame_get_data, output.get());
  std::vector<std::uint8_t> copy(size);
  const double copying = shortestMilliseconds([&] {
    std::memcpy(copy.data(), bytes, size);
    asm volatile("" : : "r"(copy.data()) : "memory");  // keeps the compiler from dropping the copy
  });
  const double filtering =
      shortestMilliseconds([&] { Frame(call(vy_filter_process, filter.get(), input.get())).reset(); });
  std::printf("%-20s %-14s %7.3f ms  memcpy %7.3f ms  ratio %5.2f\n", filterName, family, filtering, copying,
              filtering / copying);
  return output;
}

}  // namespace

void comparePixelFilters() {
  vysim_camera_options options = {};
  options.width = 1280;
  options.height = 800;
  for (const char* const family : {"Talon", "Mirel", "Halden", "Sorrel", "SpecialOpenNI"}) {
    const vysim::Camera camera(call(vysim_open_camera, family, &options));
    const Frame raw(call(vysim_camera_next_frame, camera.get(), VY_SENSOR_DEPTH));
    const bool isTalon = std::strcmp(family, "Talon") == 0;
    const Frame words = compare(isTalon ? "TalonFrameUnpacker" : "FrameUnpacker", family, raw);
    if (isTalon) {
      const Frame depth = compare("DisparityTransform", family, words);
      compare("FrameMirror", family, depth);
      compare("FrameFlip", family, depth);
    }
  }
}
