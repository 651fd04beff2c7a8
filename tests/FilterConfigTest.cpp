// Filter records: their function tables, and what construction makes of values that the catalogue does not hold.
#include <algorithm>

#include "processor/FrameProcessor.h"
#include "support/HostTest.h"

namespace {

class FilterConfigTest : public HostTest {};

FilterConfig makeRecord(const char* name, int enabled = 1, int kind = FilterConfig::kHostFilter) {
  FilterConfig record;
  record.name = name;
  record.enabled = enabled;
  record.kind = kind;
  return record;
}

// What chains do not show: functions that the library never calls, and slots that are left as they are.
TEST_F(FilterConfigTest, KindChoosesWhoDoesTheWork) {
  static bool isReset;
  static bool hasParameters;
  std::vector<FilterConfig> records = {makeRecord("host", 1, 1), makeRecord("own", 1, 0), makeRecord("neither", 1, 2)};
  records[2].reset = [](vy_filter_t* /*filter*/, vy_error** /*error*/) { isReset = true; };
  records[0].set_hardware_d2c_params = [](auto...) { hasParameters = true; };
  BasicFrameProcessor::registerFunctionPtrs(records);

  const OpenDevice device = openDevice(0);  // keeps the library's own filters alive
  const auto callsOfUse = [&](const FilterConfig& record, const char* name) {
    vy_filter_t* const filter = call(record.create_private_filter, name);
    const std::string calls = recordCalls([&] {
      call(record.reset, filter);
      ErrorSlot refused;  // no filter has so few arguments
      record.update_config(filter, 0, nullptr, refused);
    });
    call(record.delete_filter, filter);
    std::string functions;
    for (const std::string& each : splitLines(calls)) {
      if (each.find("_error(") == std::string::npos) functions += each.substr(10, each.find('(') - 10) + " ";
    }
    return functions;
  };
  EXPECT_EQ(callsOfUse(records[0], "DepthResize"), "reset update_config ");
  EXPECT_EQ(callsOfUse(records[1], "DisparityTransform"), "get_name get_name reset get_name get_name update_config ");
  ErrorSlot error;
  EXPECT_EQ(records[1].create_private_filter("none", error), nullptr);
  EXPECT_EQ(error.take().function, "priv_create_private_filter");
  EXPECT_EQ(records[0].create_private_filter("none", error), nullptr);
  EXPECT_EQ(error.take().function, "vy_create_private_filter");

  records[2].reset(nullptr, nullptr);
  EXPECT_TRUE(isReset);
  records[0].set_hardware_d2c_params(nullptr, {}, 0, 1, 0, 0, 0, 0, false, false, nullptr);
  EXPECT_TRUE(hasParameters) << "the host has no function for that slot";
}

TEST_F(FilterConfigTest, OnlyOneEnables) {
  definePassing("Alpha");
  for (const int enabled : {1, 0, 2, -1, 257}) {
    const std::string calls = recordCalls([&] { BasicFrameProcessor(nullptr, {makeRecord("Alpha", enabled)}); });
    const bool isOn = callsOf("vy_filter_enable", calls).at(0).find("enable: true") != std::string::npos;
    EXPECT_EQ(isOn, enabled == 1) << enabled;
  }
}

TEST_F(FilterConfigTest, ArgumentCountsAreCutToEightBits) {
  definePassing("Alpha");
  for (const std::size_t count : {1U, 255U, 256U, 300U}) {
    FilterConfig record = makeRecord("Alpha");
    record.initialArgs.assign(count, "x");
    const std::string calls = recordCalls([&] { BasicFrameProcessor(nullptr, {record}); });
    const std::string call = callsOf("vy_filter_update_config", calls).at(0);
    EXPECT_NE(call.find("argc: " + std::to_string(count % 256) + ","), std::string::npos) << call.substr(0, 80);
    EXPECT_EQ(std::count(call.begin(), call.end(), 'x'), static_cast<int>(count % 256));
  }
}

TEST_F(FilterConfigTest, NamesThatTheHostKeepsPrivateAreCreatedThroughThePrivateFunction) {
  const std::pair<FilterConfig, const char*> cases[] = {
      {makeRecord("DepthResize"), "vy_create_private_filter(name: \"DepthResize\")"},
      {makeRecord("OpenNIDisparityTransform"), "vy_create_private_filter(name: \"OpenNIDisparityTransform\")"},
      {makeRecord("FrameMirror"), "vy_create_filter(name: \"FrameMirror\")"},
      {makeRecord("DisparityTransform"), "vy_create_filter(name: \"DisparityTransform\")"},
      // The library's own: it asks for the host filter inside.
      {makeRecord("DisparityTransform", 1, 0), "vy_create_private_filter(name: \"OpenNIDisparityTransform\")"},
      {makeRecord("HardwareD2CProcessor", 1, 0), "vy_create_private_filter(name: \"DepthResize\")"},
  };
  const OpenDevice device = openDevice(0);  // keeps the library's own filters alive
  for (const auto& [record, call] : cases) {
    const auto calls = splitLines(recordCalls([config = record] { BasicFrameProcessor(nullptr, {config}); }));
    EXPECT_EQ(calls.at(0), call);
  }
}

TEST_F(FilterConfigTest, AMovedLinkNoLongerOwnsItsFilter) {
  std::vector<FilterConfig> records = {makeRecord("FrameMirror")};
  BasicFrameProcessor::registerFunctionPtrs(records);
  vy_filter_t* const filter = call(vy_create_filter, "FrameMirror");
  const std::string calls = recordCalls([&] {
    ChainLink first(filter, std::move(records[0]));
    const ChainLink second(std::move(first));
  });
  EXPECT_EQ(callsOf("vy_delete_filter", calls).size(), 1U);
}

// A host may hand out null handles without an error, and switch them.
TEST_F(FilterConfigTest, ANullHandleHasNoSchema) {
  FilterConfig record = makeRecord("Alpha");
  record.exposedItems = {FilterConfig::kSwitchItem};
  EXPECT_EQ(BasicFrameProcessor::generateFilterConfigSchemaCsv(nullptr, record), "");
}

TEST_F(FilterConfigTest, FiltersAreFoundByTheNameTheyReport) {
  definePassing("Alpha", "Twin");
  definePassing("Beta", "Twin");
  definePassing("Gamma");
  const BasicFrameProcessor processor(nullptr, {makeRecord("Alpha"), makeRecord("Beta"), makeRecord("Gamma")});
  EXPECT_EQ(processor.getFilter("Twin").second.name, "Alpha") << "the first of two";
  EXPECT_EQ(processor.getFilter("Gamma").second.name, "Gamma");
  for (const char* name : {"Alpha", "twin", "Twin ", "Twi", ""}) {
    const auto [filter, record] = processor.getFilter(name);
    EXPECT_EQ(filter, nullptr) << name;
    EXPECT_EQ(record.name, "") << name;
    EXPECT_EQ(record.enabled, 0) << name;
    EXPECT_EQ(record.kind, 0) << name;
    EXPECT_EQ(record.enable, nullptr) << name;
  }
  // A filter that cannot tell its name is passed over, and its error deleted.
  failCall("vy_filter_get_name", 1, kWithResult);
  EXPECT_EQ(processor.getFilter("Twin").second.name, "Beta");
}

}  // namespace
