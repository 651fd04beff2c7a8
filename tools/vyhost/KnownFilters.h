// What the frame processing library's catalogue demands of a host's filters (docs/catalogue.md).
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace vyhost {

/// A filter that the host must bring.
struct KnownFilter {
  const char* name;                                             ///< asked for and reported
  bool isPrivate = false;                                       ///< made by vy_create_private_filter
  std::vector<std::uint32_t> published = {};                    ///< items of its schema list, by index
  std::vector<std::vector<const char*>> initialArguments = {};  ///< one row a family or a use
};

const std::vector<KnownFilter>& knownFilters();
/// Null for a name that is none of them.
const KnownFilter* findKnownFilter(std::string_view name);

}  // namespace vyhost
