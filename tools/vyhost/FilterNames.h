#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "Recording.h"

namespace vyhost {

/// By what names the filters of a recording were asked for. One that the library made goes by its own name rather than
/// that of the host's filter inside it, with which it shares the handle.
class FilterNames {
 public:
  explicit FilterNames(const Recording& recording);
  /// Empty for a filter that was never asked for.
  std::string of(std::uint64_t filter) const;

 private:
  std::map<std::uint64_t, std::string> names_;
};

/// Whether a function makes filters by name.
bool makesFilter(const FunctionInfo& function);
/// What a call is about: its first handle, with the name of a filter, or the text that it begins with; empty for none.
std::string subjectOf(const Call& call, const FilterNames& names);

}  // namespace vyhost
