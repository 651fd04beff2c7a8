// The schema text: what of a filter's configuration a processor publishes.
#include <langinfo.h>

#include <charconv>
#include <climits>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <string>
#include <string_view>

#include "host/HostErrorSlot.h"
#include "host/commonTypes.h"
#include "processor/FrameProcessor.h"
#include "processor/SchemaList.h"
#include "processor/TextWriter.h"

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

/// Six digits after the point.
std::string printFixed(double value) {
  // Sign, 309 digits of the largest double, a decimal separator of the locale's (some bytes), six digits, and the end.
  char text[1 + 309 + MB_LEN_MAX + 6 + 1];
  const int length = std::snprintf(text, sizeof text, "%f", value);
  return {text, static_cast<std::size_t>(length)};
}

/// Room for a number below kEveryFloatIsExact with its sign, its point and six digits behind it.
constexpr std::size_t kShortNumber = 32;

void appendInteger(TextWriter& text, int number) {
  char* const end = text.reserve(kShortNumber);
  text.extend(std::to_chars(end, end + kShortNumber, number).ptr);
}

/// The calling thread's, which may change with any call of the host.
std::string_view decimalSeparator() {
  return nl_langinfo(RADIXCHAR);  // NOLINT(concurrency-mt-unsafe): the text of a locale that is in use stays
}

/// Appends what printing a number, reading it as a float and printing that gives, each with six digits after the point
/// and rounded to nearest. False, and nothing, if that cannot be had this way.
bool appendShortFloat(TextWriter& text, double number) {
  constexpr int kDecimals = 6;
  char digits[kShortNumber];
  const auto print = [&digits](double value) {
    return std::to_chars(std::begin(digits), std::end(digits), value, std::chars_format::fixed, kDecimals).ptr;
  };
  float value = 0;
  if (std::from_chars(digits, print(number), value).ec != std::errc()) return false;
  const char* const decimals = print(static_cast<double>(value)) - kDecimals;
  text.append({digits, static_cast<std::size_t>(decimals - 1 - digits)});
  text.append(decimalSeparator());
  text.append({decimals, kDecimals});
  return true;
}

/// Appends convertConfigValueString(printFixed(number), type). Most published numbers are small and many of them whole:
/// these need not take the way over two texts and the locale.
void appendNumber(TextWriter& text, double number, VYFilterConfigValueType type) {
  constexpr double kEveryFloatIsExact = 1 << 24;
  const bool isSmall = number > -kEveryFloatIsExact && number < kEveryFloatIsExact;
  const bool isWhole = isSmall && static_cast<double>(static_cast<int>(number)) == number;
  const int kind = static_cast<int>(type);
  if (kind == kBoolean) {
    text.append("0");  // a number with six digits after the point is not a boolean's text
  } else if (kind == kInteger && isWhole) {
    appendInteger(text, static_cast<int>(number));
  } else if (kind == kFloat && isWhole && !std::signbit(number)) {
    appendInteger(text, static_cast<int>(number));
    text.append(decimalSeparator());
    text.append("000000");
  } else if (kind != kFloat || !isSmall || !appendShortFloat(text, number)) {
    text.append(BasicFrameProcessor::convertConfigValueString(printFixed(number), type));
  }
}

/// Completes the line of a switch, of which the filter's name is there.
void appendSwitchLine(TextWriter& lines, std::size_t lineBegin, const FilterConfig& config) {
  static_assert(FilterConfig::kSwitchItem == 255, "the lines say so");
  const std::size_t nameSize = lines.size() - lineBegin;
  // The record's initial state, not the live one.
  lines.append(config.enabled == 1 ? "#255, boolean, 0, 1, 1, 1, " : "#255, boolean, 0, 1, 1, 0, ");
  lines.repeat(lineBegin, nameSize);
  lines.append(" enable switch\n");
}

/// Completes the line of an item, of which the filter's name is there. False when the filter fails to tell about it.
bool appendItemLine(TextWriter& lines, vy_filter_t* filter, const FilterConfig& config,
                    const vy_filter_config_schema_list_t* list, std::uint8_t index) {
  HostErrorSlot slot;
  const VYFilterConfigSchemaItem item = slot.call(config.config_schema_list_get_item, list, index);
  if (slot.isSet()) return false;
  const char* const itemName = item.name;
  const double value = slot.call(config.get_config_value, filter, itemName);
  if (slot.isSet()) return false;
  const VYFilterConfigValueType type = item.type;
  lines.append("#");
  appendInteger(lines, index);
  lines.append(", ");
  lines.append(typeName(type));
  for (const double number : {item.min, item.max, item.step, value}) {
    lines.append(", ");
    appendNumber(lines, number, type);
  }
  lines.append(", ");
  const char* const description = item.desc;
  if (description != nullptr) lines.append(description);
  lines.append("\n");
  return true;
}

}  // namespace

void BasicFrameProcessor::generateFilterConfigSchemaCsv(vy_filter_t* filter, const FilterConfig& config,
                                                        TextWriter& lines) {
  if (filter == nullptr || config.exposedItems.empty()) return;
  HostErrorSlot listSlot;
  const SchemaList list(filter, config, listSlot.out());
  if (listSlot.isSet()) return;
  for (const std::uint8_t index : config.exposedItems) {
    HostErrorSlot nameSlot;
    const char* const name = nameSlot.call(config.get_name, filter);
    if (nameSlot.isSet() || name == nullptr) continue;
    // At once, as the host's text may not outlive the next call; a line that cannot be completed is taken back.
    const std::size_t lineBegin = lines.size();
    lines.append(name);
    if (index == FilterConfig::kSwitchItem) {
      appendSwitchLine(lines, lineBegin, config);
    } else if (!appendItemLine(lines, filter, config, list.get(), index)) {
      lines.cutTo(lineBegin);
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
