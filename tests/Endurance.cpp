// Runs frames through two depth chains for as long as one likes, with settings changed and processors remade now and
// then, and shows what memory is in use on the way. Ends with failure when memory in use grows, or an object of the
// host is left over.
//
//   vyfp_endurance [--frames N] [--processors N]
//
// Memory is looked at when all contexts have just been closed and opened again; the first tenth is warm-up. What is in
// use is told by glibc 2.33 and later; with another C library only the objects left over decide.
#include <fmt/core.h>
#include <tavrix_sim.h>
#include <vy_frame_processor.h>

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

#if __GLIBC__ * 100 + __GLIBC_MINOR__ >= 233
#include <malloc.h>
#define VYFP_HEAP_IS_TOLD 1
#else
#define VYFP_HEAP_IS_TOLD 0
#endif

namespace {

constexpr bool kHeapIsTold = VYFP_HEAP_IS_TOLD;

#if !defined(__has_feature)
#define __has_feature(feature) 0  // NOLINT: Clang's way of telling
#endif
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__) || __has_feature(address_sanitizer) || \
    __has_feature(thread_sanitizer)
constexpr bool kMemoryCounts = false;  // sanitizers keep freed memory, and notes on all of it
#else
constexpr bool kMemoryCounts = kHeapIsTold;
#endif

constexpr std::uint64_t kFramesPerSetting = 1000;
constexpr std::uint64_t kFramesPerProcessor = 5000;
constexpr std::uint64_t kFramesPerContext = 25000;
constexpr std::uint64_t kReports = 20;
/// Growth that counts as none: what the C library's heap keeps for itself varies by some pages.
constexpr std::int64_t kAllowedGrowthKiB = 256;

/// An error slot of which every use has to succeed.
class Slot {
 public:
  operator vy_error**() { return &error_; }
  ~Slot() noexcept(false) {
    if (error_ == nullptr || std::uncaught_exceptions() > 0) return;
    const std::string text = fmt::format("{}: {}", vy_error_get_function(error_), vy_error_get_message(error_));
    vy_delete_error(error_);
    throw std::runtime_error(text);
  }

 private:
  vy_error* error_ = nullptr;
};

