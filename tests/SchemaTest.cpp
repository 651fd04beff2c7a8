// The schema text of a processor. Which lines a failing host call takes away is in FaultSweepTest.cpp.
#include <limits>

#include "support/HostTest.h"

namespace {

constexpr auto kInt = VY_FILTER_CONFIG_VALUE_TYPE_INT;
constexpr auto kFloat = VY_FILTER_CONFIG_VALUE_TYPE_FLOAT;
constexpr auto kBoolean = VY_FILTER_CONFIG_VALUE_TYPE_BOOLEAN;

/// The depth chain of a Vashti camera: NoiseRemovalFilter {0, 1, 255}, FrameMirror {255}, FrameFlip {255},
/// FrameRotate {0}.
class SchemaTest : public HostTest {
 protected:
  SchemaTest() : vashti_(openDevice(kVashti)) {}

  void define(const char* name, const std::vector<VYFilterConfigSchemaItem>& items) {
    defineFilter({name, nullptr, false, items.data(), static_cast<std::uint32_t>(items.size()), nullptr, nullptr});
  }
  Processor build() { return makeProcessor(vashti_.context, kDepth); }

  OpenDevice vashti_;
};

// As a float, the limit's maximum is 8192.000977; its six digits, read as a float, are nearer to 8192.
const std::vector<VYFilterConfigSchemaItem> kNumbers = {{"size", kInt, -1, 900.9, 2, 7, "Size, in pixels"},
                                                        {"limit", kFloat, -0.25, 8192.0004883, 0.1, 1.0 / 3, "Limit"}};
const std::vector<VYFilterConfigSchemaItem> kSwitch = {{"swap", kBoolean, 0, 1, 1, 1, "Swap"}};

const char* const kWhole =
    "NoiseRemovalFilter#0, integer, -1, 900, 2, 7, Size, in pixels\n"
    "NoiseRemovalFilter#1, float, -0.250000, 8192.000000, 0.100000, 0.333333, Limit\n"
    "NoiseRemovalFilter#255, boolean, 0, 1, 1, 0, NoiseRemovalFilter enable switch\n"
    "FrameMirror#255, boolean, 0, 1, 1, 0, FrameMirror enable switch\n"
    "FrameFlip#255, boolean, 0, 1, 1, 0, FrameFlip enable switch\n"
    "FrameRotate#0, boolean, 0, 0, 0, 0, Swap\n";

TEST_F(SchemaTest, LinesShowTypeRangeAndValue) {
  define("NoiseRemovalFilter", kNumbers);
  define("FrameRotate", kSwitch);
  const Processor processor = build();
  EXPECT_EQ(schemaOf(processor), kWhole);
  // The text is the one of construction, whatever is switched and set later.
  EXPECT_EQ(updateConfig(processor, {"3", "0.5", "1", "1", "1", "0"}), kNoError);
  EXPECT_EQ(schemaOf(processor), kWhole);
}

TEST_F(SchemaTest, OddItemsKeepTheirPlace) {
  const double kLargest = std::numeric_limits<double>::max();
  const std::vector<VYFilterConfigSchemaItem> large = {{"large", kInt, -kLargest, kLargest, 3e9, 0, ""}};
  define("FrameRotate", large);
  definePassing("FrameMirror", "Renamed");  // keys carry the name that the filter reports
  for (const int unknownType : {3, -1}) {
    // Item 1 does not exist; item 0 has no description.
    expectRefused("vy_filter_config_schema_list_get_item");
    const auto type = static_cast<VYFilterConfigValueType>(unknownType);
    const std::vector<VYFilterConfigSchemaItem> odd = {{"odd", type, 0, 1, 1, 1, nullptr}};
    define("NoiseRemovalFilter", odd);
    EXPECT_EQ(schemaOf(build()),
              "NoiseRemovalFilter#0, , , , , , \n"
              "NoiseRemovalFilter#255, boolean, 0, 1, 1, 0, NoiseRemovalFilter enable switch\n"
              "Renamed#255, boolean, 0, 1, 1, 0, Renamed enable switch\n"
              "FrameFlip#255, boolean, 0, 1, 1, 0, FrameFlip enable switch\n"
              "FrameRotate#0, integer, -2147483648, 2147483647, 2147483647, 0, \n");
  }
}

}  // namespace
