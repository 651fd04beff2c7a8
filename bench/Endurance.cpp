// Runs frames through two depth chains, changes settings and remakes processors now and then, and prints the memory in
// use. Fails when that grows, or when an object of the host is left over.
//
//   vyfp_endurance [--frames N] [--processors N]
//
// Memory is measured right after all contexts were closed and opened again. The first tenth is warm-up. What is in use
// is told by glibc 2.33 and later; with another C library only the objects left over decide.
#include <fmt/core.h>
#include <vy_frame_processor.h>
#include <tavrix_sim.hpp>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/SchemaText.h"

#if __GLIBC__ * 100 + __GLIBC_MINOR__ >= 233
#include <malloc.h>
#define VYFP_HEAP_IS_TOLD 1
#else
#define VYFP_HEAP_IS_TOLD 0
#endif

namespace {

using vysim::call;

constexpr bool kHeapIsTold = VYFP_HEAP_IS_TOLD;

#if !defined(__has_feature)
#define __has_feature(feature) 0  // NOLINT: Clang's way of telling
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || __has_feature(address_sanitizer) || \
    __has_feature(thread_sanitizer)
constexpr bool kMemoryCounts = false;  // sanitizers keep freed memory
#else
constexpr bool kMemoryCounts = kHeapIsTold;
#endif

constexpr std::uint64_t kFramesPerSetting = 1000;
constexpr std::uint64_t kFramesPerProcessor = 5000;
constexpr std::uint64_t kFramesPerContext = 25000;
constexpr std::uint64_t kReports = 20;
/// Growth up to this is none: what the heap keeps for itself varies by some pages.
constexpr std::int64_t kAllowedGrowthKiB = 256;

/// Counts neither pages of files, which the system maps and drops as it likes, nor free memory that the heap keeps.
std::int64_t residentKiB() {
#if VYFP_HEAP_IS_TOLD
  malloc_trim(0);
#endif
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.compare(0, 8, "RssAnon:") == 0) return std::stoll(line.substr(8));
  }
  throw std::runtime_error("/proc/self/status does not tell of RssAnon");
}

std::int64_t heapBytes() {
#if VYFP_HEAP_IS_TOLD
  const auto info = mallinfo2();
  return static_cast<std::int64_t>(info.uordblks + info.hblkhd);
#else
  return 0;
#endif
}

/// A camera's depth sensor in use: one context, one processor, a few raw frames.
class DepthSensor {
 public:
  explicit DepthSensor(const char* family) {
    vysim_camera_options options = {};
    options.width = 8;
    options.height = 4;
    const vysim::Camera camera(call(vysim_open_camera, family, &options));
    for (vysim::Frame& input : inputs_) input.reset(call(vysim_camera_next_frame, camera.get(), VY_SENSOR_DEPTH));
    const vysim_family& ids = *vysim_find_family(family);
    device_.reset(vysim_create_device(ids.vid, ids.pids[0]));
    openContext();
  }

  void runFrame(std::uint64_t number) {
    if (number % kFramesPerProcessor == 0) makeProcessors(1);
    if (number % kFramesPerSetting == 0) set(number / kFramesPerSetting);
    call(vy_delete_frame, call(vy_frame_processor_process_frame, processor_.get(), inputs_[number % 4].get()));
  }

  void makeProcessors(std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i) {
      processor_.reset();
      processor_.reset(call(vy_create_frame_processor, context_.get(), VY_SENSOR_DEPTH));
    }
  }

  void openContext() {
    context_.reset(call(vy_create_frame_processor_context, device_.get()));
    makeProcessors(1);
  }
  void closeContext() {
    processor_.reset();
    context_.reset();
  }

 private:
  /// Turns every switch the other way from turn to turn; other settings get the value in the schema.
  void set(std::uint64_t turn) {
    std::vector<std::string> values;
    for (const Setting& setting : settingsOf(call(vy_frame_processor_get_config_schema, processor_.get()))) {
      const char* const state = (turn + values.size()) % 2 == 0 ? "1" : "0";
      values.push_back(setting.isSwitch() ? state : setting.value);
    }
    call(vy_frame_processor_update_config, processor_.get(), static_cast<std::uint8_t>(values.size()),
         pointersTo(values).data());
    call([&](vy_error** error) {
      vy_frame_processor_set_hardware_d2c_params(processor_.get(), {10, 10, 4, 2, 8, 4}, 0, turn % 3 == 0 ? 2 : 1, 0, 0,
                                                 0, 0, turn % 2 == 0, false, error);
    });
  }

  vysim::Frame inputs_[4];
  vysim::Device device_;
  vysim::Owner<vy_destroy_frame_processor_context> context_;
  vysim::Owner<vy_destroy_frame_processor> processor_;
};

