// What the command prints, to the letter: tables, summaries, what is wrong and what would be right, and which files it
// makes. kept/words.txt has the commands; kept/help.txt our own words in the helps, in their order.
#include <regex>

#include "vycam/VycamTest.h"

namespace {

using WordsTest = VycamTest;

/// The text with each line behind `mark`.
std::string marked(const std::string& text, const char* mark) {
  return std::regex_replace(text, std::regex("[^\n]+"), mark + std::string("$&"));
}

/// The text without what differs from run to run.
std::string withoutTimes(std::string text) {
  text =
      std::regex_replace(text, std::regex("\n(    [A-Z][^\n]*)[ 0-9]{2}[0-9]\\.[0-9]{3} ms(?=\n)"), "\n$1###.### ms");
  text = std::regex_replace(text, std::regex("[0-9]+\\.[0-9]{3}(?=,| ?ms)|[0-9]+(?= ns per)"), "#");
  text = std::regex_replace(text, std::regex("(_s\": )[0-9][-0-9.e]*"), "$1#");
  return std::regex_replace(text, std::regex("ms \\([0-9.]+ %\\)"), "ms (# %)");
}

TEST_F(WordsTest, AreTheKeptOnes) {
  writePng(path("scene.png"), storedPng(rampWithHole()));
  writePng(path("black.png"), storedPng({32, 16, std::vector<uint16_t>(512)}));
  writePng(path("bytes.png"), {32, 32, 8, PNG_COLOR_TYPE_GRAY, 0, std::vector(32, std::vector<png_byte>(32))});
  std::istringstream lines(kept("words.txt"));
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("# ", 0) == 0) text += line + '\n';
    if (line.rfind("$ ", 0) != 0) continue;
    const std::set<std::string> before = files();
    const Outcome outcome =
        shell("export LC_ALL=C COLUMNS=300; vycam() { VYSIM_PRINT_REFUSALS=1 '" VYCAM_COMMAND "' \"$@\"; }; " +
              line.substr(2));
    text += line + '\n' + withoutTimes('\n' + outcome.out).substr(1) + marked(outcome.err, "! ");
    if (outcome.exitCode != 0) text += "= " + std::to_string(outcome.exitCode) + '\n';
    for (const std::string& name : files()) text += before.count(name) == 0 ? "+ " + name + '\n' : "";
  }
  expectKept("words.txt", text);
}

TEST_F(WordsTest, HelpsHaveTheKeptOnes) {
  std::istringstream lines(kept("help.txt"));
  std::string help;
  size_t at = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.rfind("$ ", 0) == 0) {
      const Outcome outcome = vycam(line.substr(8));
      EXPECT_TRUE(outcome.exitCode == 0 && outcome.err.empty()) << line << outcome.err;
      help = " " + std::regex_replace(outcome.out, std::regex("\\s+"), " ");
      at = 0;
      continue;
    }
    const size_t found = help.find(' ' + line + ' ', at);
    EXPECT_NE(found, std::string::npos) << "\"" << line << "\" is missing in: " << help.substr(at);
    at = found == std::string::npos ? at : found + line.size();
  }
}

}  // namespace
