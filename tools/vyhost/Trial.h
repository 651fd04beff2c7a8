// A check in a process of its own, so that a host that crashes or hangs is a finding and not the end.
#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "CheckReport.h"

namespace vyhost {

/// What the function of a check uses, within the child process, to tell what it finds.
class Trial {
 public:
  /// Where the child process writes to.
  Trial(int pipe, char* step) : pipe_(pipe), step_(step) {}

  void warn(const std::string& text) { send(Verdict::warning, text); }
  void fail(const std::string& text) { send(Verdict::fail, text); }
  void skip(const std::string& text) { send(Verdict::notTried, text); }
  /// What an ok says besides what was tried.
  void note(const std::string& text) { send(Verdict::ok, text); }

  /// What the check is about to do: the last step is named when the process ends or hangs in it.
  void at(const char* step);

 private:
  void send(Verdict verdict, const std::string& text);

  int pipe_;
  char* step_;
};

struct Outcome {
  struct Message {
    Verdict verdict;
    std::string text;
  };
  std::vector<Message> messages;
  std::string abruptEnd;  ///< how the process died or hung; empty for one that came to its end
};

/// Runs `body` in a child process, which is killed when it takes longer than the limit. An exception that leaves the
/// body is a failure.
Outcome runInChild(std::chrono::milliseconds limit, const std::function<void(Trial&)>& body);

}  // namespace vyhost
