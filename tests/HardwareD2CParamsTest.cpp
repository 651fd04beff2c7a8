// What "DepthResize" is told for a set of hardware D2C parameters, against worked examples and a slow reference.
#include "d2c/HardwareD2CParams.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

HardwareD2CParams makeParams(float scale, std::array<int, 4> padLeftTopRightBottom, bool applyScale) {
  HardwareD2CParams params;
  params.intrinsic = {600, 500, 320, 200, 640, 400};
  params.scale = scale;
  params.padLeft = static_cast<std::int16_t>(padLeftTopRightBottom[0]);
  params.padTop = static_cast<std::int16_t>(padLeftTopRightBottom[1]);
  params.padRight = static_cast<std::int16_t>(padLeftTopRightBottom[2]);
  params.padBottom = static_cast<std::int16_t>(padLeftTopRightBottom[3]);
  params.applyScale = applyScale;
  return params;
}

std::string number(float value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.9g", static_cast<double>(value));
  return std::isnan(value) ? "nan" : text;
}

/// Arguments and intrinsics: "640 400 1.000000000 0 0 0 0 | 300 250 160 100 320 200".
template <typename Texts>
std::string textOf(const Texts& arguments, const VYCameraIntrinsic& intrinsic) {
  std::string text;
  for (const auto& argument : arguments) text += std::string(argument) + " ";
  return text + "| " + number(intrinsic.fx) + " " + number(intrinsic.fy) + " " + number(intrinsic.cx) + " " +
         number(intrinsic.cy) + " " + std::to_string(intrinsic.width) + " " + std::to_string(intrinsic.height);
}

std::string derived(HardwareD2CParams params, std::uint32_t width, std::uint32_t height) {
  params.derive(width, height);
  const ResizeArguments arguments = params.resizeArguments();
  return textOf(arguments.texts(), params.intrinsic);
}

TEST(HardwareD2CParamsTest, WorkedExamples) {
  const std::string kept = "| 600 500 320 200 640 400";
  const struct {
    HardwareD2CParams params;
    std::uint32_t width, height;
    std::string expected;
  } cases[] = {
      // The scale folds into the intrinsics, or is applied when asked for.
      {makeParams(2, {0, 0, 0, 0}, false), 640, 400, "640 400 1.000000000 0 0 0 0 | 300 250 160 100 320 200"},
      {makeParams(2, {0, 0, 0, 0}, true), 640, 400, "1280 800 2.000000000 0 0 0 0 " + kept},
      {makeParams(1, {0, 0, 0, 0}, false), 640, 400, "640 400 1.000000000 0 0 0 0 " + kept},
      // Borders fold, too; horizontal ones stand before vertical ones.
      {makeParams(2, {20, 10, -8, 4}, false), 640, 400, "646 407 1.000000000 10 -4 5 2 | 300 250 160 100 320 200"},
      {makeParams(1, {1, 2, 3, 4}, false), 640, 400, "644 406 1.000000000 1 3 2 4 " + kept},
      {makeParams(1, {-10, 0, -6, 0}, false), 640, 400, "624 400 1.000000000 -10 -6 0 0 " + kept},
      // What does not divide out is applied, whatever the flag says; one axis is enough.
      {makeParams(1.5F, {0, 0, 0, 0}, false), 641, 400, "961 600 1.500000000 0 0 0 0 " + kept},
      {makeParams(1.5F, {0, 0, 0, 0}, false), 640, 401, "960 601 1.500000000 0 0 0 0 " + kept},
      {makeParams(0.5F, {0, 0, 0, 0}, false), 640, 400, "640 400 1.000000000 0 0 0 0 | 1200 1000 640 400 1280 800"},
      // Numbers that make no sense do what the arithmetic gives.
      {makeParams(0, {0, 0, 0, 0}, false), 640, 400, "0 0 0.000000000 0 0 0 0 " + kept},
      {makeParams(-1, {0, 0, 0, 0}, false), 640, 400, "0 0 -1.000000000 0 0 0 0 " + kept},
      {makeParams(1, {-700, 0, 0, 0}, true), 640, 400, "4294967236 400 1.000000000 -700 0 0 0 " + kept},
      {makeParams(kInfinity, {0, 0, 0, 0}, true), 640, 0, "4294967295 0 inf 0 0 0 0 " + kept},
      {makeParams(kNaN, {3, 0, 4, 5}, true), 640, 400, "7 5 nan 3 4 0 5 " + kept},
      {makeParams(1e9F, {1, 0, 0, 0}, true), 640, 400, "0 4294967295 1000000000.000000000 1 0 0 0 " + kept},
  };
  for (const auto& each : cases) EXPECT_EQ(derived(each.params, each.width, each.height), each.expected);
}

// ---- Reference: the same rules in wide integers, step by step -----------------------------------

