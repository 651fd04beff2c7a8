// The schema text of a processor, taken apart, and the values that a configuration command sends for it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vycam {

/// One line of the schema: a setting that the library publishes.
struct SchemaRow {
  std::string key;  ///< filter name, "#", item index
  std::string type;
  std::string min, max, step, value;
  std::string description;

  std::string filter() const;
  /// True for the line that switches a filter on and off.
  bool isSwitch() const;
};

using Schema = std::vector<SchemaRow>;

/// Reads a schema text. A line without the seven columns is a Failure.
Schema parseSchema(std::string_view text);

/// The row of that key, or null.
const SchemaRow* findRow(const Schema& schema, std::string_view key);

/// One value per row: from `settings` ("FILTER#ITEM=VALUE") where it is set there, else from the schema. A setting that
/// the schema lacks is a Failure, and so are one that is given twice and a value that is no number.
std::vector<std::string> valuesFor(const Schema& schema, const std::vector<std::string>& settings);

}  // namespace vycam
