#include "OutputFile.h"

#include <fmt/format.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "Failure.h"

namespace vyhost {
namespace {

bool writeAll(int descriptor, std::string_view content) {
  while (!content.empty()) {
    const ssize_t size = ::write(descriptor, content.data(), content.size());
    if (size < 0 && errno != EINTR) return false;
    if (size > 0) content.remove_prefix(static_cast<std::size_t>(size));
  }
  return true;
}

/// The rights of the file that is there, or those of a new one.
mode_t modeFor(const std::string& path) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) == 0) return status.st_mode & 07777;
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

}  // namespace

void writeFile(const std::string& path, std::string_view content) {
  namespace fs = std::filesystem;
  std::error_code none;
  const auto fail = [&path] { throw Failure(fmt::format("cannot write {}: {}", path, std::strerror(errno))); };
  const fs::file_status status = fs::status(path, none);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    throw Failure(fmt::format("cannot write {}: it is no file; name a file in an existing folder", path));
  }
  // A link stays what it is.
  const std::string target = fs::exists(status) ? fs::canonical(path).string() : path;
  std::string temporary = target + ".XXXXXX";
  const int descriptor = ::mkstemp(temporary.data());
  if (descriptor < 0) fail();
  bool isWritten =
      writeAll(descriptor, content) && ::fchmod(descriptor, modeFor(target)) == 0 && ::fsync(descriptor) == 0;
  int error = errno;
  if (::close(descriptor) != 0 && isWritten) {
    error = errno;
    isWritten = false;
  }
  if (isWritten && std::rename(temporary.c_str(), target.c_str()) == 0) return;
  if (isWritten) error = errno;
  ::unlink(temporary.c_str());
  errno = error;
  fail();
}

int endOutput(int exitCode) {
  std::fflush(stdout);
  if (std::ferror(stdout) == 0) return exitCode;
  fmt::print(stderr, "vyhost: cannot write to the standard output\n");
  return kCannot;
}

}  // namespace vyhost
