// What the recording writes of single values and handles.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <random>
#include <string>

#include "Recording.h"
#include "recording/HandleNumbers.h"
#include "recording/JsonText.h"
#include "support/CommaLocale.h"

using recording::HandleNumbers;
using recording::JsonText;
using recording::Kind;

namespace {

template <typename To, typename From>
To bitsAs(From from) {
  static_assert(sizeof(To) == sizeof(From));
  To to;
  std::memcpy(&to, &from, sizeof to);
  return to;
}

template <typename Real, typename Bits>
void expectEveryBit(Bits bits, const char* prefix) {
  const auto value = bitsAs<Real>(bits);
  const std::string text(JsonText().real(value).get());
  const nlohmann::json read = nlohmann::json::parse(text, nullptr, false);
  if (std::isfinite(value)) {
    EXPECT_EQ(bitsAs<Bits>(static_cast<Real>(vyhost::realOf(read))), bits) << text;
  } else {
    char expected[32];
    std::snprintf(expected, sizeof expected, "\"%s:%0*llx\"", prefix, static_cast<int>(2 * sizeof bits),
                  static_cast<unsigned long long>(bits));
    EXPECT_EQ(text, expected);
  }
}

/// Zeros, ones, the smallest and largest, infinities and NaNs of both signs, and random bits.
template <typename Real, typename Bits>
void expectEveryBitOfMany(const char* prefix) {
  constexpr Bits kSign = Bits{1} << (8 * sizeof(Bits) - 1);
  using Limits = std::numeric_limits<Real>;
  const Real edges[] = {0,
                        1,
                        16777216,
                        Real(16777217),
                        Real(0.1),
                        Limits::denorm_min(),
                        Limits::min(),
                        Limits::max(),
                        Limits::infinity(),
                        Limits::quiet_NaN()};
  for (const Real edge : edges) {
    for (const Bits sign : {Bits{0}, kSign}) expectEveryBit<Real>(static_cast<Bits>(bitsAs<Bits>(edge) ^ sign), prefix);
  }
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) expectEveryBit<Real>(static_cast<Bits>(random()), prefix);
}

TEST(RecordingValuesTest, EveryBitOfANumberComesBackAlsoWithDecimalCommas) {
  expectEveryBitOfMany<float, std::uint32_t>("f32");
  const CommaLocale locale;
  expectEveryBitOfMany<float, std::uint32_t>("f32");
  expectEveryBitOfMany<double, std::uint64_t>("f64");
}

TEST(RecordingValuesTest, EveryByteOfATextComesBack) {
  std::string bytes;
  for (int byte = 1; byte < 256; ++byte) bytes += static_cast<char>(byte);
  const std::string text(JsonText().text(bytes.c_str()).get());
  EXPECT_EQ(vyhost::bytesOf(nlohmann::json::parse(text)), bytes);
  EXPECT_EQ(JsonText().text(nullptr).get(), "null");
}

TEST(RecordingValuesTest, IntegersHaveTheirSign) {
  for (const std::int64_t value : {std::int64_t{0}, std::int64_t{-1}, INT64_MIN, INT64_MAX}) {
    EXPECT_EQ(JsonText().integer(value).get(), std::to_string(value));
  }
}

TEST(HandleNumbersTest, ANumberLastsAsLongAsTheReferences) {
  HandleNumbers numbers;
  const int place = 0;
  const int other = 0;
  EXPECT_EQ(numbers.find(Kind::frame, nullptr), 0U);
  EXPECT_EQ(numbers.receive(Kind::frame, &place), 1U);
  EXPECT_EQ(numbers.receive(Kind::frame, &other), 2U);
  EXPECT_EQ(numbers.receive(Kind::filter, &place), 1U) << "each kind is numbered on its own";
  EXPECT_EQ(numbers.retain(Kind::frame, &place), 1U);
  numbers.release(Kind::frame, &place);
  EXPECT_EQ(numbers.find(Kind::frame, &place), 1U) << "a reference is left";
  numbers.release(Kind::frame, &place);
  EXPECT_FALSE(numbers.knows(Kind::frame, &place));
  EXPECT_EQ(numbers.receive(Kind::frame, &place), 3U) << "another frame at the same address";
}

TEST(HandleNumbersTest, AnAddressThatIsReturnedAgain) {
  HandleNumbers numbers;
  const int place = 0;
  EXPECT_EQ(numbers.receive(Kind::frame, &place), 1U);
  EXPECT_EQ(numbers.receive(Kind::frame, &place), 1U) << "the same frame, passed on";
  EXPECT_EQ(numbers.receive(Kind::filter, &place), 1U);
  EXPECT_EQ(numbers.receive(Kind::filter, &place), 2U) << "a filter is made once, so the former one is gone";
  EXPECT_EQ(numbers.find(Kind::error, &place), 1U);
  EXPECT_EQ(numbers.receive(Kind::error, &place), 2U) << "what nobody owns may have gone unseen";
}

TEST(HandleNumbersTest, AFailedReleaseIsTakenBack) {
  HandleNumbers numbers;
  const int place = 0;
  numbers.receive(Kind::filter, &place);
  numbers.release(Kind::filter, &place);
  numbers.restore(Kind::filter, &place, 1);
  EXPECT_EQ(numbers.find(Kind::filter, &place), 1U);
  numbers.release(Kind::filter, &place);
  EXPECT_EQ(numbers.receive(Kind::filter, &place), 2U);
  numbers.restore(Kind::filter, &place, 1);
  EXPECT_EQ(numbers.find(Kind::filter, &place), 2U) << "the address has another filter by now";
}

}  // namespace
