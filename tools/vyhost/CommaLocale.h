#pragma once

#include <string>

namespace vyhost {

/// The check that needs it.
constexpr const char* kCommaLocaleCheck = "decimal comma";

/// A locale with a decimal comma, compiled for the checks where the system has none. It is only made available: a check
/// sets it in its own process.
class CommaLocale {
 public:
  CommaLocale();
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;
  ~CommaLocale();

  /// Sets it in this process. False where there is none.
  static bool set();

 private:
  std::string folder_;
};

}  // namespace vyhost
