#include "McapContent.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Compression.h"
#include "Failure.h"
#include "recording/McapFile.h"

namespace vyhost {
namespace {

/// A record contradicts itself: a field goes past its end, say.
class Damaged {};

/// Takes the fields of a record from its front.
class Fields {
 public:
  explicit Fields(std::string_view bytes) : rest_(bytes) {}

  template <typename Integer>
  Integer number() {
    std::uint64_t value = 0;
    const std::string_view bytes = take(sizeof(Integer));
    for (std::size_t i = 0; i < sizeof(Integer); ++i) {
      value |= static_cast<std::uint64_t>(static_cast<unsigned char>(bytes[i])) << (8 * i);
    }
    return static_cast<Integer>(value);
  }
  std::string_view text() { return take(number<std::uint32_t>()); }
  std::string_view take(std::uint64_t size) {
    if (size > rest_.size()) throw Damaged();
    const std::string_view taken = rest_.substr(0, static_cast<std::size_t>(size));
    rest_.remove_prefix(taken.size());
    return taken;
  }
  std::string_view rest() const { return rest_; }

 private:
  std::string_view rest_;
};

std::string readFile(const std::string& path) {
  const auto fail = [&path] { throw Failure(fmt::format("cannot read {}: {}", path, std::strerror(errno))); };
  const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) fail();
  std::string content;
  std::string buffer(1 << 16, '\0');
  ssize_t size = 0;
  do {
    size = ::read(descriptor, buffer.data(), buffer.size());
    if (size > 0) content.append(buffer, 0, static_cast<std::size_t>(size));
    // What is none of ours may be endless.
  } while (size > 0 && std::string_view(content).substr(0, kMcapMagic.size()) == kMcapMagic);
  const int error = errno;
  ::close(descriptor);
  errno = error;
  if (size < 0) fail();
  return content;
}

}  // namespace

McapContent::McapContent(const std::string& path) : file_(readFile(path)) {
  std::string_view bytes = file_;
  if (bytes.empty()) throw Failure(path + " is empty; a recording begins with the first call into the library");
  if (bytes.substr(0, kMcapMagic.size()) != kMcapMagic) {
    throw Failure(path + " is not an MCAP file; vyhost reads the files that its command record makes");
  }
  readRecords(bytes.substr(kMcapMagic.size()), false);
}

void McapContent::readRecords(std::string_view bytes, bool isChunk) {
  Fields fields(bytes);
  std::string_view rest;
  try {
    while (!(rest = fields.rest()).empty()) {
      const auto opcode = static_cast<McapOpcode>(fields.number<std::uint8_t>());
      const std::string_view content = fields.take(fields.number<std::uint64_t>());
      try {
        readRecord(opcode, content, isChunk);
      } catch (const Damaged&) {
        ++damagedRecords;
      }
      if (opcode != McapOpcode::footer) continue;
      isFinished = fields.rest() == kMcapMagic;
      return;
    }
  } catch (const Damaged&) {
    // A file may break off. A chunk whose checksum is right does not.
    if (isChunk) {
      ++damagedRecords;
    } else {
      unreadBytes = rest.size();
    }
  }
}

void McapContent::readRecord(McapOpcode opcode, std::string_view content, bool isChunk) {
  Fields fields(content);
  switch (opcode) {
    case McapOpcode::header:
      header = content;
      break;
    case McapOpcode::schema:
      schemas.emplace(fields.number<std::uint16_t>(), content);
      break;
    case McapOpcode::channel: {
      const auto id = fields.number<std::uint16_t>();
      fields.number<std::uint16_t>();
      channels.emplace(id, McapChannel{std::string(fields.text()), std::string(content)});
      break;
    }
    case McapOpcode::message: {
      McapMessage message;
      message.channel = fields.number<std::uint16_t>();
      message.sequence = fields.number<std::uint32_t>();
      message.time = fields.number<std::uint64_t>();
      fields.number<std::uint64_t>();
      message.payload = fields.rest();
      message.record = content;
      if (channels.count(message.channel) == 0) throw Damaged();
      messages.push_back(message);
      break;
    }
    case McapOpcode::metadata: {
      McapMetadata entry;
      entry.name = fields.text();
      for (Fields map(fields.text()); !map.rest().empty();) {
        const std::string_view key = map.text();
        entry.entries.emplace(key, map.text());
      }
      entry.record = content;
      metadata.push_back(std::move(entry));
      break;
    }
    case McapOpcode::chunk: {
      fields.take(2 * sizeof(std::uint64_t));
      const auto size = fields.number<std::uint64_t>();
      const auto checksum = fields.number<std::uint32_t>();
      const std::string_view compression = fields.text();
      auto records = decompress(compression, fields.take(fields.number<std::uint64_t>()), size);
      const bool isWhole = records && (checksum == 0 || recording::crc32(records->data(), records->size()) == checksum);
      if (isChunk || !isWhole) throw Damaged();
      readRecords(chunks_.emplace_back(std::move(*records)), true);
      break;
    }
    default:
      break;  // indexes, attachments, and what later versions may add
  }
}

}  // namespace vyhost
