// The functions that drive the library's own filters.
#include <algorithm>
#include <cstring>
#include <deque>
#include <functional>

#include "support/HostTest.h"

namespace {

/// Holds a context, which keeps the registry and its filters alive.
class PrivateFilterFunctionsTest : public HostTest {
 protected:
  PrivateFilterFunctionsTest() : device_(openDevice(0)) {}
  OpenDevice device_;
};

/// Calls on a handle with harmless arguments; true when the result is the neutral value of its type.
const struct {
  const char* function;
  bool (*call)(vy_filter_t* filter, vy_error** error);
} kFilterCalls[] = {
    {"priv_filter_get_name", [](auto* f, auto** e) { return priv_filter_get_name(f, e) == nullptr; }},
    {"priv_delete_filter", [](auto* f, auto** e) { return priv_delete_filter(f, e), true; }},
    {"priv_filter_get_config_schema_list",
     [](auto* f, auto** e) { return priv_filter_get_config_schema_list(f, e) == nullptr; }},
    {"priv_filter_update_config", [](auto* f, auto** e) { return priv_filter_update_config(f, 0, nullptr, e), true; }},
    {"priv_filter_get_config_value", [](auto* f, auto** e) { return priv_filter_get_config_value(f, "x", e) == 0.0; }},
    {"priv_filter_set_config_value",
     [](auto* f, auto** e) { return priv_filter_set_config_value(f, "x", 1, e), true; }},
    {"priv_filter_reset", [](auto* f, auto** e) { return priv_filter_reset(f, e), true; }},
    {"priv_filter_enable", [](auto* f, auto** e) { return priv_filter_enable(f, true, e), true; }},
    {"priv_filter_is_enabled", [](auto* f, auto** e) { return !priv_filter_is_enabled(f, e); }},
    {"priv_filter_process", [](auto* f, auto** e) { return priv_filter_process(f, makeFrame().get(), e) == nullptr; }},
    {"priv_filter_set_hardware_d2c_params",
     [](auto* f, auto** e) {
       return priv_filter_set_hardware_d2c_params(f, {}, 0, 1, 0, 0, 0, 0, false, false, e), true;
     }},
};

bool isZero(const VYFilterConfigSchemaItem& item) {
  const unsigned char zeros[sizeof item] = {};
  return std::memcmp(&item, zeros, sizeof item) == 0;
}

TEST_F(PrivateFilterFunctionsTest, NullHandlesAreErrorsUnderTheFunctionsOwnName) {
  ErrorSlot error;
  for (const auto& each : kFilterCalls) {
    EXPECT_TRUE(each.call(nullptr, error)) << each.function;
    EXPECT_EQ(error.take(), ownError("filter is nullptr", each.function));
  }
  EXPECT_EQ(priv_filter_config_schema_list_get_count(nullptr, error), 0U);
  EXPECT_EQ(error.take(), ownError("config schema list is nullptr", "priv_filter_config_schema_list_get_count"));
  EXPECT_TRUE(isZero(priv_filter_config_schema_list_get_item(nullptr, 0, error)));
  EXPECT_EQ(error.take(), ownError("config schema list is nullptr", "priv_filter_config_schema_list_get_item"));
  call(priv_filter_delete_config_schema_list, nullptr);
}

TEST_F(PrivateFilterFunctionsTest, CreationReportsUnderItsOwnName) {
  const std::pair<const char*, vy_filter_t* (*)(const char*, vy_error**)> functions[] = {
      {"priv_create_filter", priv_create_filter}, {"priv_create_private_filter", priv_create_private_filter}};
  for (const auto& [function, create] : functions) {
    ErrorSlot error;
    for (const char* name : {static_cast<const char*>(nullptr), "", "DepthResize", "OpenNIDisparityTransform",
                             "disparitytransform", "HardwareD2CProcessor ", "FrameMirror"}) {
      EXPECT_EQ(create(name, error), nullptr);
      EXPECT_EQ(error.take(), ownError("Failed to create filter,filter not found", function));
    }
    for (const char* name : {"DisparityTransform", "HardwareD2CProcessor"}) {
      for (const vysim_fault fault : {VYSIM_FAULT_ERROR, kNull}) {
        failCall("vy_create_private_filter", 1, fault);
        EXPECT_EQ(create(name, error), nullptr);
        EXPECT_EQ(error.take(), ownError("Create filter failed", function));
      }
      vy_filter_t* const filter = call(create, name);
      EXPECT_STREQ(call(priv_filter_get_name, filter), name);  // not the name of the host filter inside
      EXPECT_STRNE(call(vy_filter_get_name, filter), name);
      EXPECT_FALSE(call(priv_filter_is_enabled, filter));
    }
  }
}

// A filter that the library did not make: nothing happens to it, and only priv_filter_get_name() reports an error.
TEST_F(PrivateFilterFunctionsTest, ForeignHandlesGiveNeutralResults) {
  vy_filter_t* const own = call(priv_create_filter, "DisparityTransform");
  ASSERT_NE(own, nullptr);
  vy_filter_t* const foreign = call(vy_create_private_filter, "OpenNIDisparityTransform");  // of the same name
  for (const auto& each : kFilterCalls) {
    ErrorSlot error;
    EXPECT_TRUE(each.call(foreign, error)) << each.function;
    const bool isName = std::strcmp(each.function, "priv_filter_get_name") == 0;
    EXPECT_EQ(error.take(), isName ? ownError("failed to get filter name", "getPrivateFilterName") : kNoError)
        << each.function;
  }
  EXPECT_FALSE(call(priv_filter_is_enabled, own)) << "a foreign handle reached another filter";
  call(vy_delete_filter, foreign);

  expectRefused("vy_filter_get_name", std::size(kFilterCalls));
  // A dead handle: the host's error stays, unless priv_filter_get_name() replaces it.
  for (const auto& each : kFilterCalls) {
    ErrorSlot error;
    EXPECT_TRUE(each.call(foreign, error)) << each.function;
    const bool isName = std::strcmp(each.function, "priv_filter_get_name") == 0;
    EXPECT_EQ(error.take().function, isName ? "getPrivateFilterName" : "vy_filter_get_name") << each.function;
  }
}

TEST_F(PrivateFilterFunctionsTest, CallsReachTheFilterInside) {
  const VYFilterConfigSchemaItem items[] = {{"size", VY_FILTER_CONFIG_VALUE_TYPE_INT, 0, 100, 1, 7, "Size"}};
  defineFilter({"OpenNIDisparityTransform", nullptr, true, items, 1, nullptr, nullptr});
  vy_filter_t* const filter = call(priv_create_filter, "DisparityTransform");

  const std::string switching = recordCalls([&] {
    call(priv_filter_enable, filter, true);
    EXPECT_TRUE(call(priv_filter_is_enabled, filter));
    call(priv_filter_enable, filter, false);
    EXPECT_FALSE(call(priv_filter_is_enabled, filter));
  });
  EXPECT_EQ(switching.find("enable"), std::string::npos) << "the host filter is not told of the switch:\n" << switching;

  call(priv_filter_set_config_value, filter, "size", 42);
  EXPECT_EQ(call(priv_filter_get_config_value, filter, "size"), 42);
  call(priv_filter_reset, filter);
  EXPECT_EQ(call(priv_filter_get_config_value, filter, "size"), 7);

  const char* arguments[] = {"a", "b"};
  const auto configuring = recordCalls([&] { call(priv_filter_update_config, filter, 2, arguments); });
  EXPECT_EQ(callsOf("vy_filter_update_config", configuring),
            (std::vector<std::string>{"vy_filter_update_config(filter: OpenNIDisparityTransform#1, argc: 2, argv: "
                                      "[\"a\", \"b\"])"}));

  vy_filter_config_schema_list_t* const list = call(priv_filter_get_config_schema_list, filter);
  EXPECT_EQ(call(priv_filter_config_schema_list_get_count, list), 1U);
  EXPECT_STREQ(call(priv_filter_config_schema_list_get_item, list, 0).name, "size");
  ErrorSlot error;
  expectRefused("vy_filter_config_schema_list_get_item");
  EXPECT_TRUE(isZero(priv_filter_config_schema_list_get_item(list, 1, error)));
  EXPECT_TRUE(error.isSet());
  // A list that the host gave out itself.
  vy_filter_config_schema_list_t* const foreign = call(vy_filter_get_config_schema_list, filter);
  EXPECT_EQ(call(priv_filter_config_schema_list_get_count, foreign), 0U);
  EXPECT_TRUE(isZero(call(priv_filter_config_schema_list_get_item, foreign, 0)));
  call(priv_filter_delete_config_schema_list, foreign);
  EXPECT_EQ(alive(VYSIM_SCHEMA_LIST), 2);
  call(vy_delete_filter_config_schema_list, foreign);
  call(priv_filter_delete_config_schema_list, list);
  call(priv_filter_delete_config_schema_list, list);  // given back already
  EXPECT_EQ(call(priv_filter_config_schema_list_get_count, list), 0U);

  const Frame input = makeFrame();
  EXPECT_EQ(Frame(call(priv_filter_process, filter, input.get())), input);
  EXPECT_EQ(call(priv_filter_process, filter, nullptr), nullptr);
  EXPECT_EQ(vysim_frame_get_ref_count(input.get()), 1);
}

// The host's "DepthResize" has items; the library's filter around it has none.
TEST_F(PrivateFilterFunctionsTest, TheD2CFilterHasNoItems) {
  vy_filter_t* const d2c = call(priv_create_filter, "HardwareD2CProcessor");
  call(priv_filter_set_config_value, d2c, "Width", 1);
  EXPECT_EQ(call(priv_filter_get_config_value, d2c, "Width"), 0);
  vy_filter_config_schema_list_t* const list = call(priv_filter_get_config_schema_list, d2c);
  EXPECT_GT(call(vy_filter_config_schema_list_get_count, list), 0U);
  EXPECT_EQ(call(priv_filter_config_schema_list_get_count, list), 0U);
  EXPECT_TRUE(isZero(call(priv_filter_config_schema_list_get_item, list, 0)));
  // Addresses of no list, below and above the real one.
  for (std::uintptr_t address : {std::uintptr_t{1}, UINTPTR_MAX}) {
    auto* const none = reinterpret_cast<vy_filter_config_schema_list_t*>(address);
    EXPECT_TRUE(isZero(call(priv_filter_config_schema_list_get_item, none, 0)));
    call(priv_filter_delete_config_schema_list, none);
  }
  call(priv_filter_delete_config_schema_list, list);
}

TEST_F(PrivateFilterFunctionsTest, NamesOfAnyLengthAreFound) {
  std::deque<std::string> names;  // filters keep pointers to them
  for (const std::size_t length : {0U, 1U, 254U, 255U, 256U, 257U, 1000U}) {
    definePassing("OpenNIDisparityTransform", names.emplace_back(length, 'n').c_str(), true);
    vy_filter_t* const filter = call(priv_create_filter, "DisparityTransform");
    EXPECT_STREQ(call(priv_filter_get_name, filter), "DisparityTransform") << length;
  }
}

TEST_F(PrivateFilterFunctionsTest, D2CParamsAreForTheD2CFilterOnly) {
  ErrorSlot error;
  vy_filter_t* const disparity = call(priv_create_filter, "DisparityTransform");
  priv_filter_set_hardware_d2c_params(disparity, {}, 0, 1, 0, 0, 0, 0, false, false, error);
  EXPECT_EQ(error.take(), ownError("failed to convert hardware d2c processor", "setHardwareD2CParams"));
  vy_filter_t* const d2c = call(priv_create_filter, "HardwareD2CProcessor");
  priv_filter_set_hardware_d2c_params(d2c, {}, 0, 1, 0, 0, 0, 0, false, false, error);
  EXPECT_EQ(error.take(), kNoError);
}

// The filter is looked up as for every operation: the host is asked for the handle's name, then for that of each
// filter.
TEST_F(PrivateFilterFunctionsTest, DeletingGivesBackOneListAndNothingElse) {
  const struct {
    std::size_t lists;
    std::vector<Fault> faults;
    int namesAskedFor;
    const char* errorFrom;
    std::size_t listsLeft;
  } cases[] = {
      {0, {}, 2, nullptr, 0},
      {1, {}, 2, nullptr, 0},
      {2, {}, 2, nullptr, 1},
      {2, {{"vy_filter_get_name"}}, 1, "vy_filter_get_name", 2},
      {2, {{"vy_filter_get_name", 1, kWithResult}}, 1, "vy_filter_get_name", 2},
      {2, {{"vy_filter_get_name", 1, kNull}}, 1, nullptr, 2},
      {2, {{"vy_filter_get_name", 2, kWithResult}}, 2, nullptr, 2},
      {2, {{"vy_delete_filter_config_schema_list", 1, kWithResult}}, 2, "vy_delete_filter_config_schema_list", 1},
  };
  for (const auto& each : cases) {
    device_.context.reset();  // the filter of the case before goes with it
    device_ = openDevice(0);
    vy_filter_t* const filter = call(priv_create_filter, "DisparityTransform");
    std::vector<vy_filter_config_schema_list_t*> lists;
    while (lists.size() < each.lists) lists.push_back(call(priv_filter_get_config_schema_list, filter));
    std::sort(lists.begin(), lists.end(), std::less<>());
    failCalls(each.faults);
    ErrorSlot error;
    std::string functions;
    for (const std::string& record : splitLines(recordCalls([&] { priv_delete_filter(filter, error); }))) {
      if (record.find("_error(") == std::string::npos) functions += record.substr(0, record.find('(')) + " ";
    }
    EXPECT_EQ(error.take(), each.errorFrom != nullptr ? injectedError(each.errorFrom) : kNoError);
    std::string expected = each.namesAskedFor == 2 ? "vy_filter_get_name vy_filter_get_name " : "vy_filter_get_name ";
    if (each.listsLeft < each.lists) expected += "vy_delete_filter_config_schema_list ";
    EXPECT_EQ(functions, expected);
    for (std::size_t i = 0; i < lists.size(); ++i) {  // the one at the lowest address goes
      const bool isLeft = i >= each.lists - each.listsLeft;
      EXPECT_EQ(call(priv_filter_config_schema_list_get_count, lists[i]) != 0, isLeft) << i;
      call(priv_filter_delete_config_schema_list, lists[i]);
    }
  }
}

TEST_F(PrivateFilterFunctionsTest, DeletedFiltersLiveUntilTheLastContextIsGone) {
  vy_filter_t* const filter = call(priv_create_filter, "DisparityTransform");
  call(priv_delete_filter, filter);
  call(priv_delete_filter, filter);
  EXPECT_STREQ(call(priv_filter_get_name, filter), "DisparityTransform");
  EXPECT_EQ(alive(VYSIM_FILTER), 1);
  {
    const OpenDevice second = openDevice(kHalden);
    device_.context.reset();
    EXPECT_STREQ(call(priv_filter_get_name, filter), "DisparityTransform");
  }
  EXPECT_EQ(alive(VYSIM_FILTER), 0);
  device_ = openDevice(0);
  ErrorSlot error;
  expectRefused("vy_filter_get_name");
  EXPECT_EQ(priv_filter_get_name(filter, error), nullptr) << "a new registry knows none of the old filters";
}

}  // namespace
