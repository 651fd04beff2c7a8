// Reading recordings: whole, broken off, damaged, in chunks.
#include "Recording.h"

#include <lz4frame.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "Compression.h"
#include "Failure.h"
#include "McapContent.h"
#include "ReplayValues.h"
#include "Words.h"
#include "recording/McapFile.h"
#include "vyhost/VyhostTest.h"

namespace {

using recording::McapRecord;
using vyhost::McapOpcode;

/// Where the payloads of calls end: their checksum is the last of a record.
std::vector<std::size_t> endsOfCallRecords(const std::string& file) {
  constexpr std::size_t kAfter = std::string_view("\"crc\":\"00000000\"}").size();
  std::vector<std::size_t> ends;
  for (std::size_t at = 0; (at = file.find("\"crc\":\"", at)) != std::string::npos; at += kAfter) {
    ends.push_back(at + kAfter);
  }
  return ends;
}

/// Where the records begin behind those that tell what the recording is of.
std::size_t endOfMetadata(const std::string& file) {
  std::size_t at = vyhost::kMcapMagic.size();
  for (bool isMetadata = false; !isMetadata;) {
    isMetadata = file[at] == static_cast<char>(McapOpcode::metadata);
    std::uint64_t size = 0;
    for (unsigned i = 8; i > 0; --i) size = size << 8 | static_cast<unsigned char>(file[at + i]);
    at += 9 + static_cast<std::size_t>(size);
  }
  return at;
}

using RecordingTest = VyhostTest;

TEST_F(RecordingTest, TellsTheCallsOfAProgram) {
  const vyhost::Recording recording = read(makeRecording("a.mcap"));
  EXPECT_EQ(recording.about.at("version"), VY_VERSION);
  EXPECT_NE(recording.about.at("process").find("vyhost_small_program"), std::string::npos);
  EXPECT_FALSE(recording.isFinished);
  EXPECT_EQ(recording.damagedRecords, 0U);
  EXPECT_EQ(recording.events.size(), 2 * recording.calls.size());
  for (const vyhost::Call& call : recording.calls) EXPECT_LE(call.beginTime, call.endTime) << call.number;

  // A null device: the library makes an error within the call and hands it out.
  const vyhost::Call& context = recording.calls.at(1);  // behind that of the commit hash
  EXPECT_EQ(context.function->name, "vy_create_frame_processor_context");
  EXPECT_EQ(context.arguments, nlohmann::json::array({0}));
  EXPECT_EQ(context.result, nlohmann::json(0));
  EXPECT_EQ(context.errorBefore, 0U);
  EXPECT_NE(context.errorAfter, 0U);
  EXPECT_EQ(context.children, std::vector<std::size_t>{2});
  EXPECT_EQ(recording.calls.at(2).function->name, "vy_create_error");
  EXPECT_EQ(recording.calls[2].parent, std::optional<std::size_t>(1));
  EXPECT_FALSE(context.parent);
}

TEST_F(RecordingTest, HoldsEverythingBeforeTheByteWhereItBreaksOff) {
  const std::string file = makeRecording("a.mcap");
  const std::vector<std::size_t> ends = endsOfCallRecords(file);
  const std::size_t begin = endOfMetadata(file);
  ASSERT_GT(ends.size(), 10U);
  const vyhost::Recording whole = read(file);
  for (std::size_t size = 0; size < file.size(); ++size) {
    SCOPED_TRACE(size);
    if (size < begin) {
      EXPECT_THROW(read(file.substr(0, size)), vyhost::Failure);
      continue;
    }
    const vyhost::Recording recording = read(file.substr(0, size));
    const auto expected = std::upper_bound(ends.begin(), ends.end(), size) - ends.begin();
    ASSERT_EQ(recording.events.size(), static_cast<std::size_t>(expected));
    ASSERT_EQ(recording.damagedRecords, 0U);
    ASSERT_FALSE(recording.isFinished);
    for (std::size_t i = 0; i < recording.calls.size(); ++i) {
      ASSERT_EQ(recording.calls[i].arguments, whole.calls[i].arguments);
      if (recording.calls[i].hasReturned()) {
        ASSERT_EQ(recording.calls[i].result, whole.calls[i].result);
      }
    }
  }
}

TEST_F(RecordingTest, LeavesOutWhatAFlippedBitHasDamaged) {
  const std::string file = makeRecording("a.mcap");
  const vyhost::Recording whole = read(file);
  const std::size_t last = file.rfind("{\"n\":");
  for (std::size_t at = 0; at < file.size(); at += 3) {
    SCOPED_TRACE(at);
    std::string damaged = file;
    damaged[at] = static_cast<char>(damaged[at] ^ (1 << at % 8));
    try {
      const vyhost::Recording recording = read(damaged);
      if (at >= last) {
        EXPECT_EQ(recording.damagedRecords, 1U);
      }
      for (const vyhost::Call& call : recording.calls) {
        ASSERT_LE(call.number, whole.calls.size());
        EXPECT_EQ(call.arguments, whole.calls.at(static_cast<std::size_t>(call.number - 1)).arguments);
      }
    } catch (const vyhost::Failure&) {
      EXPECT_LT(at, last) << "a damaged call spoils the whole file";
    }
  }
}

TEST_F(RecordingTest, ReadsChunksOfEveryCompression) {
  const std::string file = makeRecording("a.mcap");
  const std::string expected = textOf(read(file));
  const std::size_t begin = endOfMetadata(file);
  const std::string records = file.substr(begin);
  std::string lz4(LZ4F_compressFrameBound(records.size(), nullptr), '\0');
  lz4.resize(LZ4F_compressFrame(lz4.data(), lz4.size(), records.data(), records.size(), nullptr));
  const std::uint32_t right = recording::crc32(records.data(), records.size());

  const struct {
    const char* what;
    const char* compression;
    std::string bytes;
    std::uint64_t size;
    std::uint32_t checksum;
    bool isRead;
  } rows[] = {
      {"not compressed", "", records, records.size(), right, true},
      {"zstd", "zstd", vyhost::compressZstd(records), records.size(), right, true},
      {"lz4", "lz4", lz4, records.size(), right, true},
      {"no checksum", "lz4", lz4, records.size(), 0, true},
      {"wrong checksum", "", records, records.size(), right ^ 1, false},
      {"wrong size", "zstd", vyhost::compressZstd(records), records.size() + 1, right, false},
      {"endless size", "zstd", vyhost::compressZstd(records), ~std::uint64_t{0}, right, false},
      {"half a frame", "lz4", lz4.substr(0, lz4.size() / 2), records.size(), right, false},
      {"not what it says", "lz4", vyhost::compressZstd(records), records.size(), right, false},
      {"unknown compression", "abc", records, records.size(), right, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    McapRecord chunk(static_cast<std::uint8_t>(McapOpcode::chunk));
    chunk.put64(0).put64(0).put64(row.size).put32(row.checksum).putText(row.compression);
    chunk.put64(row.bytes.size()).putBytes(row.bytes);
    const vyhost::Recording recording = read(file.substr(0, begin) + chunk.finish());
    EXPECT_EQ(recording.damagedRecords, row.isRead ? 0U : 1U);
    if (row.isRead) {
      EXPECT_EQ(textOf(recording), expected);
    } else {
      EXPECT_TRUE(recording.calls.empty());
    }
  }
}

TEST(RecordedValues, ComeBackBitByBit) {
  using nlohmann::json;
  EXPECT_EQ(vyhost::bytesOf(json::parse(R"("a\u0000\u001f\u007f\u0080\u00bf\u00c0\u00ff")")),
            std::string("a\0\x1f\x7f\x80\xbf\xc0\xff", 8));
  EXPECT_EQ(vyhost::bytesOf(nullptr), "");
  EXPECT_EQ(vyhost::realOf(json::parse("0.1")), 0.1);
  EXPECT_EQ(vyhost::realOf(json("f32:ff800000")), -INFINITY);
  EXPECT_TRUE(std::signbit(vyhost::realOf(json("f32:80000000"))));
  const double value = vyhost::realOf(json("f64:7ff8000000000123"));
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  EXPECT_EQ(bits, 0x7ff8000000000123U);
  // A short number for a float is that float.
  EXPECT_EQ(vyhost::canonical(vyhost::ValueKind::intrinsic, json::parse("[1,2,0.1,4,640,480]")),
            json::parse("[1,2,0.10000000149011612,4,640,480]"));
  EXPECT_EQ(vyhost::canonical(vyhost::ValueKind::real32, json("f32:40000000")), json(2));
}

TEST(RecordedTexts, AreShownWithoutWhatIsNoCharacter) {
  const std::pair<const char*, const char*> cases[] = {
      {"\x1F \x7E\n\x7F", "\\x1f ~\\n\\x7f"},
      {"\xC2\x9F\xC2\xA0", "\\xc2\\x9f\xC2\xA0"},
      {"\xC1\xBF\xC2", "\\xc1\\xbf\\xc2"},
      {"\xE0\x9F\xBF\xE0\xA0\x80", "\\xe0\\x9f\\xbf\xE0\xA0\x80"},
      {"\xED\x9F\xBF\xED\xA0\x80", "\xED\x9F\xBF\\xed\\xa0\\x80"},
      {"\xEE\xA0\x80\xEF\xBF\xC0", "\xEE\xA0\x80\\xef\\xbf\\xc0"},
      {"\xF0\x8F\xBF\xBF\xF0\x90\x80\x80", "\\xf0\\x8f\\xbf\\xbf\xF0\x90\x80\x80"},
      {"\xF4\x8F\xBF\xBF\xF4\x90\x80\x80", "\xF4\x8F\xBF\xBF\\xf4\\x90\\x80\\x80"},
      {"\xF5\x80\x80\x80", "\\xf5\\x80\\x80\\x80"},
  };
  for (const auto& [bytes, shown] : cases) EXPECT_EQ(vyhost::printable(bytes), shown);
  std::string sensors;
  for (const int sensor : {1, 2, 3, 4, 6, 7}) sensors += vyhost::sensorName(sensor) + ", ";
  EXPECT_EQ(sensors, "infrared, colour, depth, sensor 4, left infrared, right infrared, ");
}

}  // namespace
