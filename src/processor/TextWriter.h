#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

/// A text that grows at its end. Most pieces are a few characters long: appending one is a comparison and a copy.
class TextWriter {
 public:
  void append(std::string_view piece) {
    std::memcpy(reserve(piece.size()), piece.data(), piece.size());
    used_ += piece.size();
  }
  /// Appends once more what begins at a position of this text.
  void repeat(std::size_t begin, std::size_t size) {
    char* const end = reserve(size);
    std::memcpy(end, text_.data() + begin, size);
    used_ += size;
  }
  /// Room for at least `size` characters behind the text, to be written and then taken in with `extend`.
  char* reserve(std::size_t size) {
    if (size > text_.size() - used_) grow(size);
    return text_.data() + used_;
  }
  void extend(const char* end) { used_ = static_cast<std::size_t>(end - text_.data()); }

  std::size_t size() const { return used_; }
  /// Drops everything behind a former end.
  void cutTo(std::size_t size) { used_ = size; }
  /// The text; the writer is empty then.
  std::string take() {
    text_.resize(std::exchange(used_, 0));
    return std::exchange(text_, {});
  }

 private:
  void grow(std::size_t size) {
    constexpr std::size_t kOrdinaryText = 512;
    text_.resize(std::max({kOrdinaryText, used_ + size, 2 * text_.size()}));
  }

  std::string text_;
  std::size_t used_ = 0;  ///< of the text; the rest is room
};
