// The schema text: what of a filter's configuration a processor publishes.
#include <climits>
#include <cstdio>
#include <iterator>

#include "api/HostErrorSlot.h"
#include "api/commonTypes.h"
#include "processor/FrameProcessor.h"
#include "processor/SchemaList.h"

namespace {

/// The configuration value types by the host's numbers, and how the text names them.
constexpr int kInteger = 0;
constexpr int kFloat = 1;
constexpr int kBoolean = 2;
constexpr const char* gFilterConfigValueTypeMap[] = {"integer", "float", "boolean"};

const char* typeName(VYFilterConfigValueType type) {
  const int number = static_cast<int>(type);
  const bool known = number >= 0 && number < static_cast<int>(std::size(gFilterConfigValueTypeMap));
  return known ? gFilterConfigValueTypeMap[number] : "";
}

/// Six digits after the point.
std::string printFixed(double value) {
  // Sign, 309 digits of the largest double, a decimal separator of the locale's (some bytes), six digits, and the end.
  char text[1 + 309 + MB_LEN_MAX + 6 + 1];
  const int length = std::snprintf(text, sizeof text, "%f", value);
  return {text, static_cast<std::size_t>(length)};
}

std::string key(const std::string& filterName, std::uint8_t item) {
  return filterName + "#" + std::to_string(item);
}

std::string switchLine(const std::string& filterName, const FilterConfig& config) {
  // The record's initial state, not the live one.
  const char* const state = config.enabled == 1 ? "1" : "0";
  return key(filterName, FilterConfig::kSwitchItem) + ", boolean, 0, 1, 1, " + state + ", " + filterName +
         " enable switch\n";
}

/// The line of one item; empty when the filter fails to tell about it.
std::string itemLine(const std::string& filterName, vy_filter_t* filter, const FilterConfig& config,
                     const vy_filter_config_schema_list_t* list, std::uint8_t index) {
  HostErrorSlot slot;
  const VYFilterConfigSchemaItem item = slot.call(config.config_schema_list_get_item, list, index);
  if (slot.isSet()) return {};
  const char* const itemName = item.name;
  const double value = slot.call(config.get_config_value, filter, itemName);
  if (slot.isSet()) return {};

  const VYFilterConfigValueType type = item.type;
  std::string line = key(filterName, index) + ", " + typeName(type);
  for (const double number : {item.min, item.max, item.step, value}) {
    line += ", " + BasicFrameProcessor::convertConfigValueString(printFixed(number), type);
  }
  const char* const description = item.desc;
  return line + ", " + (description != nullptr ? description : "") + "\n";
}

}  // namespace

std::string BasicFrameProcessor::generateFilterConfigSchemaCsv(vy_filter_t* filter, const FilterConfig& config) {
  std::string lines;
  if (filter == nullptr || config.exposedItems.empty()) return lines;

  HostErrorSlot listSlot;
  const SchemaList list(filter, config, listSlot.out());
  if (listSlot.isSet()) return lines;

  for (const std::uint8_t index : config.exposedItems) {
    HostErrorSlot nameSlot;
    const char* const reported = nameSlot.call(config.get_name, filter);
    if (nameSlot.isSet() || reported == nullptr) continue;
    const std::string name = reported;  // the host's text may not outlive the next call
    lines += index == FilterConfig::kSwitchItem ? switchLine(name, config)
                                                : itemLine(name, filter, config, list.get(), index);
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
      return cvt2Float(value, &number) ? printFixed(static_cast<double>(number)) : "0.0";
    }
    case kBoolean: {
      bool state = false;
      return cvt2Boolean(value, &state) && state ? "1" : "0";
    }
    default:
      return {};
  }
}
