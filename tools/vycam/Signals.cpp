#include "Signals.h"

#include <csignal>
#include <cstdlib>
#include <initializer_list>

namespace vycam {
namespace {

volatile std::sig_atomic_t taken = 0;

extern "C" void take(int signal) {
  if (taken == 0) {
    taken = signal;
  }
}

}  // namespace

void takeSignals() {
  struct sigaction action = {};
  action.sa_handler = take;
  action.sa_flags = SA_RESTART;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGPIPE}) {
    struct sigaction before = {};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler != SIG_IGN) {
      sigaction(signal, &action, nullptr);
    }
  }
  static_cast<void>(std::signal(SIGXFSZ, SIG_IGN));
}

int takenSignal() {
  return taken;
}

void endBy(int signal) {
  static_cast<void>(std::signal(signal, SIG_DFL));
  static_cast<void>(std::raise(signal));
  std::_Exit(128 + signal);  // where the signal is blocked
}

}  // namespace vycam
