#include "Pixels.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <vector>

#include "TrivialHost.h"

namespace {

constexpr int kRounds = 60;

/// The shortest of many rounds: what disturbs one makes it longer.
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

FrameOwner compare(const char* filterName, const char* family, const FrameOwner& input) {
  vy_filter_t* const filter = vy_create_filter(filterName, MustSucceed());
  FrameOwner output(vy_filter_process(filter, input.get(), MustSucceed()));
  const std::size_t size = vysim_frame_get_size(output.get(), MustSucceed());
  const std::uint8_t* const bytes = vysim_frame_get_data(output.get(), MustSucceed());
  std::vector<std::uint8_t> copy(size);
  const double copying = shortestMilliseconds([&] {
    std::memcpy(copy.data(), bytes, size);
    asm volatile("" : : "r"(copy.data()) : "memory");  // the copy is wanted
  });
  const double filtering =
      shortestMilliseconds([&] { FrameOwner(vy_filter_process(filter, input.get(), MustSucceed())).reset(); });
  std::printf("%-20s %-14s %7.3f ms  memcpy %7.3f ms  ratio %5.2f\n", filterName, family, filtering, copying,
              filtering / copying);
  vy_delete_filter(filter, MustSucceed());
  return output;
}

}  // namespace

void comparePixelFilters() {
  vysim_camera_options options = {};
  options.width = 1280;
  options.height = 800;
  for (const char* const family : {"Talon", "Mirel", "Halden", "Sorrel", "SpecialOpenNI"}) {
    vysim_camera* const camera = vysim_open_camera(family, &options, MustSucceed());
    const FrameOwner raw(vysim_camera_next_frame(camera, VY_SENSOR_DEPTH, MustSucceed()));
    const bool isTalon = std::strcmp(family, "Talon") == 0;
    const FrameOwner words = compare(isTalon ? "TalonFrameUnpacker" : "FrameUnpacker", family, raw);
    if (isTalon) {
      const FrameOwner depth = compare("DisparityTransform", family, words);
      compare("FrameMirror", family, depth);
      compare("FrameFlip", family, depth);
    }
    vysim_close_camera(camera, MustSucceed());
  }
}
