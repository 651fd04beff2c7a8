#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <filesystem>

#include "CallLines.h"
#include "Commands.h"
#include "OutputFile.h"
#include "Story.h"
#include "StoryJson.h"
#include "StoryPage.h"
#include "StoryText.h"

namespace vyhost {
namespace {

std::size_t terminalWidth() {
  constexpr std::size_t kUsual = 80;
  winsize size = {};
  const bool isTerminal = ::isatty(STDOUT_FILENO) == 1 && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0;
  return isTerminal && size.ws_col > 0 ? size.ws_col : kUsual;
}

}  // namespace

void show(const ShowOptions& options) {
  const Recording recording = Recording::read(options.file);
  if (options.asCalls) {
    fmt::print("{}", callLines(recording, options.filter));
    return;
  }
  const Story story = tellStory(recording);
  const std::string file = std::filesystem::path(options.file).filename().string();
  if (options.asJson) fmt::print("{}", storyJson(file, recording, story));
  if (!options.page.empty()) writeFile(options.page, storyPage(file, recording, story));
  if (!options.asJson && options.page.empty()) fmt::print("{}", storyText(file, recording, story, terminalWidth()));
}

}  // namespace vyhost
