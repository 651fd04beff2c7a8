// Configuration commands. What remains of one in which a host call fails is in FaultSweepTest.cpp.
#include <stdexcept>

#include "support/HostTest.h"

namespace {

const VYFilterConfigSchemaItem kNumberItems[] = {
    {"size", VY_FILTER_CONFIG_VALUE_TYPE_INT, -1000, 1000, 0, 5, "Size"},
    {"limit", VY_FILTER_CONFIG_VALUE_TYPE_FLOAT, -1000, 1000, 0, 0.5, "Limit"},
};

/// The depth chain of a Vashti camera: six settings, three of NoiseRemovalFilter, the switches of FrameMirror and
/// FrameFlip, one item of FrameRotate.
class CommandsTest : public HostTest {
 protected:
  CommandsTest() {
    for (const char* name : {"NoiseRemovalFilter", "FrameRotate"}) {
      defineFilter({name, nullptr, false, kNumberItems, 2, nullptr, nullptr});
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

TEST_F(CommandsTest, TheFirstFilterOfANameGetsAllOfItsCommands) {
  definePassing("FrameFlip", "FrameMirror");
  processor_ = makeProcessor(vashti_.context, kDepth);
  EXPECT_EQ(effectOf({"0", "0", "0", "1", "0", "0"}), "size=0 limit=0 N- M+ M- size=0 ");
}

TEST_F(CommandsTest, ALineTakesNothingWithoutAKeyBeforeItsFirstComma) {
  definePassing("FrameMirror", "Frame,Mirror");
  processor_ = makeProcessor(vashti_.context, kDepth);
  EXPECT_EQ(effectOf({"0", "0", "0", "1", "0", "9"}), "size=0 limit=0 N- F+ size=0 ");
}

TEST_F(CommandsTest, AnEmptySchemaTakesNothing) {
  for (const unsigned nth : {1U, 2U, 3U, 4U}) failCall("vy_create_filter", nth);
  processor_ = makeProcessor(vashti_.context, kDepth);
  call(vy_frame_processor_update_config, processor_.get(), 3, nullptr);
}

TEST_F(CommandsTest, AKeyWithoutANumberThrows) {
  definePassing("FrameMirror", "Frame#Mirror");
  processor_ = makeProcessor(vashti_.context, kDepth);
  EXPECT_THROW(updateConfig(processor_, std::vector<const char*>(6, "1")), std::invalid_argument);
}

}  // namespace
