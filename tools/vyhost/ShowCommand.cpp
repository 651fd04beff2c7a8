#include <fmt/format.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <filesystem>
#include <memory>

#include "CallLines.h"
#include "Commands.h"
#include "OutputFile.h"
#include "Story.h"
#include "StoryJson.h"
#include "StoryPage.h"
#include "StoryText.h"

namespace vyhost {
namespace {

struct ShowOptions {
  std::string file, page;
  bool asJson = false, asCalls = false;
  CallFilter filter;
};

std::size_t terminalWidth() {
  constexpr std::size_t kUsual = 80;
  winsize size = {};
  const bool isTerminal = ::isatty(STDOUT_FILENO) == 1 && ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0;
  return isTerminal && size.ws_col > 0 ? size.ws_col : kUsual;
}

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

}  // namespace

void addShowCommand(CLI::App& program, int& /*exitCode*/) {
  CLI::App* const command = program.add_subcommand("show", "Tells what happened in a recording");
  const auto options = std::make_shared<ShowOptions>();
  CallFilter& filter = options->filter;
  command->add_option("FILE", options->file, "the recording")->required();
  CLI::Option* const json = command->add_flag("--json", options->asJson, "for machines");
  CLI::Option* const page = command->add_option("--html", options->page, "as a page, into this file");
  CLI::Option* const calls = command->add_flag("--calls", options->asCalls, "one line a call");
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
  command->callback([options] { show(*options); });
}

}  // namespace vyhost
