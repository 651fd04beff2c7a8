#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace recording {

/// Appends values to a JSON text, independently of the locale, so that every bit of them can be read back.
class JsonText {
 public:
  JsonText& raw(const char* piece) { return append(piece, std::strlen(piece)); }
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

  /// Begins anew, with some bytes for the caller to fill in.
  void restart(std::size_t bytes) {
    size_ = 0;
    if (room_.size() < bytes) grow(bytes);
    size_ = bytes;
  }
  char* data() { return &room_[0]; }
  std::string_view get() const { return {room_.data(), size_}; }

 private:
  /// In line: a text is made of many pieces of a few bytes.
  JsonText& append(const char* piece, std::size_t size) {
    if (room_.size() - size_ < size) grow(size);
    std::memcpy(&room_[size_], piece, size);
    size_ += size;
    return *this;
  }
  void grow(std::size_t size);
  JsonText& digits(double value, int count);

  std::string room_;  ///< the text, and what is not used yet
  std::size_t size_ = 0;
};

}  // namespace recording
