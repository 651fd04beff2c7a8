// What somebody may have meant who mistyped a name.
#pragma once

#include <string>
#include <vector>

namespace vycam {

/// " (did you mean run?)" with the name that is nearest to the word; empty where none is near.
std::string didYouMean(const std::string& word, const std::vector<std::string>& names);

}  // namespace vycam
