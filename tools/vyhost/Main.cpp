// vyhost: what passes between the library and a host, for an engineer at a desk.
#include <fmt/format.h>

#include <cstdio>
#include <exception>

#include "Commands.h"
#include "Failure.h"
#include "OutputFile.h"

namespace {

int run(int argc, char** argv) {
  CLI::App program("Records, explains, replays and checks what passes between the frame processing library and a host.",
                   "vyhost");
  program.set_version_flag("--version", "vyhost " VY_VERSION);
  program.require_subcommand(1);
  int exitCode = 0;
  vyhost::addRecordCommand(program, exitCode);
  vyhost::addShowCommand(program, exitCode);
  vyhost::addReplayCommand(program, exitCode);
  vyhost::addTimelineCommand(program, exitCode);
  vyhost::addCheckCommand(program, exitCode);
  vyhost::addFinishCommand(program, exitCode);
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
