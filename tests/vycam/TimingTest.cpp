// Where the time of a frame goes, and the bar that a person sees while it does.
#include "Timing.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <unistd.h>

#include "Host.h"
#include "Progress.h"

namespace {

TEST(TimingTest, PartsAddUpToTheWhole) {
  const vycam::Frame frame(vycam::call("make", vysim_create_frame, 64U, 48U, VY_FORMAT_Y16, VY_PIXEL_DEPTH));
  const vycam::Filter filter(vycam::call("make", vy_create_filter, "FrameMirror"));
  const auto begin = std::chrono::steady_clock::now();
  vycam::Timing timing;
  EXPECT_EQ(timing.report().frames, 0U);
  EXPECT_EQ(timing.report().total, 0);
  for (int i = 0; i < 3; ++i) {
    timing.beginFrame();
    for (int k = 0; k < 40; ++k) vycam::call("read", vy_frame_get_format, frame.get());
    const vycam::Frame output(vycam::call("run", vy_filter_process, filter.get(), frame.get()));
    timing.endFrame();
    vycam::call("read", vy_frame_get_format, frame.get());  // between frames
  }
  const vycam::TimeReport report = timing.report();
  const std::chrono::duration<double, std::milli> passed = std::chrono::steady_clock::now() - begin;
  EXPECT_EQ(report.frames, 3U);
  ASSERT_EQ(report.byFilter.size(), 1U);
  EXPECT_EQ(report.byFilter[0].name, "FrameMirror");
  EXPECT_EQ(report.byFilter[0].calls, 3U);
  EXPECT_NEAR(report.byFilter[0].milliseconds, static_cast<double>(vysim_timing_filter_at(0).nanoseconds) / 3e6, 1e-9);
  EXPECT_EQ(report.filters, report.byFilter[0].milliseconds);
  EXPECT_GT(report.nanosecondsPerCall, 0);
  EXPECT_LT(report.nanosecondsPerCall, 1e6);
  // 42 calls a frame: those above and vy_delete_frame.
  EXPECT_LE(report.clockCost, 42 * report.nanosecondsPerCall / 1e6 + 1e-9);
  EXPECT_GT(report.clockCost, 0);
  EXPECT_GT(report.otherHostCalls, 0);
  EXPECT_GE(report.library, 0);
  EXPECT_NEAR(report.filters + report.otherHostCalls + report.clockCost + report.library, report.total, 1e-9);
  EXPECT_LT(report.total * 3, passed.count());
}

/// Standard error is a terminal while it lives.
class Terminal {
 public:
  Terminal() {
    EXPECT_TRUE(grantpt(screen_) == 0 && unlockpt(screen_) == 0);
    const int writer = open(ptsname(screen_), O_RDWR | O_NOCTTY);
    dup2(writer, STDERR_FILENO);
    close(writer);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  ~Terminal() {
    dup2(original_, STDERR_FILENO);
    close(original_);
    close(screen_);
  }

  /// What has come since the last call, up to `end`; all there is if that does not come.
  std::string textUpTo(const std::string& end) const {
    std::string text;
    pollfd waiting{screen_, POLLIN, 0};
    while (text.find(end) == std::string::npos && poll(&waiting, 1, 5000) == 1) {
      char buffer[4096];
      text.append(buffer, static_cast<size_t>(std::max<ssize_t>(0, read(screen_, buffer, sizeof buffer))));
    }
    return text;
  }

 private:
  int original_ = dup(STDERR_FILENO);
  int screen_ = posix_openpt(O_RDWR | O_NOCTTY);
};

TEST(ProgressTest, DrawsTheFirstAndTheLastStepAndFewBetween) {
  std::string first, last, cleared;
  {
    const Terminal terminal;
    {
      vycam::Progress progress("Corvid depth", 1000);
      progress.step("frames/s");
      first = terminal.textUpTo("frames/s");
      for (int i = 1; i < 1000; ++i) progress.step("frames/s");
      last = terminal.textUpTo("1000/1000");
    }
    cleared = terminal.textUpTo("\x1b[K");
  }
  EXPECT_EQ(first.rfind("\r\x1b[KCorvid depth [..............................] 1/1000  ", 0), 0U) << first;
  EXPECT_EQ(first.substr(std::max<size_t>(first.size(), 9) - 9), " frames/s");
  const std::string full = "\r\x1b[KCorvid depth [##############################] 1000/1000  ";
  EXPECT_NE(last.find(full), std::string::npos) << last;
  EXPECT_LT(std::count(last.begin(), last.end(), '\r'), 50) << "drawn at every step";
  EXPECT_EQ(cleared, "\r\x1b[K");
}

}  // namespace
