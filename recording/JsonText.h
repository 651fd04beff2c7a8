#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace recording {

/// Appends values to a JSON text, independently of the locale, so that every bit of them can be read back.
class JsonText {
 public:
  JsonText& raw(const char* piece) {
    text_ += piece;
    return *this;
  }
  JsonText& integer(std::int64_t value);
  JsonText& boolean(bool value) { return raw(value ? "true" : "false"); }
  /// A number with as many digits as tell it from its neighbours. What JSON has no number for is a text of its bits:
  /// "f32:7fc00000", "f64:7ff0000000000000".
  JsonText& real(float value);
  JsonText& real(double value);
  /// A text, or null. Bytes above 127 stand as \u0080 to \u00ff, whatever their encoding.
  JsonText& text(const char* value);
  /// A text of two hexadecimal digits a byte.
  JsonText& bytes(const std::uint8_t* data, std::size_t size);

  /// The last digits of a number in base 16.
  JsonText& hexadecimal(std::uint64_t value, unsigned count);

  std::string& get() { return text_; }

 private:
  JsonText& digits(double value, int count);

  std::string text_;
};

}  // namespace recording
