// A progress bar for people who wait at a terminal.
#pragma once

#include <chrono>
#include <string>

namespace vycam {

/// Draws on stderr, and only where that is a terminal and nothing else reads what is printed: `vycam run | less` owns
/// the screen. A terminal that cannot move its cursor (TERM=dumb) gets a line now and then.
class Progress {
 public:
  Progress(std::string label, unsigned steps);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  /// Clears the bar away.
  ~Progress();

  /// One step is done. `unit` names the steps in the rate shown: "frames/s".
  void step(const char* unit);

 private:
  std::string label_;
  unsigned steps_;
  unsigned done_ = 0;
  bool isShown_ = false, isPlain_ = false;
  std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
  std::chrono::steady_clock::time_point lastDrawn_{};
};

}  // namespace vycam
