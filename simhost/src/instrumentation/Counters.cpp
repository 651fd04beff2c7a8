#include "instrumentation/Counters.h"

#include <deque>
#include <map>
#include <mutex>
#include <string>

namespace tavrix {
namespace {

struct Counts {
  std::mutex mutex;
  std::map<std::string, uint64_t, std::less<>> byFunction;
  uint64_t canFail = 0;
};

struct FilterTime {
  std::string name;
  uint64_t calls;
  uint64_t nanoseconds;
};

struct Times {
  std::mutex mutex;
  std::deque<FilterTime> filters;  // a deque, so that names given out stay where they are while it grows
  uint64_t calls = 0;
  uint64_t nanoseconds = 0;
};

Counts& counts() {
  static auto* const instance = new Counts;
  return *instance;
}

Times& times() {
  static auto* const instance = new Times;
  return *instance;
}

}  // namespace

namespace callCounts {

void add(const char* function, bool canFail) {
  const std::lock_guard<std::mutex> lock(counts().mutex);
  ++counts().byFunction[function];
  if (canFail) ++counts().canFail;
}

uint64_t of(const char* function) {
  const std::lock_guard<std::mutex> lock(counts().mutex);
  if (function == nullptr) return counts().canFail;
  const auto found = counts().byFunction.find(std::string_view(function));
  return found == counts().byFunction.end() ? 0 : found->second;
}

void clear() {
  const std::lock_guard<std::mutex> lock(counts().mutex);
  counts().byFunction.clear();
  counts().canFail = 0;
}

}  // namespace callCounts

namespace timing {

void clear() {
  const std::lock_guard<std::mutex> lock(times().mutex);
  times().filters.clear();
  times().calls = 0;
  times().nanoseconds = 0;
}

void addCall(std::chrono::nanoseconds duration) {
  const std::lock_guard<std::mutex> lock(times().mutex);
  ++times().calls;
  times().nanoseconds += static_cast<uint64_t>(duration.count());
}

void addFilterRun(const char* filter, std::chrono::nanoseconds duration) {
  const std::lock_guard<std::mutex> lock(times().mutex);
  for (FilterTime& each : times().filters) {
    if (each.name != filter) continue;
    ++each.calls;
    each.nanoseconds += static_cast<uint64_t>(duration.count());
    return;
  }
  times().filters.push_back({filter, 1, static_cast<uint64_t>(duration.count())});
}

void total(uint64_t* calls, uint64_t* nanoseconds) {
  const std::lock_guard<std::mutex> lock(times().mutex);
  if (calls != nullptr) *calls = times().calls;
  if (nanoseconds != nullptr) *nanoseconds = times().nanoseconds;
}

size_t filterCount() {
  const std::lock_guard<std::mutex> lock(times().mutex);
  return times().filters.size();
}

vysim_filter_time filterAt(size_t index) {
  const std::lock_guard<std::mutex> lock(times().mutex);
  if (index >= times().filters.size()) return {nullptr, 0, 0};
  const FilterTime& time = times().filters[index];
  return {time.name.c_str(), time.calls, time.nanoseconds};
}

}  // namespace timing
}  // namespace tavrix
