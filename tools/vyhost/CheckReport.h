#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vyhost {

enum class Verdict { ok, warning, fail, notTried };

/// One line of a report.
struct Finding {
  Verdict verdict = Verdict::ok;
  std::string_view check;  ///< the name of the check
  std::string subject;     ///< which filter, function, frame; empty for a check of the whole
  std::string text;        ///< what was found; for ok what was tried
};

/// What a check of a host or of a recording found.
struct CheckReport {
  std::string checked;  ///< the file
  std::vector<Finding> findings;

  bool hasFailure() const;
  /// For a person: what is ok or not tried alike for many subjects is one line, everything else a line each. The count
  /// is the last line.
  void print() const;
  void printJson() const;
};

}  // namespace vyhost
