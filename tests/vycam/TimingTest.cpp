// Where the time of a frame goes, and the bar that a person sees while it does.
#include "Timing.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <sstream>
#include <thread>

#include "Host.h"
#include "Progress.h"

namespace {

TEST(TimingTest, PartsAddUpToTheWhole) {
  const vycam::Frame frame(vycam::call("make", vysim_create_frame, 64U, 48U, VY_FORMAT_Y16, VY_PIXEL_DEPTH));
  const vycam::Filter filter(vycam::call("make", vy_create_filter, "FrameMirror"));
  const auto begin = std::chrono::steady_clock::now();
  vycam::TimeReport report;
  uint64_t calls = 0, nanoseconds = 0, filterNanoseconds = 0;  // of the host, within frames
  {
    vycam::Timing timing;
    report = timing.report();
    EXPECT_EQ(report.frames, 0U);
    EXPECT_EQ(report.first + report.median + report.percentile95 + report.largest + report.total + report.filters +
                  report.otherHostCalls + report.library + report.clockCost,
              0);
    for (int i = 0; i < 3; ++i) {
      timing.beginFrame();
      if (i == 0) std::this_thread::sleep_for(std::chrono::milliseconds(50));
      for (int k = 0; k < 40; ++k) vycam::call("read", vy_frame_get_format, frame.get());
      vycam::Frame(vycam::call("run", vy_filter_process, filter.get(), frame.get()));
      timing.endFrame();
      uint64_t ofFrame[2];
      vysim_timing_total(&ofFrame[0], &ofFrame[1]);
      if (i > 0) {
        calls += ofFrame[0], nanoseconds += ofFrame[1];
        filterNanoseconds += vysim_timing_filter_at(0).nanoseconds;
      }
      vycam::Frame(vycam::call("run", vy_filter_process, filter.get(), frame.get()));  // between frames
      report = timing.report();
      if (i == 0) {
        timing.beginFrame();  // its chain fails
        report = timing.report();
        EXPECT_GE(report.first, 50);
        for (const double same : {report.median, report.percentile95, report.largest, report.total})
          EXPECT_NEAR(same, report.first, 1e-9) << "the first is the only one";
      }
    }
  }
  const std::chrono::duration<double, std::milli> passed = std::chrono::steady_clock::now() - begin;
  uint64_t counted[2];
  vysim_timing_total(&counted[0], nullptr);
  vycam::call("read", vy_frame_get_format, frame.get());
  vysim_timing_total(&counted[1], nullptr);
  EXPECT_EQ(counted[0], counted[1]) << "the host's clock runs on";

  constexpr double kScale = 1.0 / 2e6;  // the first frame stands apart
  EXPECT_EQ(report.frames, 3U);
  ASSERT_EQ(report.byFilter.size(), 1U);
  EXPECT_EQ(report.byFilter[0].name, "FrameMirror");
  EXPECT_NEAR(report.byFilter[0].milliseconds, static_cast<double>(filterNanoseconds) * kScale, 1e-9);
  EXPECT_EQ(report.filters, report.byFilter[0].milliseconds);
  EXPECT_NEAR(report.filters + report.otherHostCalls, static_cast<double>(nanoseconds) * kScale, 1e-9);
  EXPECT_GT(report.nanosecondsPerCall, 0);
  EXPECT_LT(report.nanosecondsPerCall, 1e6);
  const double rest = report.clockCost + report.library;
  EXPECT_NEAR(report.clockCost, std::min(rest, static_cast<double>(calls) * report.nanosecondsPerCall * kScale), 1e-9);
  EXPECT_GE(report.library, 0);
  EXPECT_NEAR(report.filters + report.otherHostCalls + rest, report.total, 1e-9);
  EXPECT_LT(report.first + report.total * 2, passed.count());
  EXPECT_LE(report.median, report.largest);
  EXPECT_EQ(report.percentile95, report.largest);
  EXPECT_NEAR(report.median + report.largest, 2 * report.total, 1e-9) << "the two frames behind the first";
}

/// Standard error is a terminal while it lives, and standard output that terminal or a pipe.
class Terminal {
 public:
  Terminal(const char* type, unsigned short columns, bool hasPipe) {
    EXPECT_TRUE(grantpt(screen_) == 0 && unlockpt(screen_) == 0);
    const int writer = open(ptsname(screen_), O_RDWR | O_NOCTTY);
    const winsize size{24, columns, 0, 0};
    ioctl(writer, TIOCSWINSZ, &size);
    setenv("TERM", type, 1);
    int pipeEnds[2];
    EXPECT_EQ(pipe(pipeEnds), 0);
    dup2(writer, STDERR_FILENO);
    dup2(hasPipe ? pipeEnds[1] : writer, STDOUT_FILENO);
    for (const int each : {writer, pipeEnds[0], pipeEnds[1]}) close(each);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;
  ~Terminal() {
    dup2(error_, STDERR_FILENO);
    dup2(output_, STDOUT_FILENO);
    for (const int each : {error_, output_, screen_}) close(each);
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
  int error_ = dup(STDERR_FILENO), output_ = dup(STDOUT_FILENO);
  int screen_ = posix_openpt(O_RDWR | O_NOCTTY);
};

TEST(ProgressTest, DrawsTheFirstAndTheLastStepAndFewBetween) {
  const std::string clear = "\r\x1b[K";
  const struct {
    const char* terminal;
    unsigned short columns;
    bool hasPipe;
    std::string first, last, end;
  } cases[] = {
      {"xterm", 80, false, clear + "Corvid depth [" + std::string(30, '.') + "] 1/1000  ",
       clear + "Corvid depth [" + std::string(30, '#') + "] 1000/1000  ", clear + "done"},
      {"xterm", 60, false, clear + "Corvid depth [......", clear + "Corvid depth [#####", clear + "done"},
      {"xterm", 40, false, clear + "Corvid depth 1/1000  ", clear + "Corvid depth 1000/1000  ", clear + "done"},
      {"dumb", 80, false, "Corvid depth 1/1000  ", "\nCorvid depth 1000/1000  ", " frames/s\r\ndone"},
      {"xterm", 80, true, "done", "", "done"},  // what reads the pipe may draw on the same screen
  };
  for (const auto& c : cases) {
    std::string text;
    {
      const Terminal terminal(c.terminal, c.columns, c.hasPipe);
      {
        vycam::Progress progress("Corvid depth", 1000);
        for (int i = 0; i < 1000; ++i) progress.step("frames/s");
      }
      fputs("done", stderr);
      text = terminal.textUpTo("done");
    }
    SCOPED_TRACE(std::string(c.terminal) + " " + std::to_string(c.columns) + ": " + text);
    EXPECT_EQ(text.rfind(c.first, 0), 0U);
    EXPECT_NE(text.find(c.last), std::string::npos);
    EXPECT_EQ(text.find(c.end), text.size() - c.end.size());
    EXPECT_LT(std::count(text.begin(), text.end(), '\r'), 50) << "drawn at every step";
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line, '\r');) EXPECT_LT(line.size(), c.columns + 3U);  // with an escape
  }
}

}  // namespace
