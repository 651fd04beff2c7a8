// A command from outside: arguments in, exit code, texts and files out.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <string_view>

struct Outcome {
  int exitCode = -1;
  std::string out, err;
};

std::string contentsOf(const std::filesystem::path& path);

class CommandTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override { std::filesystem::remove_all(folder_); }

  /// Runs a line of the shell in the scratch folder.
  Outcome shell(const std::string& line) const;
  std::string path(const std::string& name) const { return folder_ / name; }
  void write(const std::string& name, std::string_view content) const;
  /// Everything in the scratch folder, hidden files too.
  std::set<std::string> files() const;

  std::filesystem::path folder_;
};
