// The text conversions: which texts they accept. NumberConversionTest.cpp has the numbers at their ends.
#include <gtest/gtest.h>
#include <host/commonTypes.h>
#include <processor/FrameProcessor.h>

#include <string>
#include <utility>
#include <vector>

namespace {

TEST(TextConversionTest, LowerCaseTouchesAsciiLettersOnly) {
  EXPECT_EQ(toLower("@AZ[`az{09"), "@az[`az{09");
  EXPECT_EQ(toLower("\xC0\xC4\xFF Z"), "\xC0\xC4\xFF z");
  EXPECT_EQ(toLower(std::string("A\0B", 3)), std::string("a\0b", 3));
}

TEST(TextConversionTest, OnlySpacesAreTrimmed) {
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},    {"   ", ""},      {"  a b  ", "a b"}, {"\t a \t", "\t a \t"}, {" \ta\n ", "\ta\n"},
      {"a ", "a"}, {"\r\n", "\r\n"},
  };
  for (const auto& [text, trimmed] : cases) EXPECT_EQ(clearHeadAndTailSpace(text), trimmed) << '"' << text << '"';
}

TEST(TextConversionTest, TextsAreCutAtEverySeparator) {
  const std::pair<const char*, std::vector<std::string>> cases[] = {
      {"", {""}}, {"a", {"a"}}, {",", {"", ""}}, {"ab,cd,,e", {"ab", "cd", "", "e"}}, {",ab,", {"", "ab", ""}},
  };
  for (const auto& [text, pieces] : cases) EXPECT_EQ(BasicFrameProcessor::splitString(text, ','), pieces) << text;
}

TEST(TextConversionTest, BooleansAreAWordWithAnythingBehindItOrADigitAlone) {
  const std::pair<bool, std::vector<const char*>> accepted[] = {
      {true,
       {"true", "TRUE", "tRuE", " true", "\t\v\f\r\n true", "truefalse", "truexyz", "true 1", "true\t", "1", " 1",
        "1  ", "  1 "}},
      {false, {"false", "False", "FALSE", " \tfalse", "falsetrue", "false1", "falsee", "0", " 0 ", "0 "}},
  };
  for (const auto& [value, texts] : accepted) {
    for (const char* const text : texts) {
      bool actual = !value;
      EXPECT_TRUE(cvt2Boolean(text, &actual)) << '"' << text << '"';
      EXPECT_EQ(actual, value) << '"' << text << '"';
    }
  }
  for (const char* const text :
       {"",  " ",  "\t", "tru", "fals", "t",   "f",  "f alse", "xtrue", "-true", " -false", "\xA0true",
        "2", "10", "01", "+1",  "-1",   "1 1", "1x", "1\t",    "\t1",   "\n0",   "yes",     "on"}) {
    for (const bool before : {true, false}) {
      bool untouched = before;
      EXPECT_FALSE(cvt2Boolean(text, &untouched)) << '"' << text << '"';
      EXPECT_EQ(untouched, before) << '"' << text << '"';
    }
  }
  bool actual = true;
  EXPECT_FALSE(cvt2Boolean(std::string("\0true", 5), &actual));
}

TEST(TextConversionTest, IntegersAreStrictForOneCharacterAndLaxForMore) {
  constexpr int kUntouched = 77;
  // clang-format off
  const struct {
    const char* text;
    bool accepted;
    int value;
  } cases[] = {
      {"", false, kUntouched},    {"   ", false, kUntouched}, {"x", false, kUntouched}, {" - ", false, kUntouched},
      {"\t", false, kUntouched},  {"7", true, 7},             {" 0 ", true, 0},         {"xy", true, 0},
      {"-7", true, -7},           {" 12abc ", true, 12},      {"5.9", true, 5},         {"0x1F", true, 0},
      {"\t42", true, 42},
  };
  // clang-format on
  for (const auto& each : cases) {
    int value = kUntouched;
    EXPECT_EQ(cvt2Int(each.text, &value), each.accepted) << '"' << each.text << '"';
    EXPECT_EQ(value, each.value) << '"' << each.text << '"';
  }
}

TEST(TextConversionTest, FloatsStoreWhatTheyReadEvenWhenRefused) {
  constexpr float kUntouched = 77;
  const struct {
    std::string text;
    bool accepted;
    double value;
  } cases[] = {
      // clang-format off
      {{"1.5\0", 4}, false, 1.5},
      {"", false, kUntouched}, {"  ", true, 0},           {"1.5", true, 1.5},  {"  1.5  ", true, 1.5}, {"1.5x", false, 1.5},
      {"abc", false, 0},       {"\t2", true, 2},          {"2\t", false, 2},   {"1 2", false, 1},
      {".25", true, 0.25},     {"-", false, 0},           {"\t", false, 0},
      // clang-format on
  };
  for (const auto& each : cases) {
    float single = kUntouched;
    double wide = kUntouched;
    EXPECT_EQ(cvt2Float(each.text, &single), each.accepted) << '"' << each.text << '"';
    EXPECT_EQ(cvt2Double(each.text, &wide), each.accepted) << '"' << each.text << '"';
    EXPECT_EQ(single, static_cast<float>(each.value)) << '"' << each.text << '"';
    EXPECT_EQ(wide, each.value) << '"' << each.text << '"';
  }
}

}  // namespace
