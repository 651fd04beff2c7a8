// Configuration commands: one value per line of the processor's own schema text.
#include <cstdlib>

#include "processor/FrameProcessor.h"
#include "processor/SchemaList.h"

namespace {

/// The first column of a schema line.
struct SettingKey {
  std::string filterName;
  std::uint8_t item;
};

/// The keys of a schema text in the order of its lines. Throws what std::stoi throws for an index that is none.
std::vector<SettingKey> parseKeys(const std::string& schema) {
  std::vector<SettingKey> keys;
  const std::string lines = schema.substr(0, schema.rfind('\n'));
  for (const std::string& line : BasicFrameProcessor::splitString(lines, '\n')) {
    const std::string firstColumn = BasicFrameProcessor::splitString(line, ',').front();
    const std::vector<std::string> pieces = BasicFrameProcessor::splitString(firstColumn, '#');
    if (pieces.size() < 2) continue;  // an empty schema, or a description that holds a line feed
    keys.push_back({pieces[0], static_cast<std::uint8_t>(std::stoi(pieces[1]) & 0xFF)});
  }
  return keys;
}

void setItem(vy_filter_t* filter, const FilterConfig& config, std::uint8_t index, const char* value, vy_error** error) {
  const SchemaList list(filter, config, error);
  if (*error != nullptr) return;
  const std::uint32_t count = config.config_schema_list_get_count(list.get(), error);
  if (*error != nullptr || index + 1U > count) return;
  const VYFilterConfigSchemaItem item = config.config_schema_list_get_item(list.get(), index, error);
  if (*error != nullptr) return;
  config.set_config_value(filter, item.name, std::strtod(value, nullptr), error);
}

}  // namespace

void BasicFrameProcessor::updateConfig(std::uint8_t /*argc*/, const char** argv, vy_error** error) {
  for (const SettingKey& key : parseKeys(configSchema_)) {
    const char* const value = *argv++;
    const auto [filter, config] = getFilter(key.filterName);
    if (filter == nullptr) continue;
    if (key.item == FilterConfig::kSwitchItem) {
      config.enable(filter, std::strtol(value, nullptr, 10) == 1, error);
    } else {
      setItem(filter, config, key.item, value, error);
    }
    if (*error != nullptr) return;
  }
}

std::vector<std::string> BasicFrameProcessor::splitString(const std::string& text, char separator) {
  std::vector<std::string> pieces;
  std::size_t begin = 0;
  for (;;) {
    const std::size_t end = text.find(separator, begin);
    pieces.push_back(text.substr(begin, end - begin));
    if (end == std::string::npos) return pieces;
    begin = end + 1;
  }
}
