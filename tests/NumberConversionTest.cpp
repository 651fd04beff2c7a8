// Every conversion between numbers and between numbers and texts, at its ends. `long` has 32 bits on some targets, and
// what a processor makes of a number that does not fit differs from one to the next: the results must not.
#include <host/commonTypes.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <stdexcept>

#include "d2c/HardwareD2CParams.h"
#include "d2c/Saturate.h"
#include "processor/FrameProcessor.h"
#include "support/HostTest.h"

namespace {

constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();

// ---- Numbers to numbers -------------------------------------------------------------------------

TEST(NumberConversionTest, FloatsToIntegers) {
  const struct {
    float value;
    std::uint32_t asUnsigned;
    std::int32_t asSigned;
    std::int16_t low16;
  } cases[] = {
      {0.0F, 0, 0, 0},
      {-0.0F, 0, 0, 0},
      {0.99999994F, 0, 0, 0},
      {-0.99999994F, 0, 0, 0},
      {1e-45F, 0, 0, 0},
      {1.5F, 1, 1, 1},
      {2.5F, 2, 2, 2},
      {-1.5F, 0, -1, -1},
      {32767.998F, 32767, 32767, 32767},
      {32768.0F, 32768, 32768, -32768},
      {-32768.996F, 0, -32768, -32768},
      {-32769.0F, 0, -32769, 32767},
      {65535.996F, 65535, 65535, -1},
      {65536.0F, 65536, 65536, 0},
      {-65537.0F, 0, -65537, -1},
      {2147483520.0F, 2147483520, 2147483520, -128},  // the next float is one above the highest signed number
      {2147483648.0F, 2147483648, INT_MAX, -1},
      {-2147483648.0F, 0, INT_MIN, 0},
      {-2147483904.0F, 0, INT_MIN, 0},
      {4294967040.0F, 4294967040, INT_MAX, -1},
      {4294967296.0F, UINT_MAX, INT_MAX, -1},
      {FLT_MAX, UINT_MAX, INT_MAX, -1},
      {-FLT_MAX, 0, INT_MIN, 0},
      {kInfinity, UINT_MAX, INT_MAX, -1},
      {-kInfinity, 0, INT_MIN, 0},
      {kNaN, 0, 0, 0},
      {-kNaN, 0, 0, 0},
  };
  for (const auto& each : cases) {
    EXPECT_EQ(truncateToUnsigned(each.value), each.asUnsigned) << each.value;
    EXPECT_EQ(truncateToSigned(each.value), each.asSigned) << each.value;
    EXPECT_EQ(truncateToLow16(each.value), each.low16) << each.value;
  }
}

// ---- Numbers to texts ---------------------------------------------------------------------------

TEST(NumberConversionTest, ArgumentsOfDepthResize) {
  const struct {
    ResizeArguments arguments;
    const char* texts;
  } cases[] = {
      {{0, 1, 0.0F, 0, -1, 1, 10}, "0 1 0.000000000 0 -1 1 10 "},
      {{INT_MAX, 2147483648, -0.0F, 32767, -32768, 0, 0}, "2147483647 2147483648 -0.000000000 32767 -32768 0 0 "},
      {{UINT_MAX, 4294967294, 0.1F, 0, 0, 32767, -32768}, "4294967295 4294967294 0.100000001 0 0 32767 -32768 "},
      {{0, 0, 1.0F / 3, 0, 0, 0, 0}, "0 0 0.333333343 0 0 0 0 "},
      {{0, 0, 0x1p-10F, 0, 0, 0, 0}, "0 0 0.000976562 0 0 0 0 "},  // ...5 and no more: to the even digit
      {{0, 0, 0x3p-10F, 0, 0, 0, 0}, "0 0 0.002929688 0 0 0 0 "},
      {{0, 0, 0.99999994F, 0, 0, 0, 0}, "0 0 0.999999940 0 0 0 0 "},
      {{0, 0, 1e-45F, 0, 0, 0, 0}, "0 0 0.000000000 0 0 0 0 "},
      {{0, 0, -FLT_MAX, 0, 0, 0, 0}, "0 0 -340282346638528859811704183484516925440.000000000 0 0 0 0 "},
      {{0, 0, -kInfinity, 0, 0, 0, 0}, "0 0 -inf 0 0 0 0 "},
  };
  for (const auto& each : cases) {
    std::string texts;
    for (const char* text : each.arguments.texts()) texts.append(text).append(" ");
    EXPECT_EQ(texts, each.texts);
  }
}

/// The depth chain of a Vashti camera. Six settings: size, limit and switch of NoiseRemovalFilter, the switches of
/// FrameMirror and FrameFlip, an item of FrameRotate.
class SettingNumbersTest : public HostTest {
 protected:
  /// All items have these numbers.
  void define(double min, double max, double step, double value) {
    items_[0] = {"size", VY_FILTER_CONFIG_VALUE_TYPE_INT, min, max, step, value, ""};
    items_[1] = {"limit", VY_FILTER_CONFIG_VALUE_TYPE_FLOAT, min, max, step, value, ""};
    items_[2] = {"swap", VY_FILTER_CONFIG_VALUE_TYPE_BOOLEAN, min, max, step, value, ""};
    defineFilter({"NoiseRemovalFilter", nullptr, false, &items_[0], 2, nullptr, nullptr});
    defineFilter({"FrameRotate", nullptr, false, &items_[2], 1, nullptr, nullptr});
  }

