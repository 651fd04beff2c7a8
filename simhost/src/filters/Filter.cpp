#include "filters/Filter.h"

#include <fmt/format.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdlib>

namespace tavrix {
namespace {

const char* typeName(VYFilterConfigValueType type) {
  switch (type) {
    case VY_FILTER_CONFIG_VALUE_TYPE_INT:
      return "integer";
    case VY_FILTER_CONFIG_VALUE_TYPE_FLOAT:
      return "float";
    case VY_FILTER_CONFIG_VALUE_TYPE_BOOLEAN:
      return "boolean";
  }
  return "unknown";
}

std::vector<double> defaultsOf(const Schema& schema) {
  std::vector<double> values;
  for (const SchemaItem& item : schema) values.push_back(item.def);
  return values;
}

/// Reads a number with a decimal point, whatever the thread's locale is.
double parseNumber(const std::string& filter, const SchemaItem& item, const char* text) {
  static const locale_t kPointLocale = newlocale(LC_ALL_MASK, "C", nullptr);
  char* end = nullptr;
  const double number = text != nullptr ? strtod_l(text, &end, kPointLocale) : 0;
  if (text == nullptr || end == text || *end != '\0') {
    throw Failure(ExceptionType::invalidValue, fmt::format("{}: {} must be a number but is {}", filter, item.name,
                                                           text != nullptr ? fmt::format("\"{}\"", text) : "null"));
  }
  return number;
}

std::string namesOf(const Schema& schema) {
  std::string names;
  for (const SchemaItem& item : schema) names += (names.empty() ? "" : ", ") + std::string(item.name);
  return names;
}

}  // namespace

Filter::Filter(std::string name, Schema schema)
    : name_(std::move(name)), schema_(std::move(schema)), values_(defaultsOf(schema_)) {}

const char* Filter::schemaText() {
  if (schemaText_.empty()) {
    for (const SchemaItem& item : schema_) {
      schemaText_ += fmt::format("{},{},{},{},{},{},{}\n", item.name, typeName(item.type), item.min, item.max,
                                 item.step, item.def, item.description != nullptr ? item.description : "");
    }
  }
  return schemaText_.c_str();
}

size_t Filter::indexOf(const char* item) const {
  if (item == nullptr) throw Refusal(ExceptionType::invalidValue, "item is null: expected the name of an item");
  const auto found = std::find_if(schema_.begin(), schema_.end(),
                                  [item](const SchemaItem& each) { return std::string(item) == each.name; });
  if (found != schema_.end()) return static_cast<size_t>(found - schema_.begin());
  throw Failure(ExceptionType::notFound,
                schema_.empty() ? fmt::format("{} has no item \"{}\": it has none at all", name_, item)
                                : fmt::format("{} has no item \"{}\": it has {}", name_, item, namesOf(schema_)));
}

void Filter::checkValue(const SchemaItem& item, double value) const {
  const bool inRange = value >= item.min && value <= item.max;  // false for a NaN
  const bool isStepped = item.type != VY_FILTER_CONFIG_VALUE_TYPE_FLOAT && item.step > 0;
  if (inRange && (!isStepped || std::fmod(value - item.min, item.step) == 0)) return;
  throw Failure(ExceptionType::invalidValue,
                fmt::format("{}: {} must be from {} to {}{} but is {}", name_, item.name, item.min, item.max,
                            isStepped ? fmt::format(" in steps of {}", item.step) : "", value));
}

double Filter::value(const char* item) const {
  return values_[indexOf(item)];
}

void Filter::setValue(const char* item, double value) {
  const size_t index = indexOf(item);
  checkValue(schema_[index], value);
  values_[index] = value;
}

void Filter::updateConfig(size_t count, const char* const* texts) {
  if (count != schema_.size()) {
    throw Failure(ExceptionType::invalidValue, schema_.empty()
                                                   ? fmt::format("{} takes no arguments but got {}", name_, count)
                                                   : fmt::format("{} takes {} arguments ({}) but got {}", name_,
                                                                 schema_.size(), namesOf(schema_), count));
  }
  if ((texts == nullptr) && count > 0)
    throw Refusal(ExceptionType::invalidValue, "argv is null: expected the argument texts");
  std::vector<double> values;
  for (size_t i = 0; i < count; ++i) {
    values.push_back(parseNumber(name_, schema_[i], texts[i]));
    checkValue(schema_[i], values.back());
  }
  checkTogether(values);
  values_ = std::move(values);
}

void Filter::reset() {
  values_ = defaultsOf(schema_);
}

void requireFormat(const Filter& filter, const Frame& frame, std::initializer_list<VYFormat> formats,
                   const char* wanted) {
  const VYFormat format = frame.shape().format;
  if (std::find(formats.begin(), formats.end(), format) != formats.end()) return;
  throw Failure(ExceptionType::unsuitableFrame,
                fmt::format("{} works on {} but got a frame of {}", filter.name(), wanted, formatText(format)));
}

void requirePixelType(const Filter& filter, const Frame& frame, std::initializer_list<VYPixelType> types,
                      const char* wanted) {
  const VYPixelType type = frame.shape().pixelType;
  if (std::find(types.begin(), types.end(), type) != types.end()) return;
  throw Failure(ExceptionType::unsuitableFrame,
                fmt::format("{} works on {} but got a frame of {}", filter.name(), wanted, pixelTypeName(type)));
}

}  // namespace tavrix
