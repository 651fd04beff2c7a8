#include "IndexedMcap.h"

#include <algorithm>
#include <map>
#include <set>

#include "Compression.h"
#include "recording/McapFile.h"

namespace vyhost {
namespace {

using recording::McapRecord;

McapRecord recordOf(McapOpcode opcode) {
  return McapRecord(static_cast<std::uint8_t>(opcode));
}

std::string recordOf(McapOpcode opcode, std::string_view content) {
  return recordOf(opcode).putBytes(std::string(content)).finish();
}

/// The first and the last of the times it is given.
struct Span {
  std::uint64_t first = 0, last = 0;
  bool isEmpty = true;

  void add(std::uint64_t time) {
    first = isEmpty ? time : std::min(first, time);
    last = isEmpty ? time : std::max(last, time);
    isEmpty = false;
  }
};

class Writer {
 public:
  Writer(const McapContent& content) : content_(content), file_(kMcapMagic) {
    file_ += recordOf(McapOpcode::header, content.header);
    for (const McapMetadata& each : content.metadata) {
      const std::string record = recordOf(McapOpcode::metadata, each.record);
      metadataIndexes_ +=
          recordOf(McapOpcode::metadataIndex).put64(file_.size()).put64(record.size()).putText(each.name).finish();
      file_ += record;
    }
  }

  void add(const McapMessage& message) {
    constexpr std::size_t kChunkSize = 1 << 20;
    if (knownChannels_.insert(message.channel).second) chunk_ += channelRecords(message.channel);
    indexes_[message.channel].push_back({message.time, chunk_.size()});
    chunk_ += recordOf(McapOpcode::message, message.record);
    chunkSpan_.add(message.time);
    span_.add(message.time);
    ++counts_[message.channel];
    if (chunk_.size() >= kChunkSize) writeChunk();
  }

  std::string finish() {
    writeChunk();
    file_ += recordOf(McapOpcode::dataEnd).put32(recording::crc32(file_.data(), file_.size())).finish();
    writeSummary();
    file_ += kMcapMagic;
    return std::move(file_);
  }

 private:
  struct IndexEntry {
    std::uint64_t time;
    std::uint64_t offset;
  };

  /// The id of the schema that a channel names, if the file has it; otherwise 0, for none.
  std::uint16_t schemaOf(const std::string& channelRecord) const {
    const auto byte = [&](std::size_t i) {
      return static_cast<unsigned>(static_cast<unsigned char>(channelRecord[i]));
    };
    const auto id = static_cast<std::uint16_t>(byte(2) | byte(3) << 8);
    return content_.schemas.count(id) != 0 ? id : std::uint16_t{0};
  }

  std::string channelRecord(std::uint16_t id) const {
    const std::string& record = content_.channels.at(id).record;
    return recordOf(McapOpcode::channel).put16(id).put16(schemaOf(record)).putBytes(record.substr(4)).finish();
  }

  std::string channelRecords(std::uint16_t id) {
    std::string records;
    const std::uint16_t schema = schemaOf(content_.channels.at(id).record);
    if (schema != 0 && knownSchemas_.insert(schema).second) {
      records = recordOf(McapOpcode::schema, content_.schemas.at(schema));
    }
    return records + channelRecord(id);
  }

