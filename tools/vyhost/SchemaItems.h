#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "HostUnderTest.h"

namespace vyhost {

/// An item of a filter's schema list.
struct SchemaItem {
  const char* nameAddress;  ///< the host's text, while the list lives
  std::optional<std::string> name, description;
  int type;
  double min, max, step, def;
};

/// Asks for an item, with room for a longer record than the library knows, and tells whether that is an error.
SeenError askItem(const HostUnderTest& host, const vy_filter_config_schema_list_t* list, std::uint32_t index);
/// The item at an index. Throws Broken if the record that comes back is laid out otherwise than the library reads it.
SchemaItem readItem(const HostUnderTest& host, const vy_filter_config_schema_list_t* list, std::uint32_t index);
/// All items of a filter. The list is not given back: the names live as long.
std::vector<SchemaItem> readItems(const HostUnderTest& host, const vy_filter_t* filter);
/// A new list. Throws Broken for null.
vy_filter_config_schema_list_t* makeList(const HostUnderTest& host, const vy_filter_t* filter);

}  // namespace vyhost
