#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Recording.h"

namespace vyhost {

/// Which calls are wanted; what is empty wants all.
struct CallFilter {
  std::vector<std::string> functions;  ///< names, "*" and "?" stand for any letters
  std::vector<std::string> handles;    ///< "filter:3", or the name of a filter
  std::vector<unsigned> threads;
  std::optional<double> from, to;  ///< seconds since the first call
};

/// One line for each wanted call, by the time of its beginning: time, thread, the call with its arguments as deep as it
/// is nested, what it returned, how long it took, and its error. Throws Failure for a filter that nothing can pass.
std::string callLines(const Recording& recording, const CallFilter& filter);

}  // namespace vyhost
