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

TEST_F(ChainConstructionTest, FiltersAreDeletedOnceInChainOrder) {
  Processor processor = build();
  // An error on the way is absorbed, and the walk goes on.
  failCall("vy_delete_filter", 2, kWithResult);
  const std::string calls = recordCalls([&] { processor.reset(); });
  EXPECT_EQ(callsOf("vy_delete_filter", calls),
            (std::vector<std::string>{
                "vy_delete_filter(filter: NoiseRemovalFilter#1)", "vy_delete_filter(filter: FrameMirror#2)",
                "vy_delete_filter(filter: FrameFlip#3)", "vy_delete_filter(filter: FrameRotate#4)"}));
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

TEST_F(ChainConstructionTest, AFilterThatFailsIsLeftOutWithoutATrace) {
  const struct {
    std::vector<Fault> faults;
    const char* letters;
    std::size_t deletions;  // calls of vy_delete_filter during construction
    const char* schemaLetters = nullptr;
  } cases[] = {
      {{}, "NMFR", 0},
      {{{"vy_create_filter", 1}}, "MFR", 0},
      {{{"vy_create_filter", 4}}, "NMF", 0},
      {{{"vy_create_filter", 2}, {"vy_create_filter", 3}}, "NR", 0},
      // A null handle without an error: the next call on it fails, and the null handle is given back.
      {{{"vy_create_filter", 1, kNull}}, "MFR", 1},
      {{{"vy_create_filter", 3, kNull}}, "NMR", 1},
      {{{"vy_filter_update_config", 1}}, "MFR", 1},
      {{{"vy_filter_update_config", 1}, {"vy_delete_filter", 1, kWithResult}}, "MFR", 1},
      {{{"vy_filter_enable", 1}}, "MFR", 1},
      {{{"vy_filter_enable", 4}}, "NMF", 1},
      {{{"vy_filter_enable", 2}, {"vy_delete_filter", 1, kWithResult}}, "NFR", 1},
      // The schema text loses lines; the chain is whole.
      {{{"vy_filter_get_config_schema_list", 2}, {"vy_filter_get_name", 4}}, "NMFR", 0, "NR"},
  };
  expectRefused("vy_filter_update_config");  // of NoiseRemovalFilter, the only one that is configured
  expectRefused("vy_filter_enable");
  expectRefused("vy_delete_filter", 2);
  for (const auto& each : cases) {
    SCOPED_TRACE(each.faults.empty() ? "no fault" : each.faults.front().function);
    failCalls(each.faults);
    Processor processor;
    const std::string building = recordCalls([&] { processor = build(); });
    EXPECT_EQ(callsOf("vy_delete_filter", building).size(), each.deletions);
    EXPECT_EQ(lettersOf(processor), each.letters);

    std::string keys;  // of the schema, one letter a filter
    for (const std::string& line : splitLines(schemaOf(processor))) {
      const char letter = line[0] == 'N' ? 'N' : line[5];
      if (keys.empty() || keys.back() != letter) keys += letter;
    }
    EXPECT_EQ(keys, each.schemaLetters != nullptr ? each.schemaLetters : each.letters);
    const std::string closing = recordCalls([&] { processor.reset(); });
    EXPECT_EQ(callsOf("vy_delete_filter", closing).size(), std::string(each.letters).size());
  }
}

// The library does not know whether a handle that comes with an error is its own, so it does not delete it.
TEST_F(ChainConstructionTest, AHandleThatComesWithAnErrorIsLeftAlone) {
  const LeakTolerance tolerance;
  failCall("vy_create_filter", 2, kWithResult);
  const Processor processor = build();
  EXPECT_EQ(lettersOf(processor), "NFR");
  expectLeftBehind(VYSIM_FILTER, 1);
}

}  // namespace
