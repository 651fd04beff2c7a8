#include "recording/McapFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

namespace recording {
namespace {

std::array<std::uint32_t, 256> makeCrcTable() {
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t i = 0; i < table.size(); ++i) {
    std::uint32_t value = i;
    for (int bit = 0; bit < 8; ++bit) value = (value >> 1) ^ ((value & 1) != 0 ? 0xEDB88320U : 0U);
    table[i] = value;
  }
  return table;
}

constexpr std::size_t kHeaderSize = 9;  // opcode and length

}  // namespace

std::uint32_t crc32(const char* data, std::size_t size) {
  static const std::array<std::uint32_t, 256> table = makeCrcTable();
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
  for (unsigned i = 0; i < bytes; ++i) bytes_ += static_cast<char>((value >> (8 * i)) & 0xFF);
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
  const std::uint64_t length = bytes_.size() - kHeaderSize;
  for (unsigned i = 0; i < 8; ++i) bytes_[1 + i] = static_cast<char>((length >> (8 * i)) & 0xFF);
  return bytes_;
}

bool McapFile::create(const std::string& path) {
  constexpr int kMostNames = 1000;
  const std::size_t slash = path.rfind('/');
  std::size_t ending = path.rfind('.');
  if (ending == std::string::npos || (slash != std::string::npos && ending < slash)) ending = path.size();
  path_ = path;
  struct stat status = {};
  if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    descriptor_ = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);  // a device, say
    return descriptor_ >= 0;
  }
  for (int i = 2; i <= kMostNames; ++i) {
    descriptor_ = ::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC, 0644);
    if (descriptor_ >= 0 || errno != EEXIST) break;
    path_ = path.substr(0, ending) + "-" + std::to_string(i) + path.substr(ending);
  }
  return descriptor_ >= 0;
}

bool McapFile::write(const std::string& bytes) {
  ssize_t written = 0;
  do {
    written = ::write(descriptor_, bytes.data(), bytes.size());
  } while (written < 0 && errno == EINTR);
  if (written < 0) return false;
  size_ += static_cast<std::uint64_t>(written);
  if (static_cast<std::size_t>(written) == bytes.size()) return true;
  errno = ENOSPC;
  return false;
}

void McapFile::close() {
  if (descriptor_ >= 0) ::close(descriptor_);
  descriptor_ = -1;
}

}  // namespace recording
