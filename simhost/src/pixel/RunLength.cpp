#include "pixel/RunLength.h"

#include <algorithm>
#include <cstring>

namespace tavrix::pixel {
namespace {

constexpr size_t kLongestRecord = 0x7FFF;
constexpr unsigned kLiteralMark = 0x8000;
// Shorter runs stay with the pixels around them: they would save little, and the sensor's noise makes many of them. A
// run of this length has a whole block in it, wherever it begins.
constexpr size_t kBlock = 4;
constexpr size_t kShortestRun = 2 * kBlock - 1;

// The data's words are little-endian, as is the memory of every target of this system.
void appendWords(std::vector<uint8_t>& bytes, const uint16_t* words, size_t count) {
  const auto* const first = reinterpret_cast<const uint8_t*>(words);
  bytes.insert(bytes.end(), first, first + count * sizeof(uint16_t));
}

void appendLiterals(std::vector<uint8_t>& bytes, const uint16_t* pixels, size_t count) {
  while (count > 0) {
    const size_t part = std::min(count, kLongestRecord);
    const auto control = static_cast<uint16_t>(kLiteralMark | part);
    appendWords(bytes, &control, 1);
    appendWords(bytes, pixels, part);
    pixels += part;
    count -= part;
  }
}

void appendRun(std::vector<uint8_t>& bytes, uint16_t pixel, size_t count) {
  while (count > 0) {
    const size_t part = std::min(count, kLongestRecord);
    const uint16_t record[] = {static_cast<uint16_t>(part), pixel};
    appendWords(bytes, record, 2);
    count -= part;
  }
}

/// Whether the pixels of a block are all equal.
bool isEven(const uint16_t* pixels) {
  uint64_t block = 0;
  static_assert(sizeof block == kBlock * sizeof *pixels);
  std::memcpy(&block, pixels, sizeof block);
  return block == pixels[0] * uint64_t{0x0001'0001'0001'0001};
}

std::string atByte(size_t position) {
  return " (byte " + std::to_string(position) + ")";
}

}  // namespace

std::vector<uint8_t> compressRuns(const uint16_t* pixels, size_t count) {
  std::vector<uint8_t> bytes;
  // Room for the worst case, all literals, so that the vector never moves.
  bytes.reserve((count + count / kLongestRecord + 1) * sizeof(uint16_t));
  size_t done = 0;
  for (size_t i = 0; i + kBlock <= count; i += kBlock) {
    if (!isEven(pixels + i)) continue;
    const uint16_t pixel = pixels[i];
    size_t begin = i;
    while (begin > done && pixels[begin - 1] == pixel) --begin;
    size_t end = i + kBlock;
    while (end < count && pixels[end] == pixel) ++end;
    i = (end - 1) / kBlock * kBlock;
    if (end - begin < kShortestRun) continue;
    appendLiterals(bytes, pixels + done, begin - done);
    appendRun(bytes, pixel, end - begin);
    done = end;
  }
  appendLiterals(bytes, pixels + done, count - done);
  return bytes;
}

std::string decompressRuns(const uint8_t* bytes, size_t size, uint16_t* pixels, size_t count) {
  size_t position = 0;
  size_t done = 0;
  const auto nextWord = [&] {
    uint16_t word = 0;
    std::memcpy(&word, bytes + position, sizeof word);
    position += sizeof word;
    return word;
  };
  while (done < count) {
    if (size - position < sizeof(uint16_t)) {
      return "it ends after " + std::to_string(done) + " of " + std::to_string(count) + " pixels" + atByte(position);
    }
    const size_t start = position;
    const unsigned control = nextWord();
    const bool isLiteral = (control & kLiteralMark) != 0;
    const size_t length = control & kLongestRecord;
    if (length == 0) return "a record of no pixels" + atByte(start);
    if (length > count - done) {
      return "a record of " + std::to_string(length) + " pixels where " + std::to_string(count - done) +
             " of the image are left" + atByte(start);
    }
    const size_t payload = (isLiteral ? length : 1) * sizeof(uint16_t);
    if (size - position < payload) {
      return "a record of " + std::to_string(payload) + " bytes is cut off after " + std::to_string(size - position) +
             atByte(start);
    }
    if (isLiteral) {
      std::memcpy(pixels + done, bytes + position, payload);
      position += payload;
    } else {
      std::fill_n(pixels + done, length, nextWord());
    }
    done += length;
  }
  if (position == size) return {};
  return std::to_string(size - position) + " bytes are left over after the last pixel" + atByte(position);
}

}  // namespace tavrix::pixel
