// The text conversions: which texts they accept. NumberConversionTest.cpp has the numbers at their ends.
#include <gtest/gtest.h>
#include <host/commonTypes.h>

#include "support/TextModel.h"

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

TEST(TextConversionTest, BooleanReadsWhatAnInputStreamReads) {
  int accepted = 0;
  for (const std::string before : {"", " ", "\t", "\v\f\r\n ", "x", " -", "\xA0", "  "}) {
    for (const std::string word : {"", "true", "TRUE", "False", "tRuE", "tru", "fals", "t", "truefalse", "0", "1", "2",
                                   "10", "01", "yes", "on", "+1", "1 1", "f alse"}) {
      for (const std::string after : {"", " ", "  ", "xyz", "\t", "1", "e", "\n"}) {
        const std::string text = before + word + after;
        bool expected = false, actual = false;
        const bool isAccepted = booleanOf(text, &expected);
        EXPECT_EQ(cvt2Boolean(text, &actual), isAccepted) << '"' << text << '"';
        EXPECT_EQ(actual, expected) << '"' << text << '"';
        bool untouched = true;
        cvt2Boolean(text, &untouched);
        EXPECT_EQ(untouched, !isAccepted || expected) << '"' << text << '"';
        accepted += isAccepted ? 1 : 0;
      }
    }
  }
  EXPECT_GT(accepted, 100);
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
    const char* text;
    bool accepted;
    double value;
  } cases[] = {
      // clang-format off
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
