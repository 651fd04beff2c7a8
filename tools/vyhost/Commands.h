// The commands, and what the command line tells each. They print to the standard output and throw Failure; those that
// return a number return the program's exit code.
#pragma once

#include <limits>
#include <string>
#include <vector>

#include "CallLines.h"

namespace vyhost {

struct RecordOptions {
  std::string out;                   ///< the recording or the folder for it; empty: in the current folder
  std::vector<std::string> command;  ///< a program and its arguments
};
/// Runs a program with the recording library in place of the plain one.
int record(const RecordOptions& options);

struct ShowOptions {
  std::string file;
  std::string page;  ///< empty: none is written
  bool asJson = false, asCalls = false;
  CallFilter filter;  ///< of `asCalls`
};
/// Tells what happened in a recording.
void show(const ShowOptions& options);

struct ReplayOptions {
  std::string file;
  std::string library;  ///< empty: the plain one that belongs to vyhost
  bool all = false;     ///< goes on after the first difference
};
/// Makes the recorded calls into a library and compares; ends the program with its exit code.
[[noreturn]] void replay(const ReplayOptions& options);

struct TimelineOptions {
  std::string file, out;
  double from = 0, to = std::numeric_limits<double>::infinity();  ///< seconds since the first call
};
/// Writes the calls of a recording as events for a viewer of traces.
void writeTimeline(const TimelineOptions& options);

struct CheckOptions {
  std::string file;  ///< a host's library, or a recording
  double timeoutSeconds = 3;
  std::string only;  ///< the name of the only checks to make; empty: all
  bool asJson = false;
};
/// Tries what the library takes for granted of a host.
int check(const CheckOptions& options);

struct FinishOptions {
  std::string file;
  std::string out;  ///< empty: in place
};
/// Closes a recording that broke off.
void finish(const FinishOptions& options);

}  // namespace vyhost
