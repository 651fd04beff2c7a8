// Measures times. With --count, under callgrind, it counts instructions and allocations instead; with --pixels it
// compares the simulated host's real filters with memcpy.
#include <benchmark/benchmark.h>
#include <vy_frame_processor.h>

#include <cstring>

#include "Cameras.h"
#include "Measure.h"
#include "Pixels.h"
#include "TrivialHost.h"

namespace {

using Side = void (Work::*)(std::size_t times);

void timeSide(benchmark::State& state, const Case& each, Side side) {
  const std::unique_ptr<Work> work = each.make();
  demandSameHostCalls(each, *work);
  constexpr std::size_t kBatch = 16;
  while (state.KeepRunningBatch(kBatch)) (work.get()->*side)(kBatch);
}

/// Each thread has a camera and a context of its own. All share the registry of private filters.
void timeCameras(benchmark::State& state, const char* family, Side side) {
  for (const Case& each : allCases()) {
    if (each.name != std::string("frame/") + family) continue;
    const std::unique_ptr<Work> work = each.make();
    constexpr std::size_t kBatch = 16;
    while (state.KeepRunningBatch(kBatch)) (work.get()->*side)(kBatch);
  }
}

}  // namespace

int main(int argc, char** argv) {
  vysim::onRefusal = [](const vysim::Error& error) { throw vysim::CallFailed(error); };  // ends the program
  if (argc == 2 && std::strcmp(argv[1], "--pixels") == 0) {
    comparePixelFilters();
    return 0;
  }
  makeHostTrivial();
  const std::vector<Case> cases = allCases();
  if (argc == 2 && std::strcmp(argv[1], "--count") == 0) {
    count(cases);
    countCameras();
    return 0;
  }
  for (const Case& each : cases) {
    if (!each.isTimed) continue;
    benchmark::RegisterBenchmark((each.name + "/library").c_str(), timeSide, each, &Work::library);
    benchmark::RegisterBenchmark((each.name + "/floor").c_str(), timeSide, each, &Work::floor);
  }
  for (const char* const family : {"Corvid", "SpecialOpenNI"}) {
    for (const auto& [name, side] :
         {std::pair<const char*, Side>{"library", &Work::library}, {"floor", &Work::floor}}) {
      const std::string title = std::string("cameras/") + family + "/" + name;
      benchmark::RegisterBenchmark(title.c_str(), timeCameras, family, side)->DenseThreadRange(1, 8)->UseRealTime();
    }
  }
  registerCameras();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