  void writeChunk() {
    if (chunkSpan_.isEmpty) return;
    const std::string compressed = compressZstd(chunk_);
    const std::uint64_t start = file_.size();
    file_ += recordOf(McapOpcode::chunk)
                 .put64(chunkSpan_.first)
                 .put64(chunkSpan_.last)
                 .put64(chunk_.size())
                 .put32(recording::crc32(chunk_.data(), chunk_.size()))
                 .putText("zstd")
                 .put64(compressed.size())
                 .putBytes(compressed)
                 .finish();
    const std::uint64_t end = file_.size();
    constexpr std::size_t kOffsetSize = 10, kEntrySize = 16;
    McapRecord chunkIndex = recordOf(McapOpcode::chunkIndex);
    chunkIndex.put64(chunkSpan_.first).put64(chunkSpan_.last).put64(start).put64(end - start);
    chunkIndex.put32(static_cast<std::uint32_t>(indexes_.size() * kOffsetSize));
    for (const auto& [channel, entries] : indexes_) {
      chunkIndex.put16(channel).put64(file_.size());
      McapRecord index = recordOf(McapOpcode::messageIndex);
      index.put16(channel).put32(static_cast<std::uint32_t>(entries.size() * kEntrySize));
      for (const IndexEntry& entry : entries) index.put64(entry.time).put64(entry.offset);
      file_ += index.finish();
    }
    chunkIndex.put64(file_.size() - end).putText("zstd").put64(compressed.size()).put64(chunk_.size());
    chunkIndexes_ += chunkIndex.finish();
    ++chunks_;
    chunk_.clear();
    indexes_.clear();
    chunkSpan_ = {};
  }

  void writeSummary() {
    const std::size_t start = file_.size();
    std::string schemas, channels;
    for (const std::uint16_t id : knownSchemas_) schemas += recordOf(McapOpcode::schema, content_.schemas.at(id));
    for (const std::uint16_t id : knownChannels_) channels += channelRecord(id);
    constexpr std::size_t kCountSize = 10;
    McapRecord statistics = recordOf(McapOpcode::statistics);
    std::uint64_t messages = 0;
    for (const auto& [channel, count] : counts_) messages += count;
    statistics.put64(messages)
        .put16(static_cast<std::uint16_t>(knownSchemas_.size()))
        .put32(static_cast<std::uint32_t>(knownChannels_.size()))
        .put32(0)  // attachments
        .put32(static_cast<std::uint32_t>(content_.metadata.size()))
        .put32(chunks_)
        .put64(span_.first)
        .put64(span_.last)
        .put32(static_cast<std::uint32_t>(counts_.size() * kCountSize));
    for (const auto& [channel, count] : counts_) statistics.put16(channel).put64(count);

    std::string offsets;
    const auto writeGroup = [&](McapOpcode opcode, const std::string& records) {
      if (records.empty()) return;
      offsets += recordOf(McapOpcode::summaryOffset)
                     .put8(static_cast<std::uint8_t>(opcode))
                     .put64(file_.size())
                     .put64(records.size())
                     .finish();
      file_ += records;
    };
    writeGroup(McapOpcode::schema, schemas);
    writeGroup(McapOpcode::channel, channels);
    writeGroup(McapOpcode::statistics, statistics.finish());
    writeGroup(McapOpcode::chunkIndex, chunkIndexes_);
    writeGroup(McapOpcode::metadataIndex, metadataIndexes_);
    const std::uint64_t offsetsStart = file_.size();
    file_ += offsets;

    // The footer's checksum is over the summary and the footer's own bytes before it.
    constexpr std::size_t kChecksumSize = 4;
    std::string footer = recordOf(McapOpcode::footer).put64(start).put64(offsetsStart).put32(0).finish();
    footer.resize(footer.size() - kChecksumSize);
    file_ += footer;
    const std::uint32_t checksum = recording::crc32(file_.data() + start, file_.size() - start);
    for (unsigned shift = 0; shift < 32; shift += 8) file_ += static_cast<char>((checksum >> shift) & 0xFF);
  }

  const McapContent& content_;
  std::string file_;
  std::set<std::uint16_t> knownSchemas_, knownChannels_;
  std::map<std::uint16_t, std::uint64_t> counts_;  ///< of messages, by channel
  Span span_;
  std::string metadataIndexes_, chunkIndexes_;
  std::uint32_t chunks_ = 0;
  // The chunk that is being filled.
  std::string chunk_;
  Span chunkSpan_;
  std::map<std::uint16_t, std::vector<IndexEntry>> indexes_;
};

}  // namespace

std::string indexedMcap(const McapContent& content, const std::vector<McapMessage>& messages) {
  Writer writer(content);
  for (const McapMessage& message : messages) writer.add(message);
  return writer.finish();
}

}  // namespace vyhost
