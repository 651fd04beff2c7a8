#include "recording/JsonText.h"

#include <cmath>
#include <cstdio>
#include <cstring>

namespace recording {

void JsonText::grow(std::size_t size) {
  constexpr std::size_t kUsual = 256;
  room_.resize(2 * (size_ + size) + kUsual);
}

JsonText& JsonText::integer(std::int64_t value) {
  char digits[24];
  char* first = digits + sizeof digits;
  auto rest = static_cast<std::uint64_t>(value);
  if (value < 0) rest = 0 - rest;
  // Most numbers are small, and a 32-bit processor divides those alone by itself.
  for (; rest > UINT32_MAX; rest /= 10) *--first = static_cast<char>('0' + rest % 10);
  auto low = static_cast<std::uint32_t>(rest);
  do {
    *--first = static_cast<char>('0' + low % 10);
    low /= 10;
  } while (low != 0);
  if (value < 0) *--first = '-';
  return append(first, static_cast<std::size_t>(digits + sizeof digits - first));
}

JsonText& JsonText::real(float value) {
  if (std::isfinite(value)) return digits(static_cast<double>(value), 9);
  std::uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return raw("\"f32:").hexadecimal(bits, 8).raw("\"");
}

JsonText& JsonText::real(double value) {
  if (std::isfinite(value)) return digits(value, 17);
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return raw("\"f64:").hexadecimal(bits, 16).raw("\"");
}

JsonText& JsonText::digits(double value, int count) {
  // Most numbers are small and whole, and those need no way over printf.
  constexpr double kSmall = 1 << 24;
  if (value > -kSmall && value < kSmall && !std::signbit(value) &&
      static_cast<double>(static_cast<std::int32_t>(value)) == value) {
    return integer(static_cast<std::int32_t>(value));
  }
  if (value == 0) return raw("-0.0");  // readers take -0 for an integer, which has no sign
  char number[48];
  const int size = std::snprintf(number, sizeof number, "%.*g", count, value);
  // The decimal separator is the locale's: whatever is no part of a number stands for the point, once.
  bool isSeparated = false;
  for (int i = 0; i < size; ++i) {
    if (std::strchr("0123456789+-e", number[i]) != nullptr) {
      append(&number[i], 1);
    } else if (!isSeparated) {
      raw(".");
      isSeparated = true;
    }
  }
  return *this;
}

JsonText& JsonText::text(const char* value) {
  if (value == nullptr) return raw("null");
  raw("\"");
  const char* plain = value;  // what is written as it stands begins here
  for (; *value != '\0'; ++value) {
    const auto byte = static_cast<unsigned char>(*value);
    if (byte >= 0x20 && byte < 0x7F && byte != '"' && byte != '\\') continue;
    append(plain, static_cast<std::size_t>(value - plain));
    raw("\\u").hexadecimal(byte, 4);
    plain = value + 1;
  }
  return append(plain, static_cast<std::size_t>(value - plain)).raw("\"");
}

JsonText& JsonText::bytes(const std::uint8_t* data, std::size_t size) {
  raw("\"");
  for (std::size_t i = 0; i < size; ++i) hexadecimal(data[i], 2);
  return raw("\"");
}

JsonText& JsonText::hexadecimal(std::uint64_t value, unsigned count) {
  char digits[16];
  for (unsigned i = count; i != 0; value >>= 4) digits[--i] = "0123456789abcdef"[value & 0xF];
  return append(digits, count);
}

}  // namespace recording
