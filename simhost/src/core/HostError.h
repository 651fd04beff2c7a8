#pragma once

#include <string>

#include "core/Object.h"

namespace tavrix {

/// What a vy_error stands for.
struct HostError {
  using Handle = vy_error;
  static constexpr Kind kKind = Kind::error;

  int status;
  std::string message;
  std::string function;
  std::string arguments;
  int exceptionType;
};

}  // namespace tavrix
