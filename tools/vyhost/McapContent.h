#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace vyhost {

constexpr std::string_view kMcapMagic("\x89MCAP0\r\n", 8);

enum class McapOpcode : std::uint8_t {
  header = 0x01,
  footer = 0x02,
  schema = 0x03,
  channel = 0x04,
  message = 0x05,
  chunk = 0x06,
  messageIndex = 0x07,
  chunkIndex = 0x08,
  attachment = 0x09,
  statistics = 0x0B,
  metadata = 0x0C,
  metadataIndex = 0x0D,
  summaryOffset = 0x0E,
  dataEnd = 0x0F,
};

struct McapChannel {
  std::string topic;
  std::string record;  ///< the content of its record
};

struct McapMetadata {
  std::string name;
  std::map<std::string, std::string> entries;
  std::string record;
};

struct McapMessage {
  std::uint16_t channel = 0;
  std::uint32_t sequence = 0;
  std::uint64_t time = 0;  ///< log time, in nanoseconds
  std::string_view payload;
  std::string_view record;
};

/// What an MCAP file holds, whole or as far as it can be read: messages outside of chunks or in chunks of any
/// compression.
class McapContent {
 public:
  /// Throws Failure if the file cannot be read or is none of this format.
  explicit McapContent(const std::string& path);
  McapContent(const McapContent&) = delete;
  McapContent& operator=(const McapContent&) = delete;

  std::string header;                            ///< the content of its record
  std::map<std::uint16_t, std::string> schemas;  ///< the contents of their records, by id
  std::map<std::uint16_t, McapChannel> channels;
  std::vector<McapMetadata> metadata;
  std::vector<McapMessage> messages;  ///< in the order of the file; each one's channel is there
  bool isFinished = false;            ///< the file has its end
  std::size_t unreadBytes = 0;        ///< of a record that the file breaks off in
  std::size_t damagedRecords = 0;     ///< left out: chunks whose checksum is wrong, records that contradict themselves

 private:
  void readRecords(std::string_view bytes, bool isChunk);
  void readRecord(McapOpcode opcode, std::string_view content, bool isChunk);

  std::string file_;
  std::deque<std::string> chunks_;  ///< decompressed; messages lie in them and in the file
};

}  // namespace vyhost
