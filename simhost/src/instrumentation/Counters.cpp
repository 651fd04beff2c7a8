#include "instrumentation/Counters.h"

#include <atomic>
#include <cstddef>
#include <deque>
#include <iterator>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "instrumentation/Watch.h"

namespace tavrix {
namespace {

/// Counts by function. A name given out stays where it is until clear().
class Counts {
 public:
  void add(const char* function, bool isInTotal) {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++byFunction_[function];
    if (isInTotal) ++total_;
  }

  /// The total where `function` is null.
  uint64_t of(const char* function) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (function == nullptr) return total_;
    const auto found = byFunction_.find(std::string_view(function));
    return found == byFunction_.end() ? 0 : found->second;
  }

  const char* functionAt(size_t index) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (index >= byFunction_.size()) return nullptr;
    return std::next(byFunction_.begin(), static_cast<std::ptrdiff_t>(index))->first.c_str();
  }

  void clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    byFunction_.clear();
    total_ = 0;
  }

 private:
  mutable std::mutex mutex_;
  std::map<std::string, uint64_t, std::less<>> byFunction_;
  uint64_t total_ = 0;
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
  std::atomic<bool> isOn{false};
};

Counts& calls() {
  static auto* const instance = new Counts;
  return *instance;
}

Counts& refusedCalls() {
  static auto* const instance = new Counts;
  return *instance;
}

/// The table that threads share.
Times& commonTimes() {
  static auto* const instance = new Times;
  return *instance;
}

/// Takes times for whichever tables want them: calls look at the tables while there is at least one.
void switchOn(Times& times, bool on) {
  static std::mutex mutex;
  static int tables = 0;
  const std::lock_guard<std::mutex> lock(mutex);
  if (times.isOn == on) return;
  times.isOn = on;
  tables += on ? 1 : -1;
  tables > 0 ? Watch::switchOn(Watch::kTiming) : Watch::switchOff(Watch::kTiming);
}

struct OwnTimes : Times {
  ~OwnTimes() { switchOn(*this, false); }
};

thread_local std::unique_ptr<OwnTimes> ownTimes;

/// The table of the calling thread.
Times& times() {
  return ownTimes != nullptr ? *ownTimes : commonTimes();
}

}  // namespace

namespace callCounts {

void add(const char* function, bool canFail) {
  calls().add(function, canFail);
}

uint64_t of(const char* function) {
  return calls().of(function);
}

void clear() {
  calls().clear();
}

}  // namespace callCounts

namespace refusals {

void add(const char* function) {
  refusedCalls().add(function, true);
}

uint64_t of(const char* function) {
  return refusedCalls().of(function);
}

const char* functionAt(size_t index) {
  return refusedCalls().functionAt(index);
}

void clear() {
  refusedCalls().clear();
}

}  // namespace refusals

namespace timing {

void giveOwnTable(bool own) {
  if (!own) {
    ownTimes.reset();
  } else if (ownTimes == nullptr) {
    ownTimes = std::make_unique<OwnTimes>();
  }
}

void start() {
  clear();
  switchOn(times(), true);
}

void stop() {
  switchOn(times(), false);
}

bool isOn() {
  return times().isOn;
}

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
