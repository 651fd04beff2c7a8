// Building a chain and deleting it: the host calls, and filters that fail on the way.
#include "support/HostTest.h"

namespace {

const VYFilterConfigSchemaItem kItems[] = {
    {"size", VY_FILTER_CONFIG_VALUE_TYPE_INT, 0, 9, 1, 5, "Size"},
    {"limit", VY_FILTER_CONFIG_VALUE_TYPE_FLOAT, 0, 9, 1, 5, "Limit"},
};

/// The depth chain of a Vashti camera: NoiseRemovalFilter (off, configured), FrameMirror and FrameFlip (off),
/// FrameRotate.
class ChainConstructionTest : public HostTest {
 protected:
  ChainConstructionTest() {
    defineFilter({"NoiseRemovalFilter", nullptr, false, kItems, 2, nullptr, nullptr});
    for (const char* name : {"FrameMirror", "FrameFlip", "FrameRotate"}) {
      defineFilter({name, nullptr, false, kItems, 1, nullptr, nullptr});
    }
    vashti_ = openDevice(kVashti);
  }

  Processor build() { return makeProcessor(vashti_.context, kDepth); }

  OpenDevice vashti_;
};

TEST_F(ChainConstructionTest, HostCallsComeInOrder) {
  Processor processor;
  const std::string calls = recordCalls([&] { processor = build(); });
  EXPECT_EQ(calls.substr(0, calls.find("vy_create_filter", 1)),  // those for the first filter
            "vy_create_filter(name: \"NoiseRemovalFilter\")\n"
            "vy_filter_update_config(filter: NoiseRemovalFilter#1, argc: 4, argv: [\"50\", \"10\", \"640\", \"576\"])\n"
            "vy_filter_enable(filter: NoiseRemovalFilter#1, enable: false)\n"
            "vy_filter_get_config_schema_list(filter: NoiseRemovalFilter#1)\n"
            "vy_filter_get_name(filter: NoiseRemovalFilter#1)\n"
            "vy_filter_config_schema_list_get_item(list: schema_list#1, index: 0)\n"
            "vy_filter_get_config_value(filter: NoiseRemovalFilter#1, item: \"size\")\n"
            "vy_filter_get_name(filter: NoiseRemovalFilter#1)\n"
            "vy_filter_config_schema_list_get_item(list: schema_list#1, index: 1)\n"
            "vy_filter_get_config_value(filter: NoiseRemovalFilter#1, item: \"limit\")\n"
            "vy_filter_get_name(filter: NoiseRemovalFilter#1)\n"
            "vy_delete_filter_config_schema_list(list: schema_list#1)\n");
  EXPECT_EQ(callsOf("vy_filter_update_config", calls).size(), 1U) << "without arguments there is no such call";
}

/// The first letters of the filters in a chain, as a frame meets them: "NMFR" for the whole one.
std::string lettersOf(const Processor& processor) {
  const Frame input = makeFrame();
  std::string letters;
  const std::string calls = recordCalls([&] { process(processor, input); });
  for (const std::string& call : callsOf("vy_filter_is_enabled", calls)) {
    const std::size_t name = call.find(": ") + 2;
    letters += call.compare(name, 5, "Frame") == 0 ? call[name + 5] : call[name];
  }
  return letters;
}

// A chain in which one host call fails is in FaultSweepTest.cpp.
TEST_F(ChainConstructionTest, AFilterThatFailsIsLeftOutWithoutATrace) {
  const struct {
    std::vector<Fault> faults;
    const char* letters;
  } cases[] = {
      {{}, "NMFR"},
      {{{"vy_create_filter", 2}, {"vy_create_filter", 3}}, "NR"},
      {{{"vy_filter_update_config", 1}, {"vy_delete_filter", 1, kWithResult}}, "MFR"},
      {{{"vy_filter_enable", 2}, {"vy_delete_filter", 1, kWithResult}}, "NFR"},
  };
  for (const auto& each : cases) {
    failCalls(each.faults);
    EXPECT_EQ(lettersOf(build()), each.letters);
  }
}

}  // namespace
