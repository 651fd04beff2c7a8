#include <fmt/format.h>

#include <array>
#include <cstring>
#include <fstream>

#include "Commands.h"
#include "Failure.h"
#include "HostChecks.h"
#include "RecordingChecks.h"

namespace vyhost {
namespace {

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

}  // namespace

int check(const CheckOptions& options) {
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

}  // namespace vyhost
