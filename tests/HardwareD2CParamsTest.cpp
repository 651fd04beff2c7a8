// What "DepthResize" is told for a set of hardware D2C parameters, against worked examples and a model.
#include "d2c/HardwareD2CParams.h"

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <random>

#include "support/HardwareD2CModel.h"

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

constexpr VYCameraIntrinsic kIntrinsic = {600, 500, 320, 200, 640, 400};

/// What the library makes of the parameters, in the form of the model.
std::string derived(const D2CParameters& p, std::uint32_t width, std::uint32_t height) {
  HardwareD2CParams params;
  params.intrinsic = p.intrinsic;
  params.scale = p.scale;
  params.padLeft = p.left;
  params.padTop = p.top;
  params.padRight = p.right;
  params.padBottom = p.bottom;
  params.applyScale = p.applyScale;
  params.derive(width, height);
  std::string text;
  const ResizeArguments arguments = params.resizeArguments();
  for (const char* const argument : arguments.texts()) text += std::string(argument) + " ";
  return text + "| " + textOf(params.intrinsic);
}

TEST(HardwareD2CParamsTest, WorkedExamples) {
  const std::string kept = "| 600 500 320 200 640 400";
  const struct {
    D2CParameters params;
    std::uint32_t width, height;
    std::string expected;
  } cases[] = {
      // The scale folds into the intrinsics, or is applied when asked for.
      {{kIntrinsic, 2, 0, 0, 0, 0, false}, 640, 400, "640 400 1.000000000 0 0 0 0 | 300 250 160 100 320 200"},
      {{kIntrinsic, 2, 0, 0, 0, 0, true}, 640, 400, "1280 800 2.000000000 0 0 0 0 " + kept},
      {{kIntrinsic, 1, 0, 0, 0, 0, false}, 640, 400, "640 400 1.000000000 0 0 0 0 " + kept},
      // Borders fold, too; horizontal ones stand before vertical ones.
      {{kIntrinsic, 2, 20, 10, -8, 4, false}, 640, 400, "646 407 1.000000000 10 -4 5 2 | 300 250 160 100 320 200"},
      {{kIntrinsic, 1, 1, 2, 3, 4, false}, 640, 400, "644 406 1.000000000 1 3 2 4 " + kept},
      {{kIntrinsic, 1, -10, 0, -6, 0, false}, 640, 400, "624 400 1.000000000 -10 -6 0 0 " + kept},
      // What does not divide out is applied, whatever the flag says; one axis is enough.
      {{kIntrinsic, 1.5F, 0, 0, 0, 0, false}, 641, 400, "961 600 1.500000000 0 0 0 0 " + kept},
      {{kIntrinsic, 1.5F, 0, 0, 0, 0, false}, 640, 401, "960 601 1.500000000 0 0 0 0 " + kept},
      {{kIntrinsic, 0.5F, 0, 0, 0, 0, false}, 640, 400, "640 400 1.000000000 0 0 0 0 | 1200 1000 640 400 1280 800"},
      // Numbers that make no sense do what the arithmetic gives.
      {{kIntrinsic, 0, 0, 0, 0, 0, false}, 640, 400, "0 0 0.000000000 0 0 0 0 " + kept},
      {{kIntrinsic, -1, 0, 0, 0, 0, false}, 640, 400, "0 0 -1.000000000 0 0 0 0 " + kept},
      {{kIntrinsic, 1, -700, 0, 0, 0, true}, 640, 400, "4294967236 400 1.000000000 -700 0 0 0 " + kept},
      {{kIntrinsic, kInfinity, 0, 0, 0, 0, true}, 640, 0, "4294967295 0 inf 0 0 0 0 " + kept},
      {{kIntrinsic, kNaN, 3, 0, 4, 5, true}, 640, 400, "7 5 nan 3 4 0 5 " + kept},
      {{kIntrinsic, 1e9F, 1, 0, 0, 0, true}, 640, 400, "0 4294967295 1000000000.000000000 1 0 0 0 " + kept},
  };
  for (const auto& each : cases) EXPECT_EQ(derived(each.params, each.width, each.height), each.expected);
}

TEST(HardwareD2CParamsTest, AgreesWithTheModel) {
  std::mt19937 random(20240607);
  const auto pick = [&random](const auto& values) { return values[random() % std::size(values)]; };
  const float scales[] = {1,     2,      0.5F, 1.5F,  0.75F, 3,     1.0F / 3, 4,     1.25F, -1,        -0.5F,     0,
                          -0.0F, 1e-30F, 1e9F, 1e38F, 1e-6F, 0.99F, 1.01F,    -1e9F, kNaN,  kInfinity, -kInfinity};
  const std::uint32_t sizes[] = {0, 1, 2, 3, 399, 400, 640, 641, 1280, 4096, 16777216, 16777217, 4294967295U};
  const std::int16_t pads[] = {0, 0, 0, 1, -1, 2, -2, 4, -8, 10, -10, 255, -700, 32767, -32768};
  int folds = 0;
  for (int i = 0; i < 60000; ++i) {
    const bool isWild = i % 4 == 0;
    const float scale = isWild || i % 3 == 0 ? pick(scales) : static_cast<float>(random() % 64 + 1) / 16;
    const auto pad = [&]() -> std::int16_t {
      return isWild ? pick(pads) : static_cast<std::int16_t>(static_cast<int>(random() % 33) - 16);
    };
    const auto size = [&] { return isWild ? pick(sizes) : static_cast<std::uint32_t>(random() % 1400); };
    D2CParameters params = {kIntrinsic, scale, pad(), pad(), pad(), pad(), random() % 4 == 0};
    if (isWild) params.intrinsic = {1e30F, -5, kNaN, 0, 32767, -32768};
    const std::uint32_t width = size(), height = size();
    const std::string actual = derived(params, width, height);
    ASSERT_EQ(actual, modelOfD2C(params, width, height)) << scale << ", " << width << " x " << height;
    folds += actual.find(" 1.000000000 ") != std::string::npos && scale != 1.0F ? 1 : 0;
  }
  EXPECT_GT(folds, 500) << "too few inputs reach the interesting half";
}

}  // namespace
