// The command and what it records.
#pragma once

#include <string>
#include <string_view>

#include "Recording.h"
#include "support/CommandTest.h"

/// What a recording says about its calls, as a text to compare.
std::string textOf(const vyhost::Recording& recording);

class VyhostTest : public CommandTest {
 protected:
  /// Runs the command in the scratch folder.
  Outcome vyhost(const std::string& arguments) const { return shell(VYHOST_COMMAND " " + arguments); }
  /// The content of a file of this name, which the command `record` makes from the small program.
  std::string makeRecording(const std::string& name) const;
  /// Reads a recording of that content.
  vyhost::Recording read(std::string_view content) const;
};
