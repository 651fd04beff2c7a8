#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace recording {

/// CRC-32 as zlib computes it.
std::uint32_t crc32(const char* data, std::size_t size);

/// Writes the lowest bytes of a number, the lowest first.
inline void putLittleEndian(char* to, std::uint64_t value, unsigned bytes) {
  for (unsigned i = 0; i < bytes; ++i) to[i] = static_cast<char>((value >> (8 * i)) & 0xFF);
}

constexpr std::size_t kRecordHead = 9;  ///< bytes before the content of a record: opcode and length

/// A record of an MCAP file: opcode, length and content, as integers in little-endian order.
class McapRecord {
 public:
  explicit McapRecord(std::uint8_t opcode);
  McapRecord& put8(std::uint8_t value) { return put(value, 1); }
  McapRecord& put16(std::uint16_t value) { return put(value, 2); }
  McapRecord& put32(std::uint32_t value) { return put(value, 4); }
  McapRecord& put64(std::uint64_t value) { return put(value, 8); }
  McapRecord& putText(const std::string& text);
  McapRecord& putBytes(const std::string& bytes);
  /// The record with its length filled in.
  const std::string& finish();

 private:
  McapRecord& put(std::uint64_t value, unsigned bytes);

  std::string bytes_;
};

/// An MCAP file that is written front to back, each record by one write(): what was written before the process dies can
/// be read. The file is never closed properly; readers take it as one that breaks off.
class McapFile {
 public:
  McapFile() = default;
  McapFile(const McapFile&) = delete;
  McapFile& operator=(const McapFile&) = delete;

  /// Creates a file of the given path, or one of the given name if the path is a folder. A file that exists already is
  /// left alone, and "-2", "-3" and so on goes before the ending. A device is written to. Returns whether there is a
  /// file now; errno tells why not.
  bool create(const std::string& path, const std::string& nameInFolder);
  /// Writes bytes at the end. False, with errno, if not all of them could be written.
  bool write(std::string_view bytes);
  /// Safe in a child process after fork().
  void close();

  const std::string& path() const { return path_; }
  std::uint64_t size() const { return size_; }

 private:
  int descriptor_ = -1;
  std::string path_;
  std::uint64_t size_ = 0;
};

}  // namespace recording
