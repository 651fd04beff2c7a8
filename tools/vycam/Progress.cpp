#include "Progress.h"

#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "Terminal.h"

namespace vycam {
namespace {

constexpr size_t kBarWidth = 30;
constexpr size_t kLeastBar = 5;
constexpr std::chrono::milliseconds kRedrawInterval{50};
constexpr std::chrono::milliseconds kLineInterval{2000};
constexpr const char* kClearLine = "\r\x1b[K";

}  // namespace

Progress::Progress(std::string label, unsigned steps) : label_(std::move(label)), steps_(std::max(steps, 1U)) {
  struct stat output = {};
  isShown_ = isatty(STDERR_FILENO) == 1 && (fstat(STDOUT_FILENO, &output) != 0 || !S_ISFIFO(output.st_mode));
  const char* const terminal = std::getenv("TERM");  // NOLINT(concurrency-mt-unsafe): nothing changes it
  isPlain_ = terminal == nullptr || terminal == std::string("dumb");
}

Progress::~Progress() {
  if (isShown_ && !isPlain_) {
    std::fputs(kClearLine, stderr);
  }
}

void Progress::step(const char* unit) {
  ++done_;
  const auto now = std::chrono::steady_clock::now();
  const bool isDue = now - lastDrawn_ >= (isPlain_ ? kLineInterval : kRedrawInterval);
  if (!isShown_ || (done_ < steps_ && !isDue)) {
    return;
  }
  lastDrawn_ = now;
  const double seconds = std::chrono::duration<double>(now - begin_).count();
  const double rate = seconds > 0 ? done_ / seconds : 0.0;
  const std::string count = fmt::format("{}/{}  {:.1f} {}", done_, steps_, rate, unit);
  if (isPlain_) {
    std::fputs(fmt::format("{} {}\n", label_, count).c_str(), stderr);
    return;
  }
  // The last column stays free: some terminals begin a new line behind it.
  const size_t used = label_.size() + count.size() + sizeof " [] ";
  const size_t columns = terminalWidth(STDERR_FILENO);
  const size_t width = std::min(kBarWidth, columns > used ? columns - used : 0);
  const size_t filled = std::min(width, width * done_ / steps_);
  const std::string bar = width < kLeastBar ? " " : fmt::format(" [{:#<{}}{:.<{}}] ", "", filled, "", width - filled);
  std::fputs((kClearLine + (label_ + bar + count).substr(0, columns - 1)).c_str(), stderr);
}

}  // namespace vycam
