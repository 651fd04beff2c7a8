#include "Timing.h"

#include <algorithm>
#include <limits>

#include "Host.h"

namespace vycam {
namespace {

using Clock = std::chrono::steady_clock;

constexpr double kNanosecondsPerMillisecond = 1e6;

double nanosecondsSince(Clock::time_point begin) {
  return static_cast<double>(std::chrono::duration_cast<std::chrono::nanoseconds>(Clock::now() - begin).count());
}

}  // namespace

// Many cheap calls are timed. The quickest round counts, as disturbances only make a round slower.
double measureClockCost() {
  constexpr int kRounds = 5;
  constexpr int kCallsPerRound = 4000;
  const Frame frame(call("make a frame", vysim_create_frame, 16U, 16U, VY_FORMAT_Y16, VY_PIXEL_DEPTH));
  double best = std::numeric_limits<double>::max();
  for (int round = 0; round < kRounds; ++round) {
    ErrorSlot slot;
    vysim_timing_start();
    const Clock::time_point begin = Clock::now();
    for (int i = 0; i < kCallsPerRound; ++i) {
      vy_frame_get_format(frame.get(), slot);
    }
    const double all = nanosecondsSince(begin);
    uint64_t inside = 0;
    vysim_timing_total(nullptr, &inside);
    vysim_timing_stop();
    best = std::min(best, (all - static_cast<double>(inside)) / kCallsPerRound);
  }
  return std::max(best, 0.0);
}

Timing::Timing(double nanosecondsPerCall) : nanosecondsPerCall_(nanosecondsPerCall) {
  vysim_timing_start();
}

Timing::~Timing() {
  vysim_timing_stop();
}

void Timing::beginFrame() {
  vysim_timing_total(&callsAtBegin_, &nanosecondsAtBegin_);
  begin_ = Clock::now();
}

void Timing::endFrame() {
  total_ += nanosecondsSince(begin_);
  uint64_t calls = 0;
  uint64_t nanoseconds = 0;
  vysim_timing_total(&calls, &nanoseconds);
  host_ += static_cast<double>(nanoseconds - nanosecondsAtBegin_);
  hostCalls_ += calls - callsAtBegin_;
  ++frames_;
}

TimeReport Timing::report() const {
  TimeReport report;
  report.frames = frames_;
  report.nanosecondsPerCall = nanosecondsPerCall_;
  if (frames_ == 0) {
    return report;
  }
  const double scale = 1.0 / (kNanosecondsPerMillisecond * static_cast<double>(frames_));
  for (size_t i = 0; i < vysim_timing_filter_count(); ++i) {
    const vysim_filter_time time = vysim_timing_filter_at(i);
    report.byFilter.push_back({time.name, time.calls, static_cast<double>(time.nanoseconds) * scale});
    report.filters += report.byFilter.back().milliseconds;
  }
  report.total = total_ * scale;
  report.otherHostCalls = std::max(0.0, host_ * scale - report.filters);
  const double rest = (total_ - host_) * scale;
  report.clockCost = std::min(rest, static_cast<double>(hostCalls_) * nanosecondsPerCall_ * scale);
  report.library = rest - report.clockCost;
  return report;
}

}  // namespace vycam
