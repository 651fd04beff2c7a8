#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>

/// German numbers, with decimal commas, while it lives. Where the system lacks the locale, it is compiled here.
class CommaLocale {
 public:
  CommaLocale() : isSet_(set()) {
    if (isSet_) return;
    // Tests run side by side, each in a process of its own.
    const std::string folder = testing::TempDir() + "vyfp-locale-" + std::to_string(getpid());
    std::filesystem::create_directories(folder);
    const std::string command = "localedef -i de_DE -f UTF-8 '" + folder + "/de_DE.UTF-8' 2>/dev/null";
    setenv("LOCPATH", folder.c_str(), 1);
    isSet_ = std::system(command.c_str()) == 0 && set();
    std::filesystem::remove_all(folder);
  }
  ~CommaLocale() { std::setlocale(LC_NUMERIC, "C"); }
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;

  /// False where the locale cannot be compiled either: the test is skipped then.
  bool isSet() const { return isSet_; }

 private:
  static bool set() { return std::setlocale(LC_NUMERIC, "de_DE.UTF-8") != nullptr; }

  bool isSet_;
};
