// Configuration commands: one value per line of the processor's own schema text.
#include <cstdlib>
#include <string>

#include "processor/FrameProcessor.h"
#include "processor/ScopedSchemaList.h"

namespace {

void setItem(vy_filter_t* filter, const FilterConfig& config, std::uint8_t index, const char* value, vy_error** error) {
  const ScopedSchemaList list(filter, config, error);
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

/// The keys of a schema text in the order of its lines. Throws what std::stoi throws for an index that is no number.
std::vector<BasicFrameProcessor::SettingKey> BasicFrameProcessor::parseKeys(const std::string& schema) {
  std::vector<SettingKey> keys;
  for (const std::string& line : splitString(schema, '\n')) {
    const std::size_t keyEnd = line.find(',');
    const std::size_t nameEnd = line.find('#');
    if (nameEnd >= keyEnd) continue;  // the end of the text, or of a description that holds a line feed
    const int item = std::stoi(line.substr(nameEnd + 1, keyEnd - nameEnd - 1));
    keys.push_back({line.substr(0, nameEnd), static_cast<std::uint8_t>(item & 0xFF)});
  }
  return keys;
}

std::vector<std::string> BasicFrameProcessor::splitString(const std::string& text, char separator) {
  std::vector<std::string> pieces;
  for (std::size_t begin = 0;;) {
    const std::size_t end = text.find(separator, begin);
    pieces.push_back(text.substr(begin, end - begin));
    if (end == std::string::npos) return pieces;
    begin = end + 1;
  }
}
