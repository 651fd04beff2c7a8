#pragma once

#include <cstdint>

namespace tavrix {

/// Bits that look random and are the same for the same value on every target.
constexpr uint32_t hash(uint32_t value) {
  value ^= value >> 16;
  value *= 0x7FEB352DU;
  value ^= value >> 15;
  value *= 0x846CA68BU;
  value ^= value >> 16;
  return value;
}

/// The same for a place, or any two numbers, and what the bits are for.
constexpr uint32_t hash(uint32_t a, uint32_t b, uint32_t purpose) {
  return hash(a + hash(b + hash(purpose)));
}

}  // namespace tavrix
