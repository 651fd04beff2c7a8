// The one way in which the command gives up: a text for the person who typed it.
#pragma once

#include <stdexcept>

namespace vyhost {

/// The program's exit code after wrong arguments, unreadable files, and whatever else keeps a command from its work.
constexpr int kCannot = 2;

/// Says in one line what was wrong and, where there is a choice, what would be right.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace vyhost
