// The disparity filter on its own.
#include "privfilter/OpenNID2DProcessor.h"

#include "support/WithoutHostFilter.h"

namespace {

class OpenNID2DTest : public HostTest {
 protected:
  OpenNID2DTest() { defineStamper("OpenNIDisparityTransform", stamper_, "Reported", true); }
  Stamper stamper_ = {5};
};

TEST_F(OpenNID2DTest, WithoutHostFilterOperationsReportUnderTheirOwnName) {
  WithoutHostFilter<OpenNID2DProcessor> filter;
  const Frame frame = makeFrame();
  const struct {
    const char* message;
    const char* operation;
    bool (*call)(OpenNID2DProcessor& filter, const vy_frame_t* frame, vy_error** error);
  } cases[] = {
      {"filter is nullptr", "get_filter_name",
       [](auto& f, auto*, auto** e) { return f.get_filter_name(e) == nullptr; }},
      {"filter is nullptr", "get_filter_config_schema",
       [](auto& f, auto*, auto** e) { return f.get_filter_config_schema(e) == nullptr; }},
      {"filter is nullptr", "update_filter_config",
       [](auto& f, auto*, auto** e) { return f.update_filter_config(0, nullptr, e), true; }},
      {"filter is nullptr", "get_config_value",
       [](auto& f, auto*, auto** e) { return f.get_config_value("x", e) == 0.0; }},
      {"filter is nullptr", "set_config_value",
       [](auto& f, auto*, auto** e) { return f.set_config_value("x", 1, e), true; }},
      {"filter is nullptr", "reset_filter", [](auto& f, auto*, auto** e) { return f.reset_filter(e), true; }},
      {"filter is nullptr", "get_config_schema_list",
       [](auto& f, auto*, auto** e) { return f.get_config_schema_list(nullptr, e) == nullptr; }},
      {"device or depth filter is nullptr", "filter_process",
       [](auto& f, auto* input, auto** e) { return f.filter_process(input, e) == nullptr; }},
  };
  for (const auto& each : cases) {
    ErrorSlot error;
    EXPECT_TRUE(each.call(filter, frame.get(), error)) << each.operation;
    EXPECT_EQ(error.take(), ownError(each.message, each.operation));
  }
  EXPECT_EQ(call(&OpenNID2DProcessor::get_filter, &filter), nullptr);
  EXPECT_STREQ(filter.get_name(), "DisparityTransform");
  EXPECT_EQ(call(&OpenNID2DProcessor::filter_process, &filter, nullptr), nullptr) << "a null frame comes first";
  call(&OpenNID2DProcessor::enable_filter, &filter, true);
  EXPECT_TRUE(call(&OpenNID2DProcessor::is_filter_enabled, &filter));
}

TEST_F(OpenNID2DTest, NullListsAreEmptyLists) {
  OpenNID2DProcessor filter;
  ErrorSlot error;
  EXPECT_EQ(filter.get_config_schema_list(nullptr, error), nullptr) << "the argument counts, not the filter inside";
  EXPECT_EQ(error.take(), ownError("filter is nullptr", "get_config_schema_list"));
  call(&OpenNID2DProcessor::delete_config_schema_list, &filter, nullptr);
  EXPECT_EQ(call(&OpenNID2DProcessor::get_config_schema_list_count, &filter, nullptr), 0U);
  EXPECT_EQ(call(&OpenNID2DProcessor::get_config_schema_list_item, &filter, nullptr, 0).name, nullptr);
}

TEST_F(OpenNID2DTest, NamesAndArgumentCounts) {
  OpenNID2DProcessor filter;
  EXPECT_STREQ(filter.get_name(), "DisparityTransform");
  EXPECT_STREQ(call(&OpenNID2DProcessor::get_filter_name, &filter), "Reported");
  EXPECT_STREQ(call(&OpenNID2DProcessor::get_filter_config_schema, &filter), "");
  const std::vector<const char*> arguments(300, "x");
  const std::string calls = recordCalls([&] {
    call(&OpenNID2DProcessor::update_filter_config, &filter, 300, const_cast<const char**>(arguments.data()));
  });
  EXPECT_NE(calls.find("argc: 44,"), std::string::npos) << "the low eight bits of 300";
}

TEST_F(OpenNID2DTest, FramesThatComeWithAnErrorAreReleased) {
  OpenNID2DProcessor filter;
  const Frame input = makeFrame();
  EXPECT_EQ(stampOf(Frame(call(&OpenNID2DProcessor::filter_process, &filter, input.get()))), 5);
  EXPECT_EQ(call(&OpenNID2DProcessor::filter_process, &filter, nullptr), nullptr);
  const std::vector<std::pair<const char*, vysim_fault>> cases[] = {
      {{"vy_filter_process", VYSIM_FAULT_ERROR}},
      {{"vy_filter_process", kWithResult}},
      {{"vy_filter_process", kWithResult}, {"vy_delete_frame", kWithResult}},
  };
  for (const auto& faults : cases) {
    for (const auto& [function, fault] : faults) failCall(function, 1, fault);
    ErrorSlot error;
    EXPECT_EQ(filter.filter_process(input.get(), error), nullptr);
    EXPECT_EQ(error.take(), injectedError("vy_filter_process"));
  }
  failCall("vy_filter_process", 1, kNull);
  EXPECT_EQ(call(&OpenNID2DProcessor::filter_process, &filter, input.get()), nullptr);
}

}  // namespace
