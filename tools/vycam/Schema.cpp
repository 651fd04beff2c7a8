#include "Schema.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "Failure.h"
#include "Suggestion.h"

namespace vycam {
namespace {

constexpr std::string_view kSeparator = ", ";
constexpr std::string_view kSwitchIndex = "#255";

SchemaRow parseRow(std::string_view line) {
  SchemaRow row;
  std::string_view rest = line;
  for (std::string* column : {&row.key, &row.type, &row.min, &row.max, &row.step, &row.value}) {
    const size_t end = rest.find(kSeparator);
    if (end == std::string_view::npos) {
      throw Failure(fmt::format("the library's schema has a line with fewer than seven columns: {}", line));
    }
    *column = rest.substr(0, end);
    rest.remove_prefix(end + kSeparator.size());
  }
  row.description = rest;  // the last column may hold commas itself
  return row;
}

bool isNumber(const std::string& text) {
  char* end = nullptr;
  const double number = std::strtod(text.c_str(), &end);
  return !text.empty() && end == text.c_str() + text.size() && std::isfinite(number);
}

// The library would read a text that is no number as 0, so typing errors are caught here.
void checkValue(const SchemaRow& row, const std::string& value) {
  if (row.isSwitch() || row.type == "boolean") {
    if (value != "0" && value != "1") {
      throw Failure(fmt::format("\"{}\" is no value for {}: give 0 (off) or 1 (on)", value, row.key));
    }
  } else if (!isNumber(value)) {
    throw Failure(fmt::format("\"{}\" is no value for {}: give a number from {} to {}, as in {}={}", value, row.key,
                              row.min, row.max, row.key, row.value));
  }
}

}  // namespace

std::string SchemaRow::filter() const {
  return key.substr(0, key.rfind('#'));
}

bool SchemaRow::isSwitch() const {
  return key.size() > kSwitchIndex.size() && key.compare(key.size() - kSwitchIndex.size(), std::string::npos,
                                                         kSwitchIndex.data(), kSwitchIndex.size()) == 0;
}

Schema parseSchema(std::string_view text) {
  Schema schema;
  while (!text.empty()) {
    const size_t end = std::min(text.find('\n'), text.size());
    schema.push_back(parseRow(text.substr(0, end)));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return schema;
}

const SchemaRow* findRow(const Schema& schema, std::string_view key) {
  const auto found = std::find_if(schema.begin(), schema.end(), [&](const SchemaRow& row) { return row.key == key; });
  return found == schema.end() ? nullptr : &*found;
}

std::vector<std::string> valuesFor(const Schema& schema, const std::vector<std::string>& settings) {
  std::vector<std::string> values;
  std::vector<std::string> keys;
  for (const SchemaRow& row : schema) {
    values.push_back(row.value);
    keys.push_back(row.key);
  }
  std::vector<bool> isGiven(schema.size());
  for (const std::string& setting : settings) {
    const size_t equals = setting.find('=');
    const std::string key = setting.substr(0, equals);
    const SchemaRow* const row = findRow(schema, key);
    if (equals == std::string::npos && !schema.empty()) {
      const SchemaRow& example = row != nullptr ? *row : schema.back();
      throw Failure(fmt::format("\"{}\" is not a setting; give FILTER#ITEM=VALUE, as in {}={}", setting, example.key,
                                example.value));
    }
    if (row == nullptr) {
      throw Failure(fmt::format("unknown setting \"{}\"{}; this chain has {}", key, didYouMean(key, keys),
                                keys.empty() ? "none" : fmt::format("{}", fmt::join(keys, ", "))));
    }
    const auto index = static_cast<size_t>(row - schema.data());
    if (isGiven[index]) {
      throw Failure(fmt::format("{} is set twice, the second time by {}; give it once", key, setting));
    }
    isGiven[index] = true;
    values[index] = setting.substr(equals + 1);
    checkValue(*row, values[index]);
  }
  return values;
}

}  // namespace vycam
