#include "pixel/Packing.h"

#include <algorithm>
#include <cstring>

namespace tavrix::pixel {
namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "pixels in memory are taken as little-endian words");

using Bytes8 = uint64_t;

constexpr uint32_t kGroup = 8;  // pixels that take whole bytes, whatever their bits

Bytes8 load8(const void* source) {
  Bytes8 word = 0;
  std::memcpy(&word, source, sizeof word);
  return word;
}

/// The same value in each of the four 16-bit lanes of a word.
constexpr Bytes8 inLanes(Bytes8 value) {
  return value * 0x0001000100010001U;
}

constexpr Bytes8 lowBits(int count) {
  return (Bytes8{1} << count) - 1;
}

/// Four pixels side by side, the lowest bits first, spread to lanes.
template <int kBits>
Bytes8 spreadLsb(Bytes8 word) {
  const Bytes8 pairs = (word & lowBits(2 * kBits)) | (word >> (2 * kBits) & lowBits(2 * kBits)) << 32;
  constexpr Bytes8 kFirst = lowBits(kBits) | lowBits(kBits) << 32;
  return (pairs & kFirst) | (pairs >> kBits & kFirst) << 16;
}

/// The same where the first pixel has the highest bits.
template <int kBits>
Bytes8 spreadMsb(Bytes8 word) {
  const Bytes8 pairs = (word >> (2 * kBits) & lowBits(2 * kBits)) | (word & lowBits(2 * kBits)) << 32;
  constexpr Bytes8 kFirst = lowBits(kBits) | lowBits(kBits) << 32;
  return (pairs >> kBits & kFirst) | (pairs & kFirst) << 16;
}

/// Unpacks whole groups, as long as eight bytes can be read at a time before `end`. Returns how many pixels are done.
template <int kBits, bool kMsbFirst>
uint32_t unpackGroups(const uint8_t* bytes, const uint8_t* end, uint16_t* pixels, uint32_t width) {
  constexpr int kSecondByte = 4 * kBits / 8;
  constexpr int kSecondBit = 4 * kBits % 8;
  constexpr int kUnused = 64 - 4 * kBits;
  uint32_t done = 0;
  for (; width - done >= kGroup && end - bytes >= kSecondByte + 8; done += kGroup) {
    Bytes8 lanes[2];
    if constexpr (kMsbFirst) {
      lanes[0] = spreadMsb<kBits>(__builtin_bswap64(load8(bytes)) >> kUnused);
      lanes[1] = spreadMsb<kBits>(__builtin_bswap64(load8(bytes + kSecondByte)) << kSecondBit >> kUnused);
    } else {
      lanes[0] = spreadLsb<kBits>(load8(bytes));
      lanes[1] = spreadLsb<kBits>(load8(bytes + kSecondByte) >> kSecondBit);
    }
    std::memcpy(pixels + done, lanes, sizeof lanes);
    bytes += kBits;
  }
  return done;
}

/// Four pixels, clamped to their bits, side by side.
template <int kBits, bool kMsbFirst>
Bytes8 squeeze(const uint16_t* pixels) {
  Bytes8 word = 0;
  for (int i = 0; i < 4; ++i) {
    const Bytes8 value = std::min<Bytes8>(pixels[i], lowBits(kBits));
    word |= value << kBits * (kMsbFirst ? 3 - i : i);
  }
  return word;
}

template <int kBits, bool kMsbFirst>
uint32_t packGroups(const uint16_t* pixels, uint8_t* bytes, uint32_t width) {
  constexpr int kHalf = 4 * kBits;  // bits of four pixels
  uint32_t done = 0;
  for (; width - done >= kGroup; done += kGroup) {
    const Bytes8 first = squeeze<kBits, kMsbFirst>(pixels + done);
    const Bytes8 second = squeeze<kBits, kMsbFirst>(pixels + done + 4);
    Bytes8 words[2];
    if constexpr (kMsbFirst) {
      words[0] = __builtin_bswap64(first << (64 - kHalf) | second >> (2 * kHalf - 64));
      words[1] = __builtin_bswap64(second << (128 - 2 * kHalf));
    } else {
      words[0] = first | second << kHalf;
      words[1] = second >> (64 - kHalf);
    }
    std::memcpy(bytes, words, kBits);
    bytes += kBits;
  }
  return done;
}

/// Unpacks whole groups of the pixel sizes that cameras use. Returns how many pixels are done.
uint32_t unpackFast(Packing packing, const uint8_t* bytes, const uint8_t* end, uint16_t* pixels, uint32_t width) {
  const bool msb = packing.order == BitOrder::msbFirst;
  switch (packing.bits) {
    case 10:
      return msb ? unpackGroups<10, true>(bytes, end, pixels, width)
                 : unpackGroups<10, false>(bytes, end, pixels, width);
    case 11:
      return msb ? unpackGroups<11, true>(bytes, end, pixels, width)
                 : unpackGroups<11, false>(bytes, end, pixels, width);
    case 12:
      return msb ? unpackGroups<12, true>(bytes, end, pixels, width)
                 : unpackGroups<12, false>(bytes, end, pixels, width);
    case 14:
      return msb ? unpackGroups<14, true>(bytes, end, pixels, width)
                 : unpackGroups<14, false>(bytes, end, pixels, width);
    default:
      return 0;
  }
}

