#include "instrumentation/Faults.h"

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "instrumentation/Watch.h"

namespace tavrix::faults {
namespace {

struct Order {
  std::string function;  // empty = any that can fail
  uint64_t callsLeft;    // until it is due
  vysim_fault fault;

  bool counts(const char* called, bool canFail) const { return function.empty() ? canFail : function == called; }
};

struct Orders {
  std::mutex mutex;
  std::vector<Order> waiting;
  uint64_t done = 0;
};

Orders& all() {
  static auto* const instance = new Orders;
  return *instance;
}

}  // namespace

void order(const char* function, uint64_t nth, vysim_fault fault) {
  Orders& orders = all();
  const std::lock_guard<std::mutex> lock(orders.mutex);
  orders.waiting.push_back({function != nullptr ? function : "", std::max<uint64_t>(nth, 1), fault});
  Watch::switchOn(Watch::kFaults);
}

std::optional<vysim_fault> onCall(const char* function, bool canFail) {
  Orders& orders = all();
  const std::lock_guard<std::mutex> lock(orders.mutex);
  auto due = orders.waiting.end();
  for (auto each = orders.waiting.begin(); each != orders.waiting.end(); ++each) {
    if (!each->counts(function, canFail)) continue;
    if (each->callsLeft > 1) {
      --each->callsLeft;
    } else if (due == orders.waiting.end()) {
      due = each;  // another order that is due now waits for the next call
    }
  }
  if (due == orders.waiting.end()) return std::nullopt;
  const vysim_fault fault = due->fault;
  orders.waiting.erase(due);
  ++orders.done;
  if (orders.waiting.empty()) Watch::switchOff(Watch::kFaults);
  return fault;
}

void clear() {
  Orders& orders = all();
  const std::lock_guard<std::mutex> lock(orders.mutex);
  orders.waiting.clear();
  Watch::switchOff(Watch::kFaults);
}

void clearDoneCount() {
  Orders& orders = all();
  const std::lock_guard<std::mutex> lock(orders.mutex);
  orders.done = 0;
}

uint64_t doneCount() {
  Orders& orders = all();
  const std::lock_guard<std::mutex> lock(orders.mutex);
  return orders.done;
}

}  // namespace tavrix::faults
