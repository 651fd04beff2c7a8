// The text conversions, and the canonical texts made of them, against streams and the C library.
#include <cctype>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <sstream>

#include "Support.h"
#include "host/commonTypes.h"
#include "processor/FrameProcessor.h"

namespace {

// Counterparts of the conversions, by way of streams. They store a value where the conversion stores one.

std::string lowered(std::string text) {
  for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));  // of the C locale
  return text;
}

std::string trimmed(std::string text) {
  while (!text.empty() && text.front() == ' ') text.erase(0, 1);
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

bool booleanOf(const std::string& text, bool* out) {
  bool word = false;
  const bool isWord = !(std::istringstream(lowered(text)) >> std::boolalpha >> word).fail();
  const std::string digit = trimmed(text);
  if (!isWord && digit != "0" && digit != "1") return false;
  *out = isWord ? word : digit == "1";
  return true;
}

bool integerOf(const std::string& text, int* out) {
  const std::string number = trimmed(text);
  if (number.empty() || (number.size() == 1 && std::string("0123456789").find(number) == std::string::npos))
    return false;
  const long long wide = std::strtoll(number.c_str(), nullptr, 10);
  *out = wide < INT_MIN ? INT_MIN : wide > INT_MAX ? INT_MAX : static_cast<int>(wide);
  return true;
}

template <typename Number, Number (*parse)(const char*, char**)>
bool numberOf(const std::string& text, Number* out) {
  if (text.empty()) return false;
  char* rest = nullptr;
  *out = parse(text.c_str(), &rest);
  return text.find_first_not_of(' ', static_cast<std::size_t>(rest - text.c_str())) == std::string::npos;
}

/// Compares a conversion with its counterpart. Both start with the same value, as a refused text may leave it.
template <typename Number>
void compare(const std::string& text, Number before, bool (*convert)(const std::string&, Number*),
             bool (*counterpart)(const std::string&, Number*)) {
  Number actual = before;
  Number expected = before;
  EXPECT_EQ(convert(text, &actual), counterpart(text, &expected)) << __PRETTY_FUNCTION__;
  EXPECT_EQ(std::memcmp(&actual, &expected, sizeof actual), 0) << actual << " instead of " << expected;
}

std::string canonical(const std::string& text, int type) {
  bool state = false;
  int integer = 0;
  float number = 0;
  std::ostringstream out;
  out << std::fixed;
  if (type == 0) out << (integerOf(text, &integer) ? integer : 0);
  if (type == 1 && !numberOf<float, std::strtof>(text, &number)) return "0.0";
  if (type == 1) out << number;
  if (type == 2) out << (booleanOf(text, &state) && state);
  return out.str();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(data, data + size);
  EXPECT_EQ(toLower(text), lowered(text));
  EXPECT_EQ(clearHeadAndTailSpace(text), trimmed(text));
  compare(text, false, cvt2Boolean, booleanOf);
  compare(text, true, cvt2Boolean, booleanOf);
  compare(text, 4711, cvt2Int, integerOf);
  compare(text, 47.11F, cvt2Float, numberOf<float, std::strtof>);
  compare(text, 47.11, cvt2Double, numberOf<double, std::strtod>);
  for (const int type : {-1, 0, 1, 2, 3}) {
    const auto valueType = static_cast<VYFilterConfigValueType>(type);
    EXPECT_EQ(BasicFrameProcessor::convertConfigValueString(text, valueType), canonical(text, type)) << type;
  }
  return 0;
}
