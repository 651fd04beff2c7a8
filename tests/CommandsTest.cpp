// Configuration commands. What remains of one in which a host call fails is in FaultSweepTest.cpp.
#include <stdexcept>

#include "support/HostTest.h"

namespace {

const VYFilterConfigSchemaItem kItems[] = {
    {"size", VY_FILTER_CONFIG_VALUE_TYPE_INT, -1000, 1000, 0, 5, "Size"},
    {"limit", VY_FILTER_CONFIG_VALUE_TYPE_FLOAT, -1000, 1000, 0, 0.5, "Limit"},
};

/// The depth chain of a Vashti camera: six settings, three of NoiseRemovalFilter, the switches of FrameMirror and
/// FrameFlip, one item of FrameRotate.
class CommandsTest : public HostTest {
 protected:
  CommandsTest() {
    for (const char* name : {"NoiseRemovalFilter", "FrameRotate"}) {
      defineFilter({name, nullptr, false, kItems, 2, nullptr, nullptr});
    }
    vashti_ = openDevice(kVashti);
  }

  /// What the command sets, one letter or more a setting: "size=3 limit=0.5 N+ M- F+ size=0 ".
  static std::string effectOf(const std::string& calls) {
    std::string effect;
    for (const std::string& call : splitLines(calls)) {
      const std::string filter = call.substr(call.find(": ") + 2, 6);
      if (call.find("vy_filter_set_config_value(") == 0) {
        effect += call.find("\"size\"") != std::string::npos ? "size=" : "limit=";
        effect += call.substr(call.find("value: ") + 7, call.size() - call.find("value: ") - 8) + " ";
      } else if (call.find("vy_filter_enable(") == 0) {
        effect += filter[0] == 'N' ? 'N' : filter[5];
        effect += call.find("true") != std::string::npos ? "+ " : "- ";
      }
    }
    return effect;
  }

  std::string effectOf(const std::vector<const char*>& values) {
    return effectOf(recordCalls([&] { EXPECT_EQ(updateConfig(processor_, values), kNoError); }));
  }

  OpenDevice vashti_;
  Processor processor_;
};

TEST_F(CommandsTest, OneValueASchemaLineInItsOrder) {
  processor_ = makeProcessor(vashti_.context, kDepth);
  const std::string calls = recordCalls([&] {
    EXPECT_EQ(updateConfig(processor_, {"3", "0.25", "1", "1", "0", "-90"}), kNoError);
  });
  EXPECT_EQ(effectOf(calls), "size=3 limit=0.25 N+ M+ F- size=-90 ");
  EXPECT_EQ(calls.substr(0, calls.find("vy_filter_get_name", 1)),  // the first setting
            "vy_filter_get_name(filter: NoiseRemovalFilter#1)\n"
            "vy_filter_get_config_schema_list(filter: NoiseRemovalFilter#1)\n"
            "vy_filter_config_schema_list_get_count(list: schema_list#5)\n"
            "vy_filter_config_schema_list_get_item(list: schema_list#5, index: 0)\n"
            "vy_filter_set_config_value(filter: NoiseRemovalFilter#1, item: \"size\", value: 3)\n"
            "vy_delete_filter_config_schema_list(list: schema_list#5)\n");
}

TEST_F(CommandsTest, TextsAreReadAsTheCLibraryReadsThem) {
  processor_ = makeProcessor(vashti_.context, kDepth);
  for (const char* const on : {"1", " 1", "\t+1", "01", "1a", "1x", "1.9", "1,5"}) {
    EXPECT_EQ(effectOf({"1", "1", on, "0", "0", "1"}), "size=1 limit=1 N+ M- F- size=1 ") << on;
  }
  for (const char* const off : {"0", "2", "-1", "10", "11", "257", "4294967297", "0x1", "", " ", "true", "a1"}) {
    EXPECT_EQ(effectOf({"1", "1", off, "1", "0", "1"}), "size=1 limit=1 N- M+ F- size=1 ") << off;
  }
  const std::pair<const char*, const char*> numbers[] = {{"abc", "0"},     {"", "0"},      {" 2.5x", "2.5"},
                                                         {"-1e2", "-100"}, {"0x10", "16"}, {"3,5", "3"}};
  for (const auto& [text, number] : numbers) {
    EXPECT_EQ(effectOf({"1", text, "0", "0", "0", "1"}), std::string("size=1 limit=") + number + " N- M- F- size=1 ");
  }
}

TEST_F(CommandsTest, TheFirstFilterOfANameGetsAllOfItsCommands) {
  definePassing("FrameFlip", "FrameMirror");
  processor_ = makeProcessor(vashti_.context, kDepth);
  EXPECT_EQ(effectOf({"0", "0", "0", "1", "0", "0"}), "size=0 limit=0 N- M+ M- size=0 ");
}

TEST_F(CommandsTest, AnEmptySchemaTakesNothing) {
  for (const unsigned nth : {1U, 2U, 3U, 4U}) failCall("vy_create_filter", nth);
  processor_ = makeProcessor(vashti_.context, kDepth);
  call(vy_frame_processor_update_config, processor_.get(), 3, nullptr);
}

TEST_F(CommandsTest, NamesThatLookLikeKeysBreakTheKeys) {
  const std::vector<const char*> values(6, "1");
  definePassing("FrameMirror", "Frame#Mirror");
  processor_ = makeProcessor(vashti_.context, kDepth);
  EXPECT_THROW(updateConfig(processor_, values), std::invalid_argument);
  // 511 is 255 in eight bits: the switch of FrameFlip. White space before it and text behind it do not count.
  for (const char* const name : {"FrameFlip#511", "FrameFlip#511x", "FrameFlip# +511"}) {
    definePassing("FrameMirror", name);
    processor_ = makeProcessor(vashti_.context, kDepth);
    EXPECT_EQ(effectOf({"1", "1", "1", "1", "0", "1"}), "size=1 limit=1 N+ F+ F- size=1 ") << name;
  }
}

}  // namespace
