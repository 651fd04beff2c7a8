// Chains as the host's calls show them, and the commands that print chains and settings.
#include "Chain.h"

#include <gtest/gtest.h>

#include "vycam/VycamTest.h"

namespace {

using ChainTest = VycamTest;

TEST_F(ChainTest, CallsOfTheLibraryTellTheChain) {
  const vycam::Schema schema = vycam::parseSchema(
      "Public#0, integer, 0, 9, 1, 5, -\n"
      "Public#255, boolean, 0, 1, 1, 1, -\n"
      "OwnOne#255, boolean, 0, 1, 1, 1, -\n"
      "OwnTwo#0, integer, 0, 9, 1, 1, -\n"
      "OwnTwo#255, boolean, 0, 1, 1, 0, -\n");
  const std::vector<std::string> calls = {
      "vy_filter_enable(filter: Old#1, enable: true)",  // before the first filter
      "vy_create_filter(name: \"Public\")",
      "vy_filter_update_config(filter: Public#1, argc: 2, argv: [\"7\", \"\"])",
      "vy_filter_enable(filter: Public#1, enable: true)",
      "vy_create_filter(name: \"Missing\")",  // the host has none of that name: no other call follows
      "vy_create_private_filter(name: \"InnerOne\")",
      "vy_create_private_filter(name: \"Broken\")",
      "vy_delete_filter(filter: Broken#1)",
      "vy_create_private_filter(name: \"InnerTwo\")",
      "vy_filter_get_name(filter: InnerTwo#1)",
      "vy_create_filter(name: \"Failed\")",
      "vy_filter_update_config(filter: Failed#1, argc: 1, argv: [\"7\"])",
      "vy_delete_filter(filter: Failed#1)",
      "vy_create_filter(name: \"Last\")",
      "vy_filter_enable(filter: Last#1, enable: true)",
      "vy_filter_enable(filter: Last#1, enable: false)",
      "vy_create_private_filter(name: \"Unknown\")",  // the schema names no filter for it
  };
  const vycam::Chain chain = vycam::chainFromCalls(calls, schema);
  std::string text;
  for (const vycam::ChainLink& link : chain) text += vycam::describe(link) + (link.enabled ? " on\n" : " off\n");
  EXPECT_EQ(text,
            "Public(7, ) on\n"
            "OwnOne (wraps InnerOne) on\n"
            "OwnTwo (wraps InnerTwo) off\n"
            "Last off\n"
            "Unknown off\n");
  EXPECT_TRUE(vycam::chainFromCalls({}, schema).empty());
}

TEST_F(ChainTest, TextsFitTheTerminal) {
  for (const auto& [columns, width] : {std::pair("COLUMNS=40 ", 40U), {"COLUMNS=132 ", 132U}, {"COLUMNS= ", 80U}}) {
    size_t longest = 0;
    for (const char* arguments : {"families", "schema --camera Corvid --sensor depth", "--help", "run --help",
                                  "run --camera Vashti --sensor depth --size 64x48 --out made"}) {
      std::istringstream lines(vycam(arguments, columns).out);
      for (std::string line; std::getline(lines, line);) {
        const bool isOneWord = line.find(' ', line.find_first_not_of(' ')) == std::string::npos;
        EXPECT_TRUE(line.size() <= width || isOneWord) << arguments << ": " << line;
        longest = std::max(longest, line.size());
      }
    }
    EXPECT_GT(longest, width - 3) << "room is left";
  }
}

}  // namespace
