#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <vector>

#include "Compression.h"
#include "Failure.h"
#include "McapContent.h"
#include "recording/McapFile.h"
#include "vyhost/VyhostTest.h"

namespace {

namespace fs = std::filesystem;

using FinishTest = VyhostTest;

TEST_F(FinishTest, KeepsEveryCall) {
  const std::string file = makeRecording("a.mcap");
  const Outcome outcome = vyhost("finish a.mcap --out b.mcap");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_TRUE(std::regex_match(outcome.out, std::regex("b\\.mcap: [0-9]+ calls\n"))) << outcome.out;
  EXPECT_EQ(contentsOf(folder_ / "a.mcap"), file);
  const vyhost::Recording finished = vyhost::Recording::read(path("b.mcap"));
  EXPECT_TRUE(finished.isFinished);
  EXPECT_EQ(textOf(finished), textOf(read(file)));

  // A finished file stays as it is.
  const std::string once = contentsOf(folder_ / "b.mcap");
  EXPECT_EQ(vyhost("finish b.mcap").exitCode, 0);
  EXPECT_EQ(contentsOf(folder_ / "b.mcap"), once);
}

/// Takes fields from the front of a record.
struct Fields {
  std::string_view rest;

  std::uint64_t number(std::size_t bytes) {
    std::uint64_t value = 0;
    for (std::size_t i = bytes; i-- > 0;) value = value << 8 | static_cast<unsigned char>(rest.at(i));
    rest.remove_prefix(bytes);
    return value;
  }
  std::string take(std::uint64_t size) {
    const std::string taken(rest.substr(0, size));
    rest.remove_prefix(taken.size());
    return taken;
  }
  std::string text() { return take(number(4)); }
};

struct Record {
  std::uint64_t offset, opcode, size;  // of all of it
  std::string content;
};

std::vector<Record> recordsOf(std::string_view bytes, std::size_t from, std::size_t end) {
  std::vector<Record> records;
  for (Fields fields{bytes.substr(from, end - from)}; !fields.rest.empty();) {
    const std::uint64_t offset = end - fields.rest.size();
    const std::uint64_t opcode = fields.number(1);
    const std::string content = fields.take(fields.number(8));
    records.push_back({offset, opcode, content.size() + 9, content});
  }
  return records;
}

// Every index and number of a file, and the same put together from the records that they are of.
TEST_F(FinishTest, IndexesWhatItWrites) {
  shell("zstd -dq '" VYHOST_STORIES "/malformed.mcap.zst' -o a.mcap");
  ASSERT_EQ(vyhost("finish a.mcap").exitCode, 0);
  const std::string file = contentsOf(folder_ / "a.mcap");
  const auto checksum = [](std::string_view bytes) { return recording::crc32(bytes.data(), bytes.size()); };
  std::multiset<std::string> messages, indexed;
  std::map<std::uint64_t, std::string> ids;  // of schemas and channels in the chunk, by kind of record
  std::map<std::uint64_t, std::pair<std::uint64_t, std::uint64_t>> groups;  // of the summary: begin and end
  std::map<std::uint64_t, std::uint64_t> counts, indexes;  // by channel: messages, where their index is
  std::string chunk, metadata, statistics;
  std::uint64_t first = ~std::uint64_t{0}, last = 0, indexSize = 0, dataEnd = 0;
  for (const Record& record : recordsOf(file, vyhost::kMcapMagic.size(), file.size() - vyhost::kMcapMagic.size())) {
    SCOPED_TRACE(record.opcode);
    Fields fields{record.content};
    const auto next = [&fields](std::size_t bytes) { return fields.number(bytes); };
    if (dataEnd != 0)
      groups.try_emplace(record.opcode, record.offset, 0).first->second.second = record.offset + record.size;
    if (record.opcode == 12) metadata = fmt::format("{} {} {}", record.offset, record.size, fields.text());
    if (dataEnd != 0 && (record.opcode == 3 || record.opcode == 4))
      ids[record.opcode + 100] += fmt::format("{} ", next(2));
    if (record.opcode == 6) {
      const std::uint64_t begin = next(8), end = next(8), size = next(8), sum = next(4);
      EXPECT_EQ(fields.text(), "zstd");
      const std::string compressed = fields.take(next(8));
      const std::string content = vyhost::decompress("zstd", compressed, size).value_or("");
      EXPECT_EQ(checksum(content), sum);
      for (const Record& each : recordsOf(content, 0, content.size())) {
        Fields inner{each.content};
        const std::uint64_t id = inner.number(2);
        if (each.opcode != 5) ids[each.opcode] += fmt::format("{} ", id);
        if (each.opcode != 5) continue;
        inner.number(4);
        const std::uint64_t time = inner.number(8);
        messages.insert(fmt::format("{} {} {}", id, time, each.offset));
        ++counts[id];
        first = std::min(first, time);
        last = std::max(last, time);
      }
      EXPECT_EQ(fmt::format("{} {}", begin, end), fmt::format("{} {}", first, last));
      chunk = fmt::format("{} {} {} {} {} {}", first, last, record.offset, record.size, compressed.size(), size);
    }
    if (record.opcode == 7) {
      const std::uint64_t channel = next(2);
      indexes[channel] = record.offset;
      indexSize += record.size;
      for (std::uint64_t rest = next(4); rest > 0; rest -= 16) {
        const std::uint64_t time = next(8);
        indexed.insert(fmt::format("{} {} {}", channel, time, next(8)));
      }
      EXPECT_EQ(fields.rest, "");
    }
    if (record.opcode == 8) {
      const std::uint64_t begin = next(8), end = next(8), start = next(8), length = next(8);
      std::map<std::uint64_t, std::uint64_t> places;
      for (std::uint64_t rest = next(4); rest > 0; rest -= 10) {
        const std::uint64_t channel = next(2);
        places[channel] = next(8);
      }
      EXPECT_EQ(places, indexes);
      EXPECT_EQ(next(8), indexSize);
      EXPECT_EQ(fields.text(), "zstd");
      const std::uint64_t compressed = next(8);
      EXPECT_EQ(fmt::format("{} {} {} {} {} {}", begin, end, start, length, compressed, next(8)), chunk);
    }
    if (record.opcode == 11) {
      const std::size_t sizes[] = {8, 2, 4, 4, 4, 4, 8, 8};
      for (const std::size_t size : sizes) statistics += fmt::format("{} ", next(size));
      std::map<std::uint64_t, std::uint64_t> told;
      for (std::uint64_t rest = next(4); rest > 0; rest -= 10) {
        const std::uint64_t channel = next(2);
        told[channel] = next(8);
      }
      EXPECT_EQ(told, counts);
    }
    if (record.opcode == 13) {
      const std::uint64_t offset = next(8), size = next(8);
      EXPECT_EQ(fmt::format("{} {} {}", offset, size, fields.text()), metadata);
    }
    if (record.opcode == 14) {
      const auto& [begin, end] = groups.at(next(1));
      EXPECT_EQ(next(8), begin);
      EXPECT_EQ(next(8), end - begin);
    }
    if (record.opcode == 15) {
      dataEnd = record.offset + record.size;
      EXPECT_EQ(next(4), checksum(file.substr(0, record.offset)));
    }
    if (record.opcode == 2) {
      EXPECT_EQ(next(8), dataEnd);
      EXPECT_EQ(next(8), groups.at(14).first);
      EXPECT_EQ(next(4), checksum(file.substr(dataEnd, record.offset + record.size - 4 - dataEnd)));
    }
  }
  EXPECT_EQ(messages, indexed);
  EXPECT_EQ(groups.size(), 7U) << "schemas, channels, statistics, indexes of chunks and metadata, offsets, the end";
  EXPECT_EQ(statistics, fmt::format("{} 3 {} 0 1 1 {} {} ", messages.size(), counts.size(), first, last));
  const auto sorted = [](const std::string& words) {
    std::istringstream text(words);
    return std::multiset<int>(std::istream_iterator<int>(text), {});
  };
  for (const std::uint64_t kind : {3U, 4U}) EXPECT_EQ(sorted(ids[kind]), sorted(ids[kind + 100])) << kind;
}

TEST_F(FinishTest, ReplacesTheFileThroughALinkAndSaysWhatItLeavesOut) {
  std::string file = makeRecording("a.mcap");
  file.resize(file.size() - 5);
  file[file.find("DisparityTransform\"]")] = 'X';
  write("a.mcap", file);
  fs::permissions(folder_ / "a.mcap", fs::perms::owner_all);
  fs::create_symlink("a.mcap", folder_ / "link");
  const vyhost::Recording before = read(file);
  fs::remove(folder_ / "read.mcap");
  EXPECT_EQ(before.damagedRecords, 1U);

  const Outcome outcome = vyhost("finish link");
  EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
  EXPECT_NE(outcome.out.find("; damaged records left out: 1; bytes of the record it broke off in left out: "),
            std::string::npos)
      << outcome.out;
  EXPECT_TRUE(fs::is_symlink(folder_ / "link"));
  EXPECT_EQ(fs::status(folder_ / "a.mcap").permissions(), fs::perms::owner_all);
  const vyhost::Recording after = vyhost::Recording::read(path("a.mcap"));
  EXPECT_TRUE(after.isFinished);
  EXPECT_EQ(after.damagedRecords, 0U);
  EXPECT_EQ(textOf(after), textOf(before));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_), {}), 2) << "something else was left behind";
}

