#include <fmt/format.h>

#include <memory>
#include <string>

#include "Commands.h"
#include "Failure.h"
#include "Recording.h"
#include "Replay.h"
#include "ReplayLibrary.h"

namespace vyhost {
namespace {

struct Options {
  std::string file, library;
  bool all = false;
};

void tellDifferentBuild(const Recording& recording, const ReplayLibrary& library) {
  const auto about = [&](const char* key) {
    const auto found = recording.about.find(key);
    return found != recording.about.end() ? found->second : std::string("unknown");
  };
  const std::string commit = library.functions.vy_get_commit_hash();
  if (about("commit") == commit) return;
  fmt::print("recorded: version {}, commit {}, {}\n", about("version"), about("commit"), about("machine"));
  fmt::print("replayed: commit {}, {}\n", commit, library.path);
}

[[noreturn]] void replay(const Options& options) {
  const Recording recording = Recording::read(options.file);
  const ReplayLibrary library = ReplayLibrary::load(options.library);
  tellDifferentBuild(recording, library);
  if (recording.damagedRecords != 0) {
    fmt::print("damaged records: {}; differences may come from them\n", recording.damagedRecords);
  }
  if (recording.calls.empty())
    throw Failure("no calls in " + options.file + "; record a program that uses the library");
  Replay run(recording, library.functions, {options.all});
  run.answer(*library.host);
  run.run();
}

}  // namespace

void addReplayCommand(CLI::App& program, int& /*exitCode*/) {
  CLI::App* const command = program.add_subcommand(
      "replay",
      "Feeds the recorded calls to a library, with a host that answers from the recording, and compares.\n"
      "Exit code 0: all the same, 1: differences, 2: cannot replay.");
  const auto options = std::make_shared<Options>();
  command->add_option("FILE", options->file, "The recording")->required();
  command->add_option("--library", options->library, "The library; default: the plain one that belongs to vyhost");
  command->add_flag("--all", options->all, "Goes on after the first difference");
  command->callback([options] { replay(*options); });
}

}  // namespace vyhost
