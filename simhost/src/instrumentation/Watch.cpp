#include "instrumentation/Watch.h"

#include "instrumentation/Counters.h"
#include "instrumentation/Faults.h"
#include "instrumentation/Records.h"

namespace tavrix {
namespace {

// A filter that a test defined calls the host from within the host; only the outermost call of a thread is timed.
thread_local bool timedCallRuns = false;

thread_local bool isThreadIgnored = false;

}  // namespace

void Watch::ignoreThread(bool ignored) {
  isThreadIgnored = ignored;
}

bool Watch::isThreadTimed() {
  return isOnFor(kTiming) && !isThreadIgnored && timing::isOn();
}

Watch::Watch(const char* function, bool canFail, const ArgumentText& text) {
  if (isThreadIgnored) return;
  const uint32_t active = reasons().load(std::memory_order_relaxed);
  if ((active & kCount) != 0U) callCounts::add(function, canFail);
  if ((active & kRecord) != 0U) records::add(std::string(function) + '(' + text() + ')');
  if ((active & kFaults) != 0U) fault_ = faults::onCall(function, canFail);
  if (!timedCallRuns && isThreadTimed()) {
    timedCallRuns = true;
    start_ = std::chrono::steady_clock::now();
  }
}

Watch::~Watch() {
  if (!start_) return;
  timing::addCall(std::chrono::steady_clock::now() - *start_);
  timedCallRuns = false;
}

}  // namespace tavrix
