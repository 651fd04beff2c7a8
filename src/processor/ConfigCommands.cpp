// Configuration commands: one value per line of the processor's own schema text.
#include <charconv>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "processor/FrameProcessor.h"
#include "processor/SchemaList.h"

namespace {

/// The number at the start of a text; throws what std::stoi throws when there is none.
int readIndex(std::string_view text) {
  int number = 0;
  const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isPlain = status == std::errc() && end == text.data() + text.size();
  return isPlain ? number : std::stoi(std::string(text));
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

/// The keys of a schema text in the order of its lines. Throws what std::stoi throws for an index that is none.
std::vector<BasicFrameProcessor::SettingKey> BasicFrameProcessor::parseKeys(std::string_view schema) {
  std::vector<SettingKey> keys;
  const std::vector<std::string_view> lines = splitString(schema, '\n');
  keys.reserve(lines.size());
  for (const std::string_view line : lines) {
    const std::vector<std::string_view> parts = splitString(line.substr(0, line.find(',')), '#');
    if (parts.size() < 2) continue;  // the end of the text, or of a description that holds a line feed
    keys.push_back({parts[0], static_cast<std::uint8_t>(readIndex(parts[1]) & 0xFF)});
  }
  return keys;
}

/// The keys of the processor's own schema text, read by the first command: most processors never get one. Commands that
/// come at once on several threads may each read them; one of the results stays.
const std::vector<BasicFrameProcessor::SettingKey>& BasicFrameProcessor::keys() {
  const std::vector<SettingKey>* known = keys_.load(std::memory_order_acquire);
  if (known != nullptr) return *known;
  auto fresh = std::make_unique<const std::vector<SettingKey>>(parseKeys(configSchema_));
  return keys_.compare_exchange_strong(known, fresh.get(), std::memory_order_acq_rel) ? *fresh.release() : *known;
}

void BasicFrameProcessor::updateConfig(std::uint8_t /*argc*/, const char** argv, vy_error** error) {
  for (const SettingKey& key : keys()) {
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

std::vector<std::string_view> BasicFrameProcessor::splitString(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  for (std::size_t begin = 0;;) {
    const std::size_t end = text.find(separator, begin);
    pieces.push_back(text.substr(begin, end - begin));
    if (end == std::string_view::npos) return pieces;
    begin = end + 1;
  }
}