TEST_F(FinishTest, LosesAChunkAtMostWhenAFinishedFileIsDamaged) {
  makeRecording("a.mcap");
  EXPECT_EQ(vyhost("finish a.mcap").exitCode, 0);
  const std::string file = contentsOf(folder_ / "a.mcap");
  for (std::size_t at = 0; at < file.size(); at += 3) {
    SCOPED_TRACE(at);
    std::string damaged = file;
    damaged[at] = static_cast<char>(damaged[at] ^ (1 << at % 8));
    try {
      read(damaged);
    } catch (const vyhost::Failure&) {
    }
    if (at == 0) continue;
    try {
      EXPECT_FALSE(read(file.substr(0, at)).isFinished);
    } catch (const vyhost::Failure&) {
    }
  }
}

TEST_F(FinishTest, LeavesAFileAloneThatIsBeingWritten) {
  const std::string program = "record --out a.mcap -- '" VYHOST_SMALL_PROGRAM "' 0 ";
  const std::string finish = "\"" VYHOST_COMMAND " finish a.mcap";
  const Outcome refused = vyhost(program + finish + "\"");
  EXPECT_EQ(refused.exitCode, 101);
  EXPECT_NE(refused.err.find("vyhost: a.mcap is being written by process"), std::string::npos) << refused.err;
  EXPECT_GT(vyhost::Recording::read(path("a.mcap")).calls.size(), 5U);
  fs::remove(folder_ / "a.mcap");
  EXPECT_EQ(vyhost(program + finish + " --out b.mcap\"").exitCode, 0);
  EXPECT_TRUE(vyhost::Recording::read(path("b.mcap")).isFinished);
}

}  // namespace
