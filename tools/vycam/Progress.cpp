#include "Progress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <utility>

namespace vycam {
namespace {

constexpr size_t kBarWidth = 30;
constexpr std::chrono::milliseconds kRedrawInterval{50};
constexpr const char* kClearLine = "\r\x1b[K";

}  // namespace

Progress::Progress(std::string label, unsigned steps)
    : label_(std::move(label)), steps_(std::max(steps, 1U)), isShown_(isatty(STDERR_FILENO) == 1) {}

Progress::~Progress() {
  if (isShown_) {
    fmt::print(stderr, "{}", kClearLine);
  }
}

void Progress::step(const char* unit) {
  ++done_;
  const auto now = std::chrono::steady_clock::now();
  if (!isShown_ || (done_ < steps_ && now - lastDrawn_ < kRedrawInterval)) {
    return;
  }
  lastDrawn_ = now;
  const double seconds = std::chrono::duration<double>(now - begin_).count();
  const size_t filled = std::min(kBarWidth, kBarWidth * done_ / steps_);
  fmt::print(stderr, "{}{} [{}{}] {}/{}  {:.1f} {}", kClearLine, label_, std::string(filled, '#'),
             std::string(kBarWidth - filled, '.'), done_, steps_, seconds > 0 ? done_ / seconds : 0.0, unit);
}

}  // namespace vycam