  Processor build() { return makeProcessor(vashti_.context, kDepth); }

  /// What settings do to the filters: `item: "size", value: 3)` or `enable: true)`, in order.
  static std::vector<std::string> effectsOf(const Processor& processor, const std::vector<const char*>& values) {
    std::vector<std::string> effects;
    const std::string calls = recordCalls([&] { EXPECT_EQ(updateConfig(processor, values), kNoError); });
    for (const std::string& call : splitLines(calls)) {
      if (call.find("vy_filter_set_config_value(") != 0 && call.find("vy_filter_enable(") != 0) continue;
      effects.push_back(call.substr(call.find(", ") + 2));
    }
    return effects;
  }

  OpenDevice vashti_ = openDevice(kVashti);
  VYFilterConfigSchemaItem items_[3] = {};
};

TEST_F(SettingNumbersTest, InTheSchemaText) {
  const struct {
    double number;
    const char* integer;
    const char* fixed;
  } cases[] = {
      {0.0, "0", "0.000000"},
      {-0.0, "0", "-0.000000"},
      {-4e-7, "0", "-0.000000"},
      {5e-324, "0", "0.000000"},
      {0.5, "0", "0.500000"},
      {-0.5, "0", "-0.500000"},
      {0x1p-7, "0", "0.007812"},  // ...5 and no more: to the even digit
      {0x3p-7, "0", "0.023438"},
      {0.9999999, "1", "1.000000"},
      {2.5, "2", "2.500000"},
      {-1.5, "-1", "-1.500000"},
      {16777215, "16777215", "16777215.000000"},
      {16777217, "16777217", "16777216.000000"},
      {-16777219, "-16777219", "-16777220.000000"},
      {2147483647, "2147483647", "2147483648.000000"},
      {2147483648, "2147483647", "2147483648.000000"},
      {-2147483648, "-2147483648", "-2147483648.000000"},
      {-2147483649, "-2147483648", "-2147483648.000000"},
      {4294967297, "2147483647", "4294967296.000000"},
      {-4294967297, "-2147483648", "-4294967296.000000"},
      {1e20, "2147483647", "100000002004087734272.000000"},
      {FLT_MAX, "2147483647", "340282346638528859811704183484516925440.000000"},
      {1e39, "2147483647", "inf"},
      {-DBL_MAX, "-2147483648", "-inf"},
      {HUGE_VAL, "0", "inf"},
      {-HUGE_VAL, "0", "-inf"},
      {kNaN, "0", "nan"},
      {-kNaN, "0", "-nan"},
  };
  for (const auto& each : cases) {
    define(each.number, each.number, each.number, each.number);
    const std::vector<std::string> lines = splitLines(schemaOf(build()));
    ASSERT_EQ(lines.size(), 6U);
    const auto fourOf = [](const std::string& text) { return text + ", " + text + ", " + text + ", " + text + ", "; };
    EXPECT_EQ(lines[0], "NoiseRemovalFilter#0, integer, " + fourOf(each.integer));
    EXPECT_EQ(lines[1], "NoiseRemovalFilter#1, float, " + fourOf(each.fixed));
    EXPECT_EQ(lines[5], "FrameRotate#0, boolean, " + fourOf("0")) << each.number;
  }
}

TEST(NumberConversionTest, TextsInTheFormOfTheirType) {
  const struct {
    const char* text;
    const char* integer;
    const char* fixed;
    const char* boolean;
  } cases[] = {
      {"", "0", "0.0", "0"},           {"x", "0", "0.0", "0"},          {"abc", "0", "0.0", "0"},
      {"0", "0", "0.000000", "0"},     {"1", "1", "1.000000", "1"},     {"1.000000", "1", "1.000000", "0"},
      {"True", "0", "0.0", "1"},       {"False", "0", "0.0", "0"},      {"0x1p-1", "0", "0.500000", "0"},
      {"1e-46", "1", "0.000000", "0"}, {"1e39", "1", "inf", "0"},       {"-1e39", "-1", "-inf", "0"},
      {"nan", "0", "nan", "0"},        {"-infinity", "0", "-inf", "0"},
  };
  for (const auto& each : cases) {
    const char* const expected[] = {each.integer, each.fixed, each.boolean, ""};  // there is no type 3
    for (int type = 0; type < 4; ++type) {
      EXPECT_EQ(BasicFrameProcessor::convertConfigValueString(each.text, static_cast<VYFilterConfigValueType>(type)),
                expected[type])
          << '"' << each.text << "\" as type " << type;
    }
  }
}

// ---- Texts to numbers ---------------------------------------------------------------------------

TEST(NumberConversionTest, TextsToIntegers) {
  const std::pair<const char*, int> cases[] = {
      {"-0", 0},
      {"+17", 17},
      {"2147483646", 2147483646},
      {"2147483647", INT_MAX},
      {"2147483648", INT_MAX},
      {" 4294967295 ", INT_MAX},
      {"4294967297", INT_MAX},
      {"9223372036854775807", INT_MAX},
      {"9223372036854775808", INT_MAX},
      {"18446744073709551617", INT_MAX},
      {"-2147483647", -INT_MAX},
      {"-2147483648", INT_MIN},
      {"-2147483649", INT_MIN},
      {"-4294967295", INT_MIN},
      {"-9223372036854775809", INT_MIN},
  };
  for (const auto& [text, number] : cases) {
    int value = 77;
    EXPECT_TRUE(cvt2Int(text, &value)) << text;
    EXPECT_EQ(value, number) << text;
  }
}

/// Zeros have signs here. A NaN is a NaN.
template <typename Number>
bool isSame(Number a, Number b) {
  return std::isnan(b) ? std::isnan(a) : std::memcmp(&a, &b, sizeof a) == 0;
}

TEST(NumberConversionTest, TextsToFloats) {
  const struct {
    const char* text;
    float single;
    double wide;
  } cases[] = {
      {"-0", -0.0F, -0.0},
      {"-1e2", -100, -100},
      {"0x10", 16, 16},
      {"0.1", 0x1.99999ap-4F, 0x1.999999999999ap-4},
      {"16777217", 16777216, 16777217},
      // Rounded once: as a double it would be halfway between two floats.
      {"1.00000005960464477539062501", 0x1.000002p0F, 0x1.000001p0},
      {"9007199254740993", 9007199254740992, 9007199254740992},
      {"3.40282356e38", 0x1.fffffep127F, 3.40282356e38},
      {"3.4028236e38", kInfinity, 3.4028236e38},
      {"1.7976931348623157e308", kInfinity, 0x1.fffffffffffffp1023},
      {"-1.7976931348623159e308", -kInfinity, -HUGE_VAL},
      {"1e999", kInfinity, HUGE_VAL},
      {"1.1754944e-38", 0x1p-126F, 1.1754944e-38},
      {"1e-45", 0x1p-149F, 1e-45},
      {"-7e-46", -0.0F, -7e-46},
      {"5e-324", 0, 0x1p-1074},
      {"-2e-324", -0.0F, -0.0},
      {"1e-99999999999999999999", 0, 0},
      {"-Infinity", -kInfinity, -HUGE_VAL},
      {"nan", kNaN, kNaN},
  };
  for (const auto& each : cases) {
    float single = 77;
    double wide = 77;
    EXPECT_TRUE(cvt2Float(each.text, &single)) << each.text;
    EXPECT_TRUE(cvt2Double(each.text, &wide)) << each.text;
    EXPECT_TRUE(isSame(single, each.single)) << each.text << " gives " << single;
    EXPECT_TRUE(isSame(wide, each.wide)) << each.text << " gives " << wide;
  }
}

TEST_F(SettingNumbersTest, InCommands) {
  define(-HUGE_VAL, HUGE_VAL, 0, 0);
  const Processor processor = build();
  const std::pair<const char*, const char*> numbers[] = {
      {"", "0"},
      {"abc", "0"},
      {" 12.5x", "12.5"},
      {"1e2", "100"},
      {"0x10", "16"},
      {"-0", "-0"},
      {"0.1", "0.1"},
      {"16777217", "16777217"},
      {"-4294967297", "-4294967297"},
      {"1.7976931348623157e308", "1.7976931348623157e+308"},
      {"-1e999", "-inf"},
      {"5e-324", "5e-324"},
      {"1e-999", "0"},
  };
  for (const auto& [text, number] : numbers) {
    const auto effects = effectsOf(processor, {text, text, "0", "0", "0", text});
    ASSERT_EQ(effects.size(), 6U);
    EXPECT_EQ(effects[0], "item: \"size\", value: " + std::string(number) + ")") << '"' << text << '"';
    EXPECT_EQ(effects[1], "item: \"limit\", value: " + std::string(number) + ")") << '"' << text << '"';
    EXPECT_EQ(effects[5], "item: \"swap\", value: " + std::string(number) + ")") << '"' << text << '"';
  }

  const std::pair<const char*, bool> switches[] = {
      {"1", true},
      {"1a", true},
      {" 1x", true},
      {"1.9", true},
      {"01", true},
      {"+1", true},
      {"1e9", true},
      {"", false},
      {"0", false},
      {"2", false},
      {"-1", false},
      {"true", false},
      {"x1", false},
      {"0x1", false},
      {"257", false},
      {"65537", false},
      {"4294967297", false},
      {"-4294967295", false},
      {"18446744073709551617", false},
  };
  for (const auto& [text, isOn] : switches) {
    const auto effects = effectsOf(processor, {"0", "0", text, "0", "0", "0"});
    EXPECT_EQ(effects.at(2), isOn ? "enable: true)" : "enable: false)") << '"' << text << '"';
  }
}

// A filter whose name looks like a key has its own switch sent elsewhere.
TEST_F(SettingNumbersTest, IndexesAreCutToEightBits) {
  define(-HUGE_VAL, HUGE_VAL, 0, 0);
  const std::string size = "item: \"size\", value: 1)";
  const std::string limit = "item: \"limit\", value: 1)";
  const std::string onOff = "enable: true)";
  const std::pair<const char*, std::string> cases[] = {
      {"NoiseRemovalFilter#0", size},           {"NoiseRemovalFilter#256", size},
      {"NoiseRemovalFilter# 257x", limit},      {"NoiseRemovalFilter#+1", limit},
      {"NoiseRemovalFilter#511", onOff},        {"NoiseRemovalFilter#-1", onOff},
      {"NoiseRemovalFilter#-255", limit},       {"NoiseRemovalFilter#2147483647", onOff},
      {"NoiseRemovalFilter#-2147483648", size},
  };
  for (const auto& [name, effect] : cases) {
    definePassing("FrameMirror", name);
    EXPECT_EQ(effectsOf(build(), {"0", "0", "0", "1", "0", "0"}).at(3), effect) << name;
  }
  for (const char* name : {"Any#2147483648", "Any#-2147483649", "Any#4294967296", "Any#99999999999999999999"}) {
    definePassing("FrameMirror", name);
    EXPECT_THROW(updateConfig(build(), {"0", "0", "0", "1", "0", "0"}), std::out_of_range) << name;
  }
}

}  // namespace
