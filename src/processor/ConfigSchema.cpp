// The schema text: what of a filter's configuration a processor publishes.
#include <charconv>
#include <climits>
#include <clocale>
#include <cmath>
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

void appendInteger(std::string& text, int number) {
  char digits[12];
  text.append(digits, std::to_chars(std::begin(digits), std::end(digits), number).ptr);
}

/// Appends convertConfigValueString(printFixed(number), type).
void appendNumber(std::string& text, double number, VYFilterConfigValueType type) {
  // Most published numbers are whole ones: these need not take the way over two texts.
  constexpr double kEveryFloatIsExact = 1 << 24;
  const bool isSmall = number > -kEveryFloatIsExact && number < kEveryFloatIsExact;
  const bool isWhole = isSmall && static_cast<double>(static_cast<int>(number)) == number;
  if (isWhole && static_cast<int>(type) == kInteger) {
    appendInteger(text, static_cast<int>(number));
  } else if (isWhole && static_cast<int>(type) == kFloat && !std::signbit(number)) {
    appendInteger(text, static_cast<int>(number));
    // Hosts do not change the locale while they call. NOLINTNEXTLINE(concurrency-mt-unsafe)
    text.append(std::localeconv()->decimal_point).append("000000");
  } else {
    text += BasicFrameProcessor::convertConfigValueString(printFixed(number), type);
  }
}

void appendKey(std::string& text, const std::string& filterName, std::uint8_t item) {
  text.append(filterName).append("#");
  appendInteger(text, item);
}

void appendSwitchLine(std::string& lines, const std::string& filterName, const FilterConfig& config) {
  static_assert(FilterConfig::kSwitchItem == 255, "the lines say so");
  // The record's initial state, not the live one.
  lines.append(filterName).append(config.enabled == 1 ? "#255, boolean, 0, 1, 1, 1, " : "#255, boolean, 0, 1, 1, 0, ");
  lines.append(filterName).append(" enable switch\n");
}

/// Appends the line of one item, or nothing when the filter fails to tell about it.
void appendItemLine(std::string& lines, const std::string& filterName, vy_filter_t* filter, const FilterConfig& config,
                    const vy_filter_config_schema_list_t* list, std::uint8_t index) {
  HostErrorSlot slot;
  const VYFilterConfigSchemaItem item = slot.call(config.config_schema_list_get_item, list, index);
  if (slot.isSet()) return;
  const char* const itemName = item.name;
  const double value = slot.call(config.get_config_value, filter, itemName);
  if (slot.isSet()) return;

  const VYFilterConfigValueType type = item.type;
  appendKey(lines, filterName, index);
  lines.append(", ").append(typeName(type));
  for (const double number : {item.min, item.max, item.step, value}) {
    lines.append(", ");
    appendNumber(lines, number, type);
  }
  const char* const description = item.desc;
  lines.append(", ").append(description != nullptr ? description : "").append("\n");
}

}  // namespace

std::string BasicFrameProcessor::generateFilterConfigSchemaCsv(vy_filter_t* filter, const FilterConfig& config) {
  std::string lines;
  appendFilterConfigSchemaCsv(filter, config, lines);
  return lines;
}

void BasicFrameProcessor::appendFilterConfigSchemaCsv(vy_filter_t* filter, const FilterConfig& config,
                                                      std::string& lines) {
  if (filter == nullptr || config.exposedItems.empty()) return;

  HostErrorSlot listSlot;
  const SchemaList list(filter, config, listSlot.out());
  if (listSlot.isSet()) return;

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
