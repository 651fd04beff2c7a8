#include "Measure.h"

#include <tavrix_sim.h>
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>

#include "Allocations.h"

namespace {

// So many that the cost of measuring does not show.
constexpr std::size_t kTimes = 20;

using Side = void (Work::*)(std::size_t times);

/// The host calls of one time, without the running numbers of objects.
std::vector<std::string> recordCalls(Work& work, Side side) {
  vysim_record_start();
  (work.*side)(1);
  vysim_record_stop();
  std::vector<std::string> calls;
  for (std::size_t i = 0; i < vysim_record_count(); ++i) {
    std::string& call = calls.emplace_back();
    bool inNumber = false;
    for (const char* at = vysim_record_at(i); *at != 0; ++at) {
      inNumber = *at == '#' || (inNumber && *at >= '0' && *at <= '9');
      if (!inNumber) call += *at;
    }
  }
  vysim_record_start();  // drops the texts
  vysim_record_stop();
  return calls;
}

void countSide(const Case& each, Work& work, const char* sideName, Side side) {
  const std::uint64_t before = allocationCount();
  CALLGRIND_TOGGLE_COLLECT;
  (work.*side)(kTimes);
  CALLGRIND_TOGGLE_COLLECT;
  const std::uint64_t allocations = allocationCount() - before;
  const std::string title = each.name + "/" + sideName;
  CALLGRIND_DUMP_STATS_AT(title.c_str());
  std::printf("%s\t%s\t%zu\t%llu\n", each.name.c_str(), sideName, kTimes, static_cast<unsigned long long>(allocations));
}

}  // namespace

void demandSameHostCalls(const Case& each, Work& work) {
  const std::vector<std::string> library = recordCalls(work, &Work::library);
  const std::vector<std::string> floor = recordCalls(work, &Work::floor);
  if (library == floor) return;
  std::fprintf(stderr, "vyfp_bench: %s: the floor makes other host calls than the library (%zu and %zu)\n",
               each.name.c_str(), floor.size(), library.size());
  for (std::size_t i = 0; i < library.size() || i < floor.size(); ++i) {
    const char* const ours = i < library.size() ? library[i].c_str() : "(nothing)";
    const char* const theirs = i < floor.size() ? floor[i].c_str() : "(nothing)";
    if (std::string(ours) == theirs) continue;
    std::fprintf(stderr, "  call %zu:\n    library: %s\n    floor:   %s\n", i + 1, ours, theirs);
    break;
  }
  std::exit(1);
}

void count(const std::vector<Case>& cases) {
  for (const Case& each : cases) {
    const std::unique_ptr<Work> work = each.make();
    // This is also the first time, which may cost more than later ones.
    demandSameHostCalls(each, *work);
    countSide(each, *work, "library", &Work::library);
    countSide(each, *work, "floor", &Work::floor);
  }
}