std::int64_t clampedTruncation(float value, double lowest, double highest) {
  if (std::isnan(value)) return 0;
  return static_cast<std::int64_t>(std::fmin(std::fmax(std::trunc(static_cast<double>(value)), lowest), highest));
}
std::int64_t toU32(float value) {
  return clampedTruncation(value, 0, 4294967295.0);
}
/// The low bits of a number, as an unsigned or a signed one.
std::int64_t lowBits(std::int64_t value, int bits, bool isSigned) {
  const std::int64_t range = std::int64_t{1} << bits;
  const std::int64_t low = ((value % range) + range) % range;
  return isSigned && low >= range / 2 ? low - range : low;
}
std::int64_t toS16(float value) {
  return lowBits(clampedTruncation(value, -2147483648.0, 2147483647.0), 16, true);
}
std::int64_t wrap32(std::int64_t value) {
  return lowBits(value, 32, false);
}

std::string reference(const HardwareD2CParams& p, std::uint32_t width, std::uint32_t height) {
  std::int64_t outputWidth = wrap32(p.padLeft + p.padRight + toU32(static_cast<float>(width) * p.scale));
  std::int64_t outputHeight = wrap32(p.padTop + p.padBottom + toU32(static_cast<float>(height) * p.scale));
  std::int64_t left = p.padLeft, top = p.padTop, right = p.padRight, bottom = p.padBottom;
  float scale = p.scale;
  VYCameraIntrinsic intrinsic = p.intrinsic;

  const auto divided = [&p](std::int64_t value) { return static_cast<float>(value) / p.scale; };
  const std::int64_t w = toU32(divided(outputWidth)), h = toU32(divided(outputHeight));
  const std::int64_t l = toS16(divided(left)), t = toS16(divided(top));
  const std::int64_t r = toS16(divided(right)), b = toS16(divided(bottom));
  const auto isExact = [](std::uint32_t value) { return toU32(static_cast<float>(value)) == value; };
  const bool asked = !p.applyScale && !(p.scale == 1.0F);
  if (asked && static_cast<float>(width) == static_cast<float>(wrap32(w - l - r)) &&
      static_cast<float>(height) == static_cast<float>(wrap32(h - t - b)) && isExact(width) && isExact(height)) {
    outputWidth = w, outputHeight = h, left = l, top = t, right = r, bottom = b;
    scale = 1;
    intrinsic.fx = intrinsic.fx / p.scale;
    intrinsic.fy = intrinsic.fy / p.scale;
    intrinsic.cx = intrinsic.cx / p.scale;
    intrinsic.cy = intrinsic.cy / p.scale;
    intrinsic.width = static_cast<std::int16_t>(toS16(divided(intrinsic.width)));
    intrinsic.height = static_cast<std::int16_t>(toS16(divided(intrinsic.height)));
  }
  char scaleText[64];
  std::snprintf(scaleText, sizeof scaleText, "%.9f", static_cast<double>(scale));
  const auto text = [](std::int64_t value) { return std::to_string(value); };
  const std::string arguments[] = {text(outputWidth), text(outputHeight), scaleText,   text(left),
                                   text(right),       text(top),          text(bottom)};
  return textOf(arguments, intrinsic);
}

TEST(HardwareD2CParamsTest, AgreesWithTheReference) {
  std::mt19937 random(20240607);
  const auto pick = [&random](const auto& values) { return values[random() % std::size(values)]; };
  const float scales[] = {1,     2,      0.5F, 1.5F,  0.75F, 3,     1.0F / 3, 4,     1.25F, -1,        -0.5F,     0,
                          -0.0F, 1e-30F, 1e9F, 1e38F, 1e-6F, 0.99F, 1.01F,    -1e9F, kNaN,  kInfinity, -kInfinity};
  const std::uint32_t sizes[] = {0, 1, 2, 3, 399, 400, 640, 641, 1280, 4096, 16777216, 16777217, 4294967295U};
  const int pads[] = {0, 0, 0, 1, -1, 2, -2, 4, -8, 10, -10, 255, -700, 32767, -32768};
  int folds = 0;
  for (int i = 0; i < 60000; ++i) {
    const bool isWild = i % 4 == 0;
    const float scale = isWild || i % 3 == 0 ? pick(scales) : static_cast<float>(random() % 64 + 1) / 16;
    const auto pad = [&] { return isWild ? pick(pads) : static_cast<int>(random() % 33) - 16; };
    const auto size = [&] { return isWild ? pick(sizes) : static_cast<std::uint32_t>(random() % 1400); };
    HardwareD2CParams params = makeParams(scale, {pad(), pad(), pad(), pad()}, random() % 4 == 0);
    if (isWild) params.intrinsic = {1e30F, -5, kNaN, 0, 32767, -32768};
    const std::uint32_t width = size(), height = size();
    const std::string actual = derived(params, width, height);
    ASSERT_EQ(actual, reference(params, width, height)) << number(scale) << ", " << width << " x " << height;
    folds += actual.find(" 1.000000000 ") != std::string::npos && scale != 1.0F ? 1 : 0;
  }
  EXPECT_GT(folds, 500) << "too few inputs reach the interesting half";
}

}  // namespace
