// The signals that ask the program to end: it finishes what it is at, and leaves no half-made files.
#pragma once

namespace vycam {

/// Takes Ctrl-C (SIGINT), SIGTERM, SIGHUP and SIGPIPE from now on, except those that the program was started to ignore.
/// A file that is too large for the system no longer ends the program, either: writing it fails.
void takeSignals();

/// The signal that came first since takeSignals(); 0 = none.
int takenSignal();

/// Ends the program by that signal, so that who started it sees that.
[[noreturn]] void endBy(int signal);

}  // namespace vycam
