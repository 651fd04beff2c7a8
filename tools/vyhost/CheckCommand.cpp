#include <fmt/format.h>

#include <array>
#include <cstring>
#include <fstream>
#include <memory>

#include "Commands.h"
#include "Failure.h"
#include "HostChecks.h"
#include "RecordingChecks.h"

namespace vyhost {
namespace {

struct Options {
  std::string file;
  double timeoutSeconds = 3;
  std::string only;
  bool asJson = false;
};

enum class FileKind { recording, library };

FileKind kindOf(const std::string& path) {
  constexpr std::array<char, 5> kRecordingMark = {'\x89', 'M', 'C', 'A', 'P'};
  constexpr std::array<char, 4> kLibraryMark = {'\x7F', 'E', 'L', 'F'};
  std::array<char, 5> first{};
  std::ifstream file(path, std::ios::binary);
  if (!file) {
    throw Failure(
        fmt::format("cannot open {}: {}; give a host's libTavrixSDK.so or a recording", path, std::strerror(errno)));
  }
  file.read(first.data(), first.size());
  if (first == kRecordingMark) return FileKind::recording;
  if (std::memcmp(first.data(), kLibraryMark.data(), kLibraryMark.size()) == 0) return FileKind::library;
  throw Failure(
      fmt::format("{} is neither a library nor a recording; give a host's libTavrixSDK.so or a recording", path));
}

int check(const Options& options) {
  const std::chrono::milliseconds limit(static_cast<long long>(options.timeoutSeconds * 1000));
  CheckReport report;
  if (kindOf(options.file) == FileKind::recording) {
    report = checkRecording(Recording::read(options.file), options.only);
  } else {
    report = checkHost(options.file, limit, options.only);
  }
  report.checked = options.file;
  if (options.asJson) {
    report.printJson();
  } else {
    report.print();
  }
  return report.hasFailure() ? 1 : 0;
}

}  // namespace

void addCheckCommand(CLI::App& program, int& exitCode) {
  const auto options = std::make_shared<Options>();
  CLI::App* const command = program.add_subcommand(
      "check", "Tries what the library takes for granted of a host: on its libTavrixSDK.so, or on a recording");
  command->add_option("file", options->file, "a host's libTavrixSDK.so, or a recording (*.mcap)")->required();
  command->add_option("--timeout", options->timeoutSeconds, "seconds after which a check of a library has hung")
      ->check(CLI::Range(0.05, 3600.0))
      ->capture_default_str();
  command->add_option("--only", options->only, "make the checks of this name alone");
  command->add_flag("--json", options->asJson, "print the results as JSON");
  command->footer("The exit code is 1 if something fails, and 2 if the file cannot be loaded or read.");
  command->callback([options, &exitCode] { exitCode = check(*options); });
}

}  // namespace vyhost
