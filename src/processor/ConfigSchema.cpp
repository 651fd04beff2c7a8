// The schema text: what of a filter's configuration a processor publishes.
#include <iterator>
#include <string>
#include <string_view>

#include "host/HostErrorSlot.h"
#include "host/commonTypes.h"
#include "processor/FrameProcessor.h"
#include "processor/ScopedSchemaList.h"

namespace {

/// The configuration value types by the host's numbers, and how the text names them.
constexpr int kInteger = 0;
constexpr int kFloat = 1;
constexpr int kBoolean = 2;
constexpr std::string_view gFilterConfigValueTypeMap[] = {"integer", "float", "boolean"};

std::string_view typeName(VYFilterConfigValueType type) {
  const auto number = static_cast<unsigned>(type);
  return number < std::size(gFilterConfigValueTypeMap) ? gFilterConfigValueTypeMap[number] : "";
}

void appendSwitchLine(std::string& lines, const std::string& filterName, const FilterConfig& config) {
  static_assert(FilterConfig::kSwitchItem == 255, "the line says so");
  // The record's initial state, not the live one.
  const char* const state = config.enabled == 1 ? "1" : "0";
  lines.append(filterName).append("#255, boolean, 0, 1, 1, ").append(state);
  lines.append(", ").append(filterName).append(" enable switch\n");
}

/// Appends nothing when the filter fails to tell about the item.
void appendItemLine(std::string& lines, const std::string& filterName, vy_filter_t* filter, const FilterConfig& config,
                    const vy_filter_config_schema_list_t* list, std::uint8_t index) {
  HostErrorSlot slot;
  const VYFilterConfigSchemaItem item = slot.call(config.config_schema_list_get_item, list, index);
  if (slot.isSet()) return;
  const char* const itemName = item.name;
  const double value = slot.call(config.get_config_value, filter, itemName);
  if (slot.isSet()) return;

  lines.append(filterName).append("#").append(std::to_string(index)).append(", ").append(typeName(item.type));
  for (const double number : {item.min, item.max, item.step, value}) {
    // Printed with six digits first whatever the type: an integer loses them again, a boolean always reads 0.
    lines.append(", ").append(BasicFrameProcessor::convertConfigValueString(std::to_string(number), item.type));
  }
  const char* const description = item.desc;
  lines.append(", ").append(description != nullptr ? description : "").append("\n");
}

}  // namespace

std::string BasicFrameProcessor::generateFilterConfigSchemaCsv(vy_filter_t* filter, const FilterConfig& config) {
  std::string lines;
  if (filter == nullptr || config.exposedItems.empty()) return lines;
  HostErrorSlot listSlot;
  const ScopedSchemaList list(filter, config, listSlot.out());
  if (listSlot.isSet()) return lines;
  constexpr std::size_t kUsualLine = 80;  // most are shorter
  lines.reserve(config.exposedItems.size() * kUsualLine);
  std::string name;
  for (const std::uint8_t index : config.exposedItems) {
    HostErrorSlot nameSlot;
    const char* const reported = nameSlot.call(config.get_name, filter);
    if (nameSlot.isSet() || reported == nullptr) continue;
    name = reported;  // the host's text may not outlive the next call
    if (index == FilterConfig::kSwitchItem) {
      appendSwitchLine(lines, name, config);
    } else {
      appendItemLine(lines, name, filter, config, list.get(), index);
    }
  }
  return lines;
}

std::string BasicFrameProcessor::convertConfigValueString(const std::string& value, VYFilterConfigValueType type) {
  switch (static_cast<int>(type)) {
    case kInteger: {
      int number = 0;
      return cvt2Int(value, &number) ? std::to_string(number) : "0";
    }
    case kFloat: {
      float number = 0;
      return cvt2Float(value, &number) ? std::to_string(number) : "0.0";
    }
    case kBoolean: {
      bool state = false;
      return cvt2Boolean(value, &state) && state ? "1" : "0";
    }
    default:
      return {};
  }
}
