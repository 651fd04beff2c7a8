#include "CommandLine.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <sstream>
#include <vector>

#include "Suggestion.h"
#include "Terminal.h"

namespace vycam {
namespace {

void addOptionNames(const CLI::App& app, std::vector<std::string>& names) {
  for (const CLI::Option* option : app.get_options()) {
    for (const std::string& name : option->get_lnames()) {
      names.push_back("--" + name);
    }
  }
}

/// The column in which the text of a help line begins: behind the name of an option, where there is one.
size_t textColumn(const std::string& line) {
  const size_t begin = std::min(line.find_first_not_of(' '), line.size());
  const size_t gap = line.find("  ", begin);
  return gap == std::string::npos ? begin : line.find_first_not_of(' ', gap);
}

}  // namespace

std::string helpText(const CLI::App& app, size_t width) {
  constexpr size_t kBeside = 32;
  constexpr size_t kBelow = 4;
  app.get_formatter()->column_width(kBeside + kLeastColumns <= width ? kBeside : kBelow);
  std::istringstream lines(app.help());
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    text += folded(line, width, textColumn(line));
  }
  return text;
}

std::string complaint(const CLI::App& app, const CLI::ParseError& error) {
  const std::vector<CLI::App*> chosen = app.get_subcommands();
  const std::string command = chosen.empty() ? "vycam" : "vycam " + chosen.front()->get_name();
  const std::string help = fmt::format("({} --help tells more)", command);
  const std::vector<std::string> unknown = app.remaining(true);
  if (unknown.empty()) {
    return fmt::format("{} {}", error.what(), help);
  }
  // What follows an unknown option may be its value.
  const auto isOption = [](const std::string& word) { return word.rfind('-', 0) == 0; };
  const auto option = std::find_if(unknown.begin(), unknown.end(), isOption);
  const std::string& word = option != unknown.end() ? *option : unknown.front();
  std::vector<std::string> names;
  if (chosen.empty() && !isOption(word)) {
    for (const CLI::App* each : app.get_subcommands({})) {
      names.push_back(each->get_name());
    }
    return fmt::format("unknown command \"{}\"{}; commands are {} {}", word, didYouMean(word, names),
                       fmt::join(names, ", "), help);
  }
  addOptionNames(app, names);
  if (!chosen.empty()) {
    addOptionNames(*chosen.front(), names);
  }
  return fmt::format("{} \"{}\"{} {}", isOption(word) ? "unknown option" : "not expected:", word,
                     didYouMean(word, names), help);
}

}  // namespace vycam
