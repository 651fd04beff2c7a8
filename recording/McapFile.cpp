#include "recording/McapFile.h"

#include <fcntl.h>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace recording {
namespace {

constexpr std::array<std::uint32_t, 256> makeCrcTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t i = 0; i < table.size(); ++i) {
    std::uint32_t value = i;
    for (int bit = 0; bit < 8; ++bit) value = (value >> 1) ^ ((value & 1) != 0 ? 0xEDB88320U : 0U);
    table[i] = value;
  }
  return table;
}

/// The type bits of a file's mode; 0 if there is none.
int typeOf(const std::string& path) {
  // stat() itself is a symbol of newer C libraries only; the walk through a tree begins with one, and ends there.
  const auto tell = [](const char*, const struct stat* status, int) {
    return static_cast<int>(status->st_mode & S_IFMT);
  };
  const int type = ::ftw(path.c_str(), tell, 1);
  return type > 0 ? type : 0;
}

/// Opens a file under a number above those of the standard streams, which a host may have closed: what it prints must
/// not end up in the recording.
int openAboveStandardStreams(const char* path, int flags) {
  const int descriptor = ::open(path, flags, 0644);
  if (descriptor < 0 || descriptor > STDERR_FILENO) return descriptor;
  // Opened once more while the low number is taken. fcntl() could copy it, but is a symbol of newer C libraries only.
  const int higher = openAboveStandardStreams(path, flags & ~(O_CREAT | O_EXCL));
  const int error = errno;
  ::close(descriptor);
  errno = error;
  return higher;
}

}  // namespace

std::uint32_t crc32(const char* data, std::size_t size) {
  static constexpr std::array<std::uint32_t, 256> table = makeCrcTable();
  std::uint32_t value = 0xFFFFFFFFU;
  for (std::size_t i = 0; i < size; ++i) {
    value = (value >> 8) ^ table[(value ^ static_cast<unsigned char>(data[i])) & 0xFF];
  }
  return ~value;
}

McapRecord::McapRecord(std::uint8_t opcode) {
  constexpr std::size_t kUsualRecord = 256;
  bytes_.reserve(kUsualRecord);
  put8(opcode).put64(0);
}

McapRecord& McapRecord::put(std::uint64_t value, unsigned bytes) {
  char text[sizeof value];
  putLittleEndian(text, value, bytes);
  bytes_.append(text, bytes);
  return *this;
}

McapRecord& McapRecord::putText(const std::string& text) {
  put32(static_cast<std::uint32_t>(text.size()));
  return putBytes(text);
}

McapRecord& McapRecord::putBytes(const std::string& bytes) {
  bytes_ += bytes;
  return *this;
}

const std::string& McapRecord::finish() {
  putLittleEndian(&bytes_[1], bytes_.size() - kRecordHead, 8);
  return bytes_;
}

bool McapFile::create(const std::string& path, const std::string& nameInFolder) {
  constexpr int kFlags = O_WRONLY | O_APPEND | O_CLOEXEC | O_NOCTTY | O_LARGEFILE;
  constexpr int kMostNames = 1000;
  const int type = typeOf(path);
  const std::string wanted = type == S_IFDIR ? path + "/" + nameInFolder : path;
  const std::size_t slash = wanted.rfind('/');
  std::size_t ending = wanted.rfind('.');
  if (ending == std::string::npos || (slash != std::string::npos && ending < slash)) ending = wanted.size();
  path_ = wanted;
  if (type == S_IFCHR) {
    descriptor_ = openAboveStandardStreams(path_.c_str(), kFlags);
  } else {
    for (int i = 2; i <= kMostNames; ++i) {
      descriptor_ = openAboveStandardStreams(path_.c_str(), kFlags | O_CREAT | O_EXCL);
      if (descriptor_ >= 0 || errno != EEXIST) break;
      path_ = wanted.substr(0, ending) + "-" + std::to_string(i) + wanted.substr(ending);
    }
  }
  return descriptor_ >= 0;
}

bool McapFile::write(std::string_view bytes) {
  // A write that ends early is tried again for the rest, and says then why.
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t written = ::write(descriptor_, bytes.data() + done, bytes.size() - done);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    done += static_cast<std::size_t>(written);
    size_ += static_cast<std::uint64_t>(written);
  }
  return true;
}

void McapFile::close() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
}

}  // namespace recording
