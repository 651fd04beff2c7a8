#include "Terminal.h"

#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <system_error>

#include "Failure.h"

namespace vycam {

size_t terminalWidth(int descriptor) {
  constexpr size_t kUsual = 80;
  winsize size = {};
  if (ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) {
    return size.ws_col;
  }
  const char* const columns = std::getenv("COLUMNS");  // NOLINT(concurrency-mt-unsafe): nothing changes it
  const size_t wanted = columns == nullptr ? 0 : std::strtoul(columns, nullptr, 10);
  return wanted > 0 ? wanted : kUsual;
}

std::string folded(std::string line, size_t width, size_t indent) {
  std::string text;
  while (line.size() > width) {
    const size_t begin = line.find_first_not_of(' ');
    size_t cut = line.rfind(' ', width);
    if (cut == std::string::npos || cut < begin) {
      cut = line.find(' ', begin);
    }
    const size_t next = line.find_first_not_of(' ', cut);
    if (next == std::string::npos) {
      break;
    }
    text += line.substr(0, line.find_last_not_of(' ', cut) + 1) + '\n';
    line.replace(0, next, indent, ' ');
  }
  return text + line + '\n';
}

void printFolded(const std::string& line, size_t indent) {
  fmt::print("{}", folded(line, terminalWidth(STDOUT_FILENO), indent));
}

void flushOutput() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    throw Failure(fmt::format("cannot write to the standard output: {}", std::generic_category().message(errno)));
  }
}

}  // namespace vycam
