// The count of refused calls, which tells a caller of mistakes that it may have absorbed. That every function counts
// bad handles is in SimulatedHostTest.cpp.
#include <gtest/gtest.h>
#include <unistd.h>
#include <tavrix_sim.hpp>

#include <cstdlib>
#include <functional>
#include <map>
#include <string>

using vysim::call;
using vysim::ErrorSlot;
using vysim::Filter;
using vysim::Frame;
using vysim::SchemaList;

namespace {

using Refusals = std::map<std::string, std::uint64_t>;

Refusals refusals() {
  Refusals all;
  for (std::size_t i = 0; const char* const function = vysim_refused_function_at(i); ++i) {
    all[function] = vysim_refused_count(function);
  }
  return all;
}

TEST(RefusalTest, HandlesPointersAndIndicesCountButNoValues) {
  vysim_reset();
  const Filter filter(call(vy_create_filter, "FrameRotate"));
  const Frame frame(call(vysim_create_frame, 4U, 2U, VY_FORMAT_Y12, VY_PIXEL_DISPARITY));
  const SchemaList list(call(vy_filter_get_config_schema_list, filter.get()));
  vy_filter_t* const filterHandle = filter.get();
  vy_error* const deadError = vy_create_error(1, "", "", "", 1);
  vy_delete_error(deadError);
  const char* null[] = {nullptr};
  const struct {
    const char* function;
    std::uint64_t refused;
    std::function<void(vy_error**)> work;
  } cases[] = {
      {"vy_filter_process", 1, [&](auto** e) { vy_filter_process(filterHandle, nullptr, e); }},
      {"vy_create_filter", 1, [&](auto** e) { vy_create_filter(nullptr, e); }},
      {"vy_filter_config_schema_list_get_item", 1,
       [&](auto** e) { vy_filter_config_schema_list_get_item(list.get(), 1, e); }},
      {"vy_filter_get_config_value", 1, [&](auto** e) { vy_filter_get_config_value(filterHandle, nullptr, e); }},
      {"vy_filter_update_config", 1,
       [&](auto** e) {
         vy_filter_update_config(filterHandle, 1, nullptr, e);
         EXPECT_EQ(vy_error_get_exception_type(*e), 4);  // an invalid value
       }},
      {"vy_delete_error", 1, [&](auto**) { vy_delete_error(deadError); }},
      {"vy_error_get_status", 1, [&](auto**) { vy_error_get_status(deadError); }},
      // What a caller may hand over, and the host may still refuse.
      {"vy_filter_config_schema_list_get_item", 0,
       [&](auto** e) { vy_filter_config_schema_list_get_item(list.get(), 0, e); }},
      {"vy_filter_get_config_value", 0, [&](auto** e) { vy_filter_get_config_value(filterHandle, "none", e); }},
      {"vy_filter_set_config_value", 0, [&](auto** e) { vy_filter_set_config_value(filterHandle, "Angle", 1, e); }},
      {"vy_filter_update_config", 0, [&](auto** e) { vy_filter_update_config(filterHandle, 1, null, e); }},
      {"vy_create_filter", 0, [&](auto** e) { vy_create_filter("none", e); }},
      {"vy_filter_process", 0, [&](auto** e) { vy_filter_process(filterHandle, frame.get(), e); }},
      {"vy_delete_error", 0, [&](auto**) { vy_delete_error(nullptr); }},
      {"vy_error_get_status", 0, [&](auto**) { vy_error_get_status(nullptr); }},
      {"vysim_frame_get_ref_count", 0, [&](auto**) { vysim_frame_get_ref_count(nullptr); }},
  };
  Refusals expected;
  std::uint64_t sum = 0;
  for (const auto& each : cases) {
    ErrorSlot error;
    each.work(error);
    sum += each.refused;
    if (each.refused != 0) expected[each.function] += each.refused;
    EXPECT_EQ(refusals(), expected) << each.function;
    EXPECT_EQ(vysim_refused_count(nullptr), sum);
  }
  // A call that is ordered to fail never looks at its arguments.
  vysim_fail_call("vy_filter_reset", 1, VYSIM_FAULT_ERROR);
  ErrorSlot error;
  vy_filter_reset(nullptr, error);
  EXPECT_EQ(refusals(), expected);
  EXPECT_EQ(vysim_refused_count("vy_filter_enable"), 0U);
  vysim_reset();
  EXPECT_EQ(refusals(), Refusals());
  EXPECT_EQ(vysim_refused_count(nullptr), 0U);
}

TEST(RefusalTest, PrintedOnRequest) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  const int standardError = dup(STDERR_FILENO);
  dup2(ends[1], STDERR_FILENO);
  vy_filter_reset(nullptr, nullptr);
  setenv("VYSIM_PRINT_REFUSALS", "1", 1);
  vy_filter_enable(nullptr, true, nullptr);
  unsetenv("VYSIM_PRINT_REFUSALS");
  dup2(standardError, STDERR_FILENO);
  for (const int end : {standardError, ends[1]}) close(end);
  char text[200] = {};
  EXPECT_GT(read(ends[0], text, sizeof text - 1), 0);
  close(ends[0]);
  EXPECT_STREQ(text, "refused: vy_filter_enable(filter: null, enable: true): filter is null: expected a filter\n");
}

}  // namespace
