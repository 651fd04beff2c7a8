// Where the time of a frame goes: host filters, other host calls, and the library itself.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace vycam {

struct FilterTime {
  std::string name;  ///< the host's name of the filter
  uint64_t calls = 0;
  double milliseconds = 0;  ///< per frame
};

/// Means per frame, in milliseconds.
struct TimeReport {
  uint64_t frames = 0;
  double total = 0;
  double filters = 0;
  double otherHostCalls = 0;
  double library = 0;             ///< the rest, less the cost of the clock
  double clockCost = 0;           ///< what was taken off; at most the rest
  double nanosecondsPerCall = 0;  ///< cost of the clock per host call, measured in this run
  std::vector<FilterTime> byFilter;
};

/// What a timed host call costs beyond the time that the host's clock reports, in nanoseconds, measured now.
double measureClockCost();

/// Times frames. Only one may live at a time, as the host has one clock, or one for each thread that has times of its
/// own.
class Timing {
 public:
  /// Starts the host's clock. `nanosecondsPerCall` is what it costs.
  explicit Timing(double nanosecondsPerCall = measureClockCost());
  Timing(const Timing&) = delete;
  Timing& operator=(const Timing&) = delete;
  ~Timing();

  void beginFrame();
  void endFrame();
  TimeReport report() const;

 private:
  std::chrono::steady_clock::time_point begin_;
  uint64_t callsAtBegin_ = 0, nanosecondsAtBegin_ = 0;
  uint64_t frames_ = 0, hostCalls_ = 0;
  double total_ = 0, host_ = 0;  // nanoseconds
  double nanosecondsPerCall_ = 0;
};

}  // namespace vycam
