#include "Timing.h"

#include <algorithm>
#include <limits>
#include <numeric>

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

Timing::Timing(double nanosecondsPerCall) : nanosecondsPerCall_(nanosecondsPerCall) {}

Timing::~Timing() {
  vysim_timing_stop();
}

void Timing::beginFrame() {
  vysim_timing_start();
  begin_ = Clock::now();
}

void Timing::endFrame() {
  const double duration = nanosecondsSince(begin_);
  vysim_timing_stop();
  if (frames_ == 1) {  // what was counted so far is the first frame
    durations_.clear();
    nanosecondsByFilter_.clear();
    hostCalls_ = 0;
    host_ = 0;
  }
  durations_.push_back(duration);
  uint64_t calls = 0;
  uint64_t nanoseconds = 0;
  vysim_timing_total(&calls, &nanoseconds);
  host_ += static_cast<double>(nanoseconds);
  hostCalls_ += calls;
  for (size_t i = 0; i < vysim_timing_filter_count(); ++i) {
    const vysim_filter_time time = vysim_timing_filter_at(i);
    nanosecondsByFilter_[time.name] += static_cast<double>(time.nanoseconds);
  }
  if (frames_++ == 0) {
    first_ = duration;
  }
}

TimeReport Timing::report() const {
  TimeReport report;
  report.frames = frames_;
  report.nanosecondsPerCall = nanosecondsPerCall_;
  if (frames_ == 0) {
    return report;
  }
  std::vector<double> sorted = durations_;
  std::sort(sorted.begin(), sorted.end());
  // The smallest time that this share of the frames does not exceed.
  const auto percentile = [&](size_t percent) {
    return sorted[(sorted.size() * percent + 99) / 100 - 1] / kNanosecondsPerMillisecond;
  };
  report.first = first_ / kNanosecondsPerMillisecond;
  report.median = percentile(50);
  report.percentile95 = percentile(95);
  report.largest = percentile(100);

  const double total = std::accumulate(sorted.begin(), sorted.end(), 0.0);
  const double scale = 1.0 / (kNanosecondsPerMillisecond * static_cast<double>(sorted.size()));
  for (const auto& [name, nanoseconds] : nanosecondsByFilter_) {
    report.byFilter.push_back({name, nanoseconds * scale});
    report.filters += report.byFilter.back().milliseconds;
  }
  report.total = total * scale;
  report.otherHostCalls = std::max(0.0, host_ * scale - report.filters);
  const double rest = (total - host_) * scale;
  report.clockCost = std::min(rest, static_cast<double>(hostCalls_) * nanosecondsPerCall_ * scale);
  report.library = rest - report.clockCost;
  return report;
}

}  // namespace vycam
