#include "CheckReport.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <nlohmann/json.hpp>

namespace vyhost {
namespace {

/// A verdict as a line begins with it, and as JSON names it.
constexpr struct {
  const char* word;
  const char* jsonWord;
} kVerdicts[] = {{"ok", "ok"}, {"warning", "warning"}, {"FAIL", "fail"}, {"not tried", "not tried"}};

const auto& wordsOf(Verdict verdict) {
  return kVerdicts[static_cast<std::size_t>(verdict)];
}

std::size_t count(const std::vector<Finding>& findings, Verdict verdict) {
  return static_cast<std::size_t>(std::count_if(findings.begin(), findings.end(),
                                                [verdict](const Finding& each) { return each.verdict == verdict; }));
}

/// Texts of a host or of a recording may hold line feeds and worse.
std::string oneLine(std::string text) {
  for (char& character : text) {
    if (static_cast<unsigned char>(character) < 0x20 || character == 0x7F) character = ' ';
  }
  return text;
}

}  // namespace

bool CheckReport::hasFailure() const {
  return count(findings, Verdict::fail) != 0;
}

void CheckReport::print() const {
  std::size_t width = 0;
  for (const Finding& each : findings) width = std::max(width, each.check.size());
  for (auto each = findings.begin(); each != findings.end(); ++each) {
    std::string text = each->subject.empty() ? each->text : fmt::format("{}: {}", each->subject, each->text);
    const bool isFolded = each->verdict == Verdict::ok || each->verdict == Verdict::notTried;
    if (isFolded && !each->subject.empty()) {
      const auto isAlike = [each](const Finding& other) {
        return other.verdict == each->verdict && other.check == each->check && other.text == each->text;
      };
      // The first of them stands for all.
      if (std::any_of(findings.begin(), each, isAlike)) continue;
      const auto alike = std::count_if(each, findings.end(), isAlike);
      if (alike > 1) text = fmt::format("{} ({} times)", each->text, alike);
    }
    fmt::print("{:<11}{:<{}}  {}\n", wordsOf(each->verdict).word, each->check, width, oneLine(text));
  }
  const std::size_t warnings = count(findings, Verdict::warning);
  fmt::print("{} results: {} ok, {} {}, {} FAIL, {} not tried\n", findings.size(), count(findings, Verdict::ok),
             warnings, warnings == 1 ? "warning" : "warnings", count(findings, Verdict::fail),
             count(findings, Verdict::notTried));
}

void CheckReport::printJson() const {
  nlohmann::ordered_json results = nlohmann::json::array();
  for (const Finding& each : findings) {
    results.push_back({{"verdict", wordsOf(each.verdict).jsonWord},
                       {"check", each.check},
                       {"subject", each.subject},
                       {"text", each.text}});
  }
  nlohmann::ordered_json counts;
  for (const Verdict verdict : {Verdict::ok, Verdict::warning, Verdict::fail, Verdict::notTried})
    counts[wordsOf(verdict).jsonWord] = count(findings, verdict);
  const nlohmann::ordered_json all = {{"checked", checked}, {"results", results}, {"count", counts}};
  // Bytes of a host's text that are no UTF-8 are replaced.
  fmt::print("{}\n", all.dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
}

}  // namespace vyhost
