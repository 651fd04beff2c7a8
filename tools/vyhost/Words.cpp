#include "Words.h"

#include <fmt/format.h>

#include <algorithm>
#include <exception>

namespace vyhost {
namespace {

/// How many bytes a character of UTF-8 has that begins at a place; 0 for what is none.
std::size_t characterLength(const std::string& bytes, std::size_t at) {
  const auto byte = [&bytes](std::size_t place) {
    return place < bytes.size() ? static_cast<unsigned char>(bytes[place]) : 0U;
  };
  const unsigned first = byte(at);
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4) return 0;
  // Neither longer forms than needed, nor surrogates, nor what lies behind the last character.
  const unsigned second = byte(at + 1);
  if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) || (first == 0xF0 && second < 0x90) ||
      (first == 0xF4 && second > 0x8F))
    return 0;
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(at + i) & 0xC0U) != 0x80) return 0;
  }
  return length;
}

/// Whether a character is one that controls a terminal: C0, delete, C1.
bool isControl(const std::string& bytes, std::size_t at) {
  const auto first = static_cast<unsigned char>(bytes[at]);
  return first < 0x20 || first == 0x7F ||
         (first == 0xC2 && at + 1 < bytes.size() && static_cast<unsigned char>(bytes[at + 1]) < 0xA0);
}

}  // namespace

const nlohmann::json& argumentOf(const Call& call, std::size_t index) {
  static const nlohmann::json none;
  return call.arguments.is_array() && index < call.arguments.size() ? call.arguments[index] : none;
}

std::uint64_t handleOf(const nlohmann::json& value) {
  return value.is_number_unsigned() ? value.get<std::uint64_t>() : 0;
}

int integerOf(const nlohmann::json& value) {
  return value.is_number_integer() ? value.get<int>() : 0;
}

std::string textOf(const nlohmann::json& value) {
  return value.is_string() ? bytesOf(value) : std::string();
}

std::string handleText(ValueKind kind, std::uint64_t number) {
  std::string name = handleName(kind);
  std::replace(name.begin(), name.end(), ' ', '-');
  return number == 0 ? "null" : fmt::format("{}:{}", name, number);
}

std::string printable(const std::string& bytes) {
  std::string text;
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t length = characterLength(bytes, at);
    if (length == 0 || isControl(bytes, at)) {
      text += bytes[at] == '\n' ? "\\n" : fmt::format("\\x{:02x}", static_cast<unsigned char>(bytes[at]));
      ++at;
    } else {
      text.append(bytes, at, length);
      at += length;
    }
  }
  return text;
}

std::string numberText(const nlohmann::json& number) {
  if (number.is_number_integer()) return number.dump();
  try {
    return fmt::format("{}", realOf(number));
  } catch (const std::exception&) {
    return "?";  // what a foreign or damaged file may have here
  }
}

std::string sensorName(int sensor) {
  // By number: the names are the host's.
  switch (sensor) {
    case kDepthSensor:
      return "depth";
    case 2:
      return "colour";
    case 1:
      return "infrared";
    case 6:
      return "left infrared";
    case 7:
      return "right infrared";
    default:
      return fmt::format("sensor {}", sensor);
  }
}

std::string milliseconds(std::uint64_t nanoseconds) {
  return fmt::format("{:.3f} ms", static_cast<double>(nanoseconds) / 1e6);
}

std::string seconds(std::uint64_t nanoseconds) {
  return fmt::format("{:.6f} s", static_cast<double>(nanoseconds) / 1e9);
}

}  // namespace vyhost