/// Without the pages of files, such as those of libraries, which the system maps and drops as it likes, and without
/// free memory that the heap happens to keep.
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
  explicit DepthSensor(const char* family) : family_(*vysim_find_family(family)) {
    vysim_camera_options options = {};
    options.width = 8;
    options.height = 4;
    vysim_camera* const camera = vysim_open_camera(family, &options, Slot());
    for (vy_frame_t*& input : inputs_) input = vysim_camera_next_frame(camera, VY_SENSOR_DEPTH, Slot());
    vysim_close_camera(camera, Slot());
    device_ = vysim_create_device(family_.vid, family_.pids[0]);
    openContext();
  }
  DepthSensor(const DepthSensor&) = delete;
  DepthSensor& operator=(const DepthSensor&) = delete;

  void close() {
    closeContext();
    for (vy_frame_t* const input : inputs_) vy_delete_frame(input, Slot());
    vysim_delete_device(device_, Slot());
  }

  void runFrame(std::uint64_t number) {
    if (number % kFramesPerProcessor == 0) remake();
    if (number % kFramesPerSetting == 0) set(number / kFramesPerSetting);
    vy_delete_frame(vy_frame_processor_process_frame(processor_, inputs_[number % 4], Slot()), Slot());
  }

  void makeProcessors(std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i) {
      vy_destroy_frame_processor(vy_create_frame_processor(context_, VY_SENSOR_DEPTH, Slot()), Slot());
    }
  }

  void openContext() {
    context_ = vy_create_frame_processor_context(device_, Slot());
    processor_ = vy_create_frame_processor(context_, VY_SENSOR_DEPTH, Slot());
  }
  void closeContext() {
    vy_destroy_frame_processor(processor_, Slot());
    vy_destroy_frame_processor_context(context_, Slot());
  }

 private:
  void remake() {
    vy_destroy_frame_processor(processor_, Slot());
    processor_ = vy_create_frame_processor(context_, VY_SENSOR_DEPTH, Slot());
  }

  /// Every switch the other way round from turn to turn; the other settings get the value that the schema tells.
  void set(std::uint64_t turn) {
    const std::string schema = vy_frame_processor_get_config_schema(processor_, Slot());
    std::vector<std::string> texts;
    for (std::size_t begin = 0; begin < schema.size(); begin = schema.find('\n', begin) + 1) {
      std::size_t value = begin;
      for (int column = 0; column < 5; ++column) value = schema.find(", ", value) + 2;
      const bool isSwitch = schema.compare(schema.find('#', begin), 5, "#255,") == 0;
      const char* const state = (turn + texts.size()) % 2 == 0 ? "1" : "0";
      texts.push_back(isSwitch ? state : schema.substr(value, schema.find(',', value) - value));
    }
    std::vector<const char*> values;
    for (const std::string& text : texts) values.push_back(text.c_str());
    vy_frame_processor_update_config(processor_, static_cast<std::uint8_t>(values.size()), values.data(), Slot());
    const float scale = turn % 3 == 0 ? 2.0F : 1.0F;
    vy_frame_processor_set_hardware_d2c_params(processor_, {10, 10, 4, 2, 8, 4}, 0, scale, 0, 0, 0, 0, turn % 2 == 0,
                                               false, Slot());
  }

  const vysim_family& family_;
  vy_frame_t* inputs_[4] = {};
  vy_device_t* device_ = nullptr;
  vy_frame_processor_context_t* context_ = nullptr;
  vy_frame_processor_t* processor_ = nullptr;
};

/// All contexts are closed before one is opened again: what the registry keeps of old processors goes with the last.
void reopen(std::initializer_list<DepthSensor*> sensors) {
  for (DepthSensor* const sensor : sensors) sensor->closeContext();
  for (DepthSensor* const sensor : sensors) sensor->openContext();
}

/// Frames through both chains by turns. Says by how many KiB resident memory grew after the first tenth.
std::int64_t runFrames(DepthSensor& first, DepthSensor& second, std::uint64_t frames) {
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

/// What the registry keeps of the processors of an open context. Says how many bytes of it stay when that is closed.
std::int64_t measureRegistry(const char* family, std::uint64_t processors) {
  DepthSensor sensor(family);
  sensor.makeProcessors(processors);  // the simulated host keeps what is dead for use again; let there be enough
  reopen({&sensor});
  const std::int64_t before = heapBytes();
  sensor.makeProcessors(processors);
  const std::int64_t kept = heapBytes() - before;
  reopen({&sensor});
  const std::int64_t left = heapBytes() - before;
  sensor.close();
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
  vy_set_device_info_data(0, list, size, Slot());
  DepthSensor openNI("SpecialOpenNI");
  DepthSensor talon("Talon");
  std::int64_t growth = runFrames(openNI, talon, frames);
  openNI.close();
  talon.close();
  if (kHeapIsTold) {
    growth = std::max(growth, measureRegistry("SpecialOpenNI", processors) / 1024);
    growth = std::max(growth, measureRegistry("Talon", processors) / 1024);
  }
  const bool isFlat = !kMemoryCounts || growth <= kAllowedGrowthKiB;
  if (!isFlat) fmt::print("memory grew by more than the {} KiB that count as none\n", kAllowedGrowthKiB);
  return objectsAlive() == 0 && isFlat;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const bool isGood = run(option(argc, argv, "--frames", 500000), option(argc, argv, "--processors", 1000));
    fmt::print("{}\n", isGood ? "nothing left over" : "FAILED");
    return isGood ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& failure) {
    fmt::print("FAILED: {}\n", failure.what());
    return EXIT_FAILURE;
  }
}
