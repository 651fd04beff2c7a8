#pragma once

#include <cstdint>

namespace tavrix {

/// Random-looking bits. The same value gives the same bits on every target.
constexpr uint32_t hash(uint32_t value) {
  value ^= value >> 16;
  value *= 0x7FEB352DU;
  value ^= value >> 15;
  value *= 0x846CA68BU;
  value ^= value >> 16;
  return value;
}

/// The same for two numbers. Bits for another purpose are other bits.
constexpr uint32_t hash(uint32_t a, uint32_t b, uint32_t purpose) {
  return hash(a + hash(b + hash(purpose)));
}

}  // namespace tavrix