uint32_t packFast(Packing packing, const uint16_t* pixels, uint8_t* bytes, uint32_t width) {
  const bool msb = packing.order == BitOrder::msbFirst;
  switch (packing.bits) {
    case 10:
      return msb ? packGroups<10, true>(pixels, bytes, width) : packGroups<10, false>(pixels, bytes, width);
    case 11:
      return msb ? packGroups<11, true>(pixels, bytes, width) : packGroups<11, false>(pixels, bytes, width);
    case 12:
      return msb ? packGroups<12, true>(pixels, bytes, width) : packGroups<12, false>(pixels, bytes, width);
    case 14:
      return msb ? packGroups<14, true>(pixels, bytes, width) : packGroups<14, false>(pixels, bytes, width);
    default:
      return 0;
  }
}

/// Unpacks pixels of any size, byte by byte, from the start of a byte on.
void unpackSlowly(Packing packing, const uint8_t* bytes, uint16_t* pixels, uint32_t width) {
  uint32_t buffer = 0;
  int held = 0;
  for (uint32_t i = 0; i < width; ++i) {
    for (; held < packing.bits; held += 8) {
      const uint32_t byte = *bytes++;
      buffer = packing.order == BitOrder::msbFirst ? buffer << 8 | byte : buffer | byte << held;
    }
    held -= packing.bits;
    if (packing.order == BitOrder::msbFirst) {
      pixels[i] = static_cast<uint16_t>(buffer >> held & lowBits(packing.bits));
    } else {
      pixels[i] = static_cast<uint16_t>(buffer & lowBits(packing.bits));
      buffer >>= packing.bits;
    }
  }
}

void packSlowly(Packing packing, const uint16_t* pixels, uint8_t* bytes, uint32_t width) {
  const auto largest = static_cast<uint32_t>(lowBits(packing.bits));
  const bool msb = packing.order == BitOrder::msbFirst;
  uint32_t buffer = 0;
  int held = 0;
  for (uint32_t i = 0; i < width; ++i) {
    const uint32_t value = std::min<uint32_t>(pixels[i], largest);
    buffer = msb ? buffer << packing.bits | value : buffer | value << held;
    for (held += packing.bits; held >= 8; held -= 8) {
      *bytes++ = static_cast<uint8_t>(msb ? buffer >> (held - 8) : buffer);
      if (!msb) buffer >>= 8;
    }
  }
  if (held > 0) *bytes = static_cast<uint8_t>(msb ? buffer << (8 - held) : buffer);
}

/// Four pixels from their high bytes, in the low half of a word, and the byte of their low bits.
Bytes8 spreadMipi(Bytes8 high, Bytes8 low) {
  high = (high | high << 16) & 0x0000FFFF0000FFFFU;
  high = (high | high << 8) & 0x00FF00FF00FF00FFU;
  return high << 2 | ((low | low << 14 | low << 28 | low << 42) & inLanes(3));
}

void unpackMipi(const uint8_t* bytes, uint16_t* pixels, uint32_t width) {
  for (uint32_t done = 0; done < width; done += 4, bytes += 5) {
    uint32_t high = 0;
    std::memcpy(&high, bytes, sizeof high);
    const Bytes8 lanes = spreadMipi(high, bytes[4]);
    if (width - done >= 4) {
      std::memcpy(pixels + done, &lanes, sizeof lanes);
    } else {
      std::memcpy(pixels + done, &lanes, (width - done) * sizeof(uint16_t));
    }
  }
}

void packMipi(const uint16_t* pixels, uint8_t* bytes, uint32_t width) {
  for (uint32_t done = 0; done < width; done += 4, bytes += 5) {
    unsigned low = 0;
    for (uint32_t i = 0; i < 4; ++i) {
      const unsigned value = done + i < width ? std::min<unsigned>(pixels[done + i], 1023) : 0;
      bytes[i] = static_cast<uint8_t>(value >> 2);
      low |= (value & 3) << 2 * i;
    }
    bytes[4] = static_cast<uint8_t>(low);
  }
}

}  // namespace

size_t packedRowBytes(Packing packing, uint32_t width) {
  if (packing.order == BitOrder::mipi) return (static_cast<size_t>(width) + 3) / 4 * 5;
  return (static_cast<size_t>(width) * static_cast<size_t>(packing.bits) + 7) / 8;
}

void packRows(Packing packing, const uint16_t* pixels, uint8_t* bytes, uint32_t width, uint32_t height) {
  const size_t rowBytes = packedRowBytes(packing, width);
  for (uint32_t y = 0; y < height; ++y, pixels += width, bytes += rowBytes) {
    if (packing.order == BitOrder::mipi) {
      packMipi(pixels, bytes, width);
      continue;
    }
    const uint32_t done = packFast(packing, pixels, bytes, width);
    packSlowly(packing, pixels + done, bytes + packedRowBytes(packing, done), width - done);
  }
}

void unpackRows(Packing packing, const uint8_t* bytes, uint16_t* pixels, uint32_t width, uint32_t height) {
  const size_t rowBytes = packedRowBytes(packing, width);
  const uint8_t* end = bytes + rowBytes * height;
  for (uint32_t y = 0; y < height; ++y, pixels += width, bytes += rowBytes) {
    if (packing.order == BitOrder::mipi) {
      unpackMipi(bytes, pixels, width);
      continue;
    }
    const uint32_t done = unpackFast(packing, bytes, end, pixels, width);
    unpackSlowly(packing, bytes + packedRowBytes(packing, done), pixels + done, width - done);
  }
}

}  // namespace tavrix::pixel
