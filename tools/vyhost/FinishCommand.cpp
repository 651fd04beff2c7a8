#include <fmt/format.h>
#include <unistd.h>

#include <string>

#include "Commands.h"
#include "Failure.h"
#include "IndexedMcap.h"
#include "McapContent.h"
#include "OutputFile.h"
#include "Recording.h"

namespace vyhost {
namespace {

/// Whether the program that makes a recording still runs, on this machine. `process` is its number and its path.
bool isRunning(const std::string& process) {
  const std::size_t space = process.find(' ');
  if (space == std::string::npos) return false;
  char path[4096];
  const ssize_t size = ::readlink(("/proc/" + process.substr(0, space) + "/exe").c_str(), path, sizeof path);
  return size > 0 && process.substr(space + 1) == std::string(path, static_cast<std::size_t>(size));
}

}  // namespace

void finish(const FinishOptions& options) {
  const McapContent content(options.file);
  std::vector<McapMessage> messages;
  Recording recording = Recording::read(content, options.file, &messages);
  const std::string& process = recording.about["process"];
  if (options.out.empty() && !recording.isFinished && isRunning(process)) {
    throw Failure(
        fmt::format("{} is being written by process {}; finish it when that has ended, or into another file "
                    "with --out",
                    options.file, process));
  }
  const std::string& out = options.out.empty() ? options.file : options.out;
  writeFile(out, indexedMcap(content, messages));
  fmt::print("{}: {} calls", out, recording.calls.size());
  if (recording.damagedRecords != 0) fmt::print("; damaged records left out: {}", recording.damagedRecords);
  if (content.unreadBytes != 0) {
    fmt::print("; bytes of the record it broke off in left out: {}", content.unreadBytes);
  }
  fmt::print("\n");
}

}  // namespace vyhost
