// Where the time of a frame goes: host filters, other host calls, and the library itself.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace vycam {

struct FilterTime {
  std::string name;         ///< the host's name of the filter
  double milliseconds = 0;  ///< per frame
};

/// In milliseconds. The first frame stands apart, as filters get their memory in it: all else is of the frames after
/// it, or of the first where it is the only one.
struct TimeReport {
  uint64_t frames = 0;
  double first = 0;
  double median = 0, percentile95 = 0, largest = 0;

  // Means per frame.
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
/// own. Between frames that clock stands still.
class Timing {
 public:
  /// `nanosecondsPerCall` is what the host's clock costs.
  explicit Timing(double nanosecondsPerCall = measureClockCost());
  Timing(const Timing&) = delete;
  Timing& operator=(const Timing&) = delete;
  ~Timing();

  /// A frame that is begun and not ended, as its chain has failed, does not count.
  void beginFrame();
  void endFrame();
  TimeReport report() const;

 private:
  std::chrono::steady_clock::time_point begin_;
  uint64_t frames_ = 0, hostCalls_ = 0;
  double first_ = 0, host_ = 0;    // nanoseconds
  std::vector<double> durations_;  // of the frames that count, in nanoseconds
  std::map<std::string, double> nanosecondsByFilter_;
  double nanosecondsPerCall_ = 0;
};

}  // namespace vycam
