#pragma once

#include <string>

namespace vyhost {

/// Throws an exception that the recorded host threw. One of a type that is unknown here becomes another that keeps its
/// name.
///   type: as a recording names it
[[noreturn]] void throwLike(const std::string& type);

/// The type of the exception that is being handled, as a recording names it.
std::string currentException();

}  // namespace vyhost
