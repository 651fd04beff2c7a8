#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "tavrix_sim.h"

namespace tavrix {

/// Makes the text of a call's arguments.
using ArgumentText = std::function<std::string()>;

/// Watches one call of a host function: counts, records and times it, and tells whether it has to go wrong. Calls ask
/// isOn() first, so that watching costs one load while nobody wants it.
class Watch {
 public:
  enum Reason : uint32_t { kRecord = 1, kCount = 2, kFaults = 4, kTiming = 8 };

  static bool isOn() { return reasons().load(std::memory_order_relaxed) != 0; }
  static bool isOnFor(Reason reason) { return (reasons().load(std::memory_order_relaxed) & reason) != 0; }
  static void switchOn(Reason reason) { reasons().fetch_or(reason); }
  static void switchOff(Reason reason) { reasons().fetch_and(~static_cast<uint32_t>(reason)); }

  /// Whether calls of this thread are left alone.
  static void ignoreThread(bool ignored);
  /// Whether calls of this thread are timed now.
  static bool isThreadTimed();

  Watch(const char* function, bool canFail, const ArgumentText& text);
  ~Watch();
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  std::optional<vysim_fault> fault() const { return fault_; }

 private:
  static std::atomic<uint32_t>& reasons() {
    static std::atomic<uint32_t> bits{0};
    return bits;
  }

  std::optional<vysim_fault> fault_;
  std::optional<std::chrono::steady_clock::time_point> start_;  // set for the outermost timed call of a thread
};

}  // namespace tavrix
