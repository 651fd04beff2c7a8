#include <fmt/format.h>

#include <cstdio>
#include <string>

#include "Commands.h"
#include "Failure.h"
#include "Recording.h"
#include "Replay.h"
#include "ReplayLibrary.h"

namespace vyhost {
namespace {

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

}  // namespace

void replay(const ReplayOptions& options) {
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
  std::fflush(stdout);  // the library may crash
  run.run();
}

}  // namespace vyhost
