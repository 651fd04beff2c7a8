#pragma once

#include <cstdint>
#include <string>

namespace recording {

/// CRC-32 as zlib computes it.
std::uint32_t crc32(const char* data, std::size_t size);

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

  /// Creates a file; one that exists already is left alone, and "-2", "-3" and so on goes before the ending. Returns
  /// whether there is a file now; errno tells why not.
  bool create(const std::string& path);
  /// Writes bytes at the end. False, with errno, if not all of them could be written.
  bool write(const std::string& bytes);
  void close();

  const std::string& path() const { return path_; }
  std::uint64_t size() const { return size_; }

 private:
  int descriptor_ = -1;
  std::string path_;
  std::uint64_t size_ = 0;
};

}  // namespace recording
