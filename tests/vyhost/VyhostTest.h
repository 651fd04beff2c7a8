// The command from outside: arguments in, exit code, texts and files out.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <string_view>

#include "Recording.h"

struct Outcome {
  int exitCode = -1;
  std::string out, err;
};

std::string contentsOf(const std::filesystem::path& path);

/// What a recording says about its calls, as a text to compare.
std::string textOf(const vyhost::Recording& recording);

class VyhostTest : public testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override { std::filesystem::remove_all(folder_); }

  /// Runs the command in the scratch folder.
  Outcome vyhost(const std::string& arguments) const;
  std::string path(const std::string& name) const { return folder_ / name; }
  void write(const std::string& name, std::string_view content) const;
  /// The content of a file of this name, which the command `record` makes from the small program.
  std::string makeRecording(const std::string& name) const;
  /// Reads a recording of that content.
  vyhost::Recording read(std::string_view content) const;

  std::filesystem::path folder_;
};
