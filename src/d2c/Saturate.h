#pragma once

#include <cstdint>
#include <limits>

/// Float to integer toward zero, defined for every input and the same on every target: both ends saturate, NaN gives 0.
template <typename Integer>
Integer truncateSaturated(float value) {
  using Limits = std::numeric_limits<Integer>;
  // One above the highest value: a power of two, and so exact in single precision. The lowest value is exact, too.
  constexpr Integer kHalf = Limits::max() / 2 + 1;
  constexpr auto kAboveHighest = static_cast<float>(kHalf) * 2.0F;
  constexpr auto kLowest = static_cast<float>(Limits::min());
  if (value >= kAboveHighest) return Limits::max();
  if (value > kLowest) return static_cast<Integer>(value);
  return value <= kLowest ? Limits::min() : Integer{0};  // NaN compares false with everything
}

inline std::uint32_t truncateToUnsigned(float value) {
  return truncateSaturated<std::uint32_t>(value);
}
inline std::int32_t truncateToSigned(float value) {
  return truncateSaturated<std::int32_t>(value);
}

/// The low 16 bits of the truncated value, read as signed.
inline std::int16_t truncateToLow16(float value) {
  const auto low = static_cast<std::int32_t>(static_cast<std::uint32_t>(truncateToSigned(value)) & 0xFFFFU);
  return static_cast<std::int16_t>(low < 0x8000 ? low : low - 0x10000);
}
