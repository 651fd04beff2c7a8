#pragma once

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <string>

/// German numbers, with decimal commas, while it lives; or those of another locale. Where the system lacks the locale,
/// it is compiled here; where that cannot be done, the test fails.
class CommaLocale {
 public:
  explicit CommaLocale(const std::string& name = "de_DE") {
    const std::string full = name + ".UTF-8";
    const auto set = [&full] { return std::setlocale(LC_NUMERIC, full.c_str()) != nullptr; };
    if (set()) return;
    // A folder of its own, as tests run side by side.
    std::string folder = testing::TempDir() + "vyfp-locale-XXXXXX";
    const bool isMade = mkdtemp(folder.data()) != nullptr;
    const std::string command = "localedef -i " + name + " -f UTF-8 '" + folder + "/" + full + "' 2>/dev/null";
    setenv("LOCPATH", folder.c_str(), 1);
    EXPECT_TRUE(isMade && std::system(command.c_str()) == 0 && set())
        << "no locale with decimal commas: install the package locales";
    if (isMade) std::filesystem::remove_all(folder);
  }
  ~CommaLocale() { std::setlocale(LC_NUMERIC, "C"); }
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;
};
