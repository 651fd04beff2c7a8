#include "host/commonTypes.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

void create_error(vy_error** error, int status, const char* message, const char* function, int exception_type) {
  *error = vy_create_error(status, message, function, "", exception_type);
}

void reportInvalidArgument(vy_error** error, const char* message, const char* function) {
  create_error(error, kErrorStatus, message, function, kExceptionInvalidArgument);
}

std::string toLower(const std::string& text) {
  std::string lower = text;
  for (char& character : lower) {
    if (character >= 'A' && character <= 'Z') character = static_cast<char>(character - 'A' + 'a');
  }
  return lower;
}

std::string clearHeadAndTailSpace(const std::string& text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

namespace {

bool startsWith(const std::string& text, std::size_t position, const char* word) {
  return text.compare(position, std::char_traits<char>::length(word), word) == 0;
}

template <typename Number, Number (*parse)(const char*, char**)>
bool convertWhole(const std::string& text, Number* out) {
  if (text.empty()) return false;
  char* end = nullptr;
  *out = parse(text.c_str(), &end);
  const auto converted = static_cast<std::size_t>(end - text.c_str());
  return text.find_first_not_of(' ', converted) == std::string::npos;
}

}  // namespace

bool cvt2Boolean(const std::string& text, bool* out) {
  // What an input stream with boolalpha accepts, without the cost of a stream: white space, then one of the two words.
  const std::string lower = toLower(text);
  const std::size_t word = lower.find_first_not_of(" \t\n\v\f\r");
  if (word != std::string::npos && startsWith(lower, word, "true")) {
    *out = true;
    return true;
  }
  if (word != std::string::npos && startsWith(lower, word, "false")) {
    *out = false;
    return true;
  }
  const std::string digit = clearHeadAndTailSpace(text);
  if (digit != "0" && digit != "1") return false;
  *out = digit == "1";
  return true;
}

bool cvt2Int(const std::string& text, int* out) {
  const std::string number = clearHeadAndTailSpace(text);
  if (number.empty()) return false;
  if (number.size() == 1 && (number[0] < '0' || number[0] > '9')) return false;
  // `long` is wider than `int` on some targets only; the result is the same on all.
  constexpr long kLowest = std::numeric_limits<int>::min();
  constexpr long kHighest = std::numeric_limits<int>::max();
  *out = static_cast<int>(std::clamp(std::strtol(number.c_str(), nullptr, 10), kLowest, kHighest));
  return true;
}

bool cvt2Float(const std::string& text, float* out) {
  return convertWhole<float, std::strtof>(text, out);
}

bool cvt2Double(const std::string& text, double* out) {
  return convertWhole<double, std::strtod>(text, out);
}
