// vyhost: what passes between the library and a host, for an engineer at a desk.
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>

#include "Commands.h"
#include "Failure.h"
#include "OutputFile.h"

namespace {

void addRecord(CLI::App& program, vyhost::RecordOptions& options, int& exitCode) {
  CLI::App* const command =
      program.add_subcommand("record", "Runs a program and records the calls between the library and its host");
  command->add_option("--out", options.out,
                      "The recording, or the folder for it (default: vy-recording-PROCESS.mcap in the current folder)");
  command->add_option("PROGRAM", options.command, "The program and its arguments, behind --")->required();
  command->callback([&] { exitCode = vyhost::record(options); });
}

void addShow(CLI::App& program, vyhost::ShowOptions& options) {
  CLI::App* const command = program.add_subcommand("show", "Tells what happened in a recording");
  vyhost::CallFilter& filter = options.filter;
  command->add_option("FILE", options.file, "the recording")->required();
  CLI::Option* const json = command->add_flag("--json", options.asJson, "for machines");
  CLI::Option* const page = command->add_option("--html", options.page, "as a page, into this file");
  CLI::Option* const calls = command->add_flag("--calls", options.asCalls, "one line a call");
  calls->excludes(json)->excludes(page);
  command->add_option("--function", filter.functions, "calls of functions of this name; * and ? stand for any letters")
      ->allow_extra_args(false)
      ->needs(calls);
  command->add_option("--handle", filter.handles, "calls with this handle: filter:3, frame:17, or a filter's name")
      ->allow_extra_args(false)
      ->needs(calls);
  command->add_option("--thread", filter.threads, "calls on the thread of this number")
      ->allow_extra_args(false)
      ->needs(calls);
  command->add_option("--from", filter.from, "calls from this second on, counted from the first call")->needs(calls);
  command->add_option("--to", filter.to, "calls up to this second")->needs(calls);
  command->callback([&] { vyhost::show(options); });
}

void addReplay(CLI::App& program, vyhost::ReplayOptions& options) {
  CLI::App* const command = program.add_subcommand(
      "replay",
      "Feeds the recorded calls to a library, with a host that answers from the recording, and compares.\n"
      "Exit code 0: all the same, 1: differences, 2: cannot replay.");
  command->add_option("FILE", options.file, "The recording")->required();
  command->add_option("--library", options.library, "The library; default: the plain one that belongs to vyhost");
  command->add_flag("--all", options.all, "Goes on after the first difference");
  command->callback([&] { vyhost::replay(options); });
}

void addTimeline(CLI::App& program, vyhost::TimelineOptions& options) {
  CLI::App* const command =
      program.add_subcommand("timeline", "Writes the calls of a recording as a time line for ui.perfetto.dev");
  command->add_option("FILE", options.file, "The recording")->required();
  command->add_option("--out", options.out, "The file to write, as JSON")->required();
  command->add_option("--from", options.from, "Leave out calls before this many seconds from the first call");
  command->add_option("--to", options.to, "Leave out calls after this many seconds from the first call");
  command->callback([&] { vyhost::writeTimeline(options); });
}

void addCheck(CLI::App& program, vyhost::CheckOptions& options, int& exitCode) {
  CLI::App* const command = program.add_subcommand(
      "check", "Tries what the library takes for granted of a host: on its libTavrixSDK.so, or on a recording");
  command->add_option("file", options.file, "a host's libTavrixSDK.so, or a recording (*.mcap)")->required();
  command->add_option("--timeout", options.timeoutSeconds, "seconds after which a check of a library has hung")
      ->check(CLI::Range(0.05, 3600.0))
      ->capture_default_str();
  command->add_option("--only", options.only, "make the checks of this name alone");
  command->add_flag("--json", options.asJson, "print the results as JSON");
  command->footer("The exit code is 1 if something fails, and 2 if the file cannot be loaded or read.");
  command->callback([&] { exitCode = vyhost::check(options); });
}

void addFinish(CLI::App& program, vyhost::FinishOptions& options) {
  CLI::App* const command =
      program.add_subcommand("finish", "Closes a recording that broke off: chunked, compressed and indexed");
  command->add_option("FILE", options.file, "The recording")->required();
  command->add_option("--out", options.out, "Where to write it (default: in place)");
  command->callback([&] { vyhost::finish(options); });
}

int run(int argc, char** argv) {
  CLI::App program("Records, explains, replays and checks what passes between the frame processing library and a host.",
                   "vyhost");
  program.set_version_flag("--version", "vyhost " VY_VERSION);
  program.require_subcommand(1);
  int exitCode = 0;
  vyhost::RecordOptions recordOptions;
  vyhost::ShowOptions showOptions;
  vyhost::ReplayOptions replayOptions;
  vyhost::TimelineOptions timelineOptions;
  vyhost::CheckOptions checkOptions;
  vyhost::FinishOptions finishOptions;
  addRecord(program, recordOptions, exitCode);
  addShow(program, showOptions);
  addReplay(program, replayOptions);
  addTimeline(program, timelineOptions);
  addCheck(program, checkOptions, exitCode);
  addFinish(program, finishOptions);
  try {
    program.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return program.exit(error);  // --help, --version
    fmt::print(stderr, "vyhost: {} (vyhost --help tells more)\n", error.what());
    return vyhost::kCannot;
  }
  return exitCode;
}

}  // namespace

int main(int argc, char** argv) {
  int exitCode = vyhost::kCannot;
  try {
    exitCode = run(argc, argv);
  } catch (const vyhost::Failure& failure) {
    fmt::print(stderr, "vyhost: {}\n", failure.what());
  } catch (const std::exception& error) {
    // Where the standard output takes nothing, that is told below.
    if (std::ferror(stdout) == 0) fmt::print(stderr, "vyhost: a fault of the program: {}\n", error.what());
  }
  return vyhost::endOutput(exitCode);
}
