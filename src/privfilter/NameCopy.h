#ifndef SRC_PRIVFILTER_NAMECOPY_H
#define SRC_PRIVFILTER_NAMECOPY_H

#include <cstddef>
#include <cstring>
#include <string>

/**
 * A copy of a name that the host reported, for comparing it with names that the host reports later: its text need not
 * outlive the next host call. Names of an ordinary length take no memory from the heap.
 */
class NameCopy {
 public:
  /// Requires a text.
  explicit NameCopy(const char* name) : size_(std::strlen(name) + 1) {
    if (size_ <= sizeof short_) {
      std::memcpy(short_, name, size_);
    } else {
      long_.assign(name);
    }
  }

  bool operator==(const char* name) const {
    return std::strcmp(size_ <= sizeof short_ ? short_ : long_.c_str(), name) == 0;
  }

 private:
  std::size_t size_;  ///< with the closing zero
  char short_[64];
  std::string long_;  ///< used for longer names only
};

#endif  // SRC_PRIVFILTER_NAMECOPY_H
