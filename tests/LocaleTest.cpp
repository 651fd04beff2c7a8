// A host whose locale has decimal commas: the resize arguments keep their point, all other numbers follow the locale.
#include "d2c/HardwareD2CParams.h"
#include "processor/FrameProcessor.h"
#include "support/CommaLocale.h"
#include "support/HostTest.h"

namespace {

class LocaleTest : public HostTest {};

TEST_F(LocaleTest, TheScaleKeepsItsPoint) {
  for (const char* const name : {"de_DE", "ps_AF"}) {  // the separator of the latter has two bytes
    const CommaLocale locale(name);
    const ResizeArguments arguments(1, 2, 1234.5F, 3, 4, 5, 6);
    EXPECT_STREQ(arguments.texts()[2], "1234.500000000") << name;
  }
}

TEST_F(LocaleTest, SchemaNumbersFollowTheLocale) {
  const CommaLocale locale;
  const auto kFloat = VY_FILTER_CONFIG_VALUE_TYPE_FLOAT;
  // Whole, fractional and large numbers are written by different code.
  const VYFilterConfigSchemaItem items[] = {{"limit", kFloat, 2, 0.25, 3e7, -0.5, "Limit"}};
  defineFilter({"Alpha", nullptr, false, items, 1, nullptr, nullptr});
  FilterConfig record;
  record.name = "Alpha";
  record.kind = FilterConfig::kHostFilter;
  record.exposedItems = {0};
  BasicFrameProcessor processor(nullptr, {record});
  EXPECT_STREQ(call(&BasicFrameProcessor::getConfigSchema, &processor),
               "Alpha#0, float, 2,000000, 0,250000, 30000000,000000, -0,500000, Limit\n");
  const char* value = "2,25";
  ErrorSlot error;
  const std::string calls = recordCalls([&] { processor.updateConfig(1, &value, error); });
  EXPECT_NE(calls.find("item: \"limit\", value: 2.25)"), std::string::npos) << calls;
}

}  // namespace