/// Closes all contexts before it opens one: the registry drops what it keeps of old processors with the last context.
void reopen(std::initializer_list<DepthSensor*> sensors) {
  for (DepthSensor* const sensor : sensors) sensor->closeContext();
  for (DepthSensor* const sensor : sensors) sensor->openContext();
}

/// Frames through two chains by turns. Returns by how many KiB resident memory grew after the first tenth.
std::int64_t runFrames(std::uint64_t frames) {
  DepthSensor first("SpecialOpenNI");
  DepthSensor second("Talon");
  fmt::print("{:>12} {:>10} {:>14} {:>12}\n", "frames", "seconds", "resident KiB", "heap KiB");
  const auto start = std::chrono::steady_clock::now();
  const std::uint64_t turns = std::max(frames / kFramesPerContext, kReports);
  std::int64_t warm = 0;
  std::int64_t most = 0;
  for (std::uint64_t turn = 1; turn <= turns; ++turn) {
    for (std::uint64_t number = 1; number <= kFramesPerContext / 2; ++number) {
      first.runFrame(number);
      second.runFrame(number);
    }
    reopen({&first, &second});
    most = std::max(most, residentKiB());
    if (turn == turns / 10) warm = most;
    if (turn % (turns / kReports) != 0) continue;
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    fmt::print("{:>12} {:>10.1f} {:>14} {:>12.1f}\n", turn * kFramesPerContext, seconds.count(), residentKiB(),
               static_cast<double>(heapBytes()) / 1024);
    std::fflush(stdout);
  }
  fmt::print("resident memory grew by {} KiB after the first tenth\n", most - warm);
  return most - warm;
}

/// Prints what the registry keeps of the processors of an open context. Returns how many bytes stay once it is closed.
std::int64_t measureRegistry(const char* family, std::uint64_t processors) {
  DepthSensor sensor(family);
  sensor.makeProcessors(processors);  // warm-up: the simulated host keeps dead objects for reuse
  reopen({&sensor});
  const std::int64_t before = heapBytes();
  sensor.makeProcessors(processors);
  const std::int64_t kept = heapBytes() - before;
  reopen({&sensor});
  const std::int64_t left = heapBytes() - before;
  fmt::print("{}: {} processors made while a context is open: {} bytes kept for each; {} bytes when it is closed\n",
             family, processors, kept / static_cast<std::int64_t>(processors), left);
  return left;
}

std::size_t objectsAlive() {
  std::size_t alive = 0;
  for (int kind = 0; kind < VYSIM_KIND_COUNT; ++kind) {
    const std::size_t count = vysim_live_count(static_cast<vysim_kind>(kind));
    if (count > 0) fmt::print("{} {} objects are left over\n", count, vysim_kind_name(static_cast<vysim_kind>(kind)));
    alive += count;
  }
  return alive;
}

std::uint64_t option(int argc, char** argv, const char* name, std::uint64_t otherwise) {
  for (int i = 1; i + 1 < argc; i += 2) {
    if (std::strcmp(argv[i], name) == 0) return std::max(std::strtoull(argv[i + 1], nullptr, 10), 1ULL);
  }
  return otherwise;
}

bool run(std::uint64_t frames, std::uint64_t processors) {
  if (!kHeapIsTold) fmt::print("this C library does not tell its heap (0 below), so that memory is not judged\n");
  const std::uint8_t* list = nullptr;
  const int size = vysim_device_list(0, &list);
  call(vy_set_device_info_data, 0, list, size);
  std::int64_t growth = runFrames(frames);
  if (kHeapIsTold) {
    growth = std::max(growth, measureRegistry("SpecialOpenNI", processors) / 1024);
    growth = std::max(growth, measureRegistry("Talon", processors) / 1024);
  }
  const bool isFlat = !kMemoryCounts || growth <= kAllowedGrowthKiB;
  if (!isFlat) fmt::print("memory grew by more than the {} KiB that count as none\n", kAllowedGrowthKiB);
  const std::uint64_t refused = vysim_refused_count(nullptr);
  if (refused > 0) fmt::print("the host refused {} calls, the first of {}\n", refused, vysim_refused_function_at(0));
  return objectsAlive() == 0 && refused == 0 && isFlat;
}

}  // namespace

int main(int argc, char** argv) {
  vysim::onRefusal = [](const vysim::Error& error) { throw vysim::CallFailed(error); };  // ends the program
  try {
    const bool isGood = run(option(argc, argv, "--frames", 500000), option(argc, argv, "--processors", 1000));
    fmt::print("{}\n", isGood ? "nothing left over" : "FAILED");
    return isGood ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& failure) {
    fmt::print("FAILED: {}\n", failure.what());
    return EXIT_FAILURE;
  }
}
