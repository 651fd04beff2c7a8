// The functions that drive the library's own filters.
#include <cstring>
#include <deque>

#include "support/HostTest.h"

namespace {

/// With a context, which keeps the registry and its filters alive.
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
  priv_filter_delete_config_schema_list(nullptr, NoFailure());
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
      for (const vysim_fault fault : {VYSIM_FAULT_ERROR, kNull, kWithResult}) {
        const LeakTolerance tolerance;
        failCall("vy_create_private_filter", 1, fault);
        EXPECT_EQ(create(name, error), nullptr);
        EXPECT_EQ(error.take(), ownError("Create filter failed", function));
      }
      expectLeftBehind(VYSIM_FILTER, 1);  // the one that came with an error is the host's
      vy_filter_t* const filter = create(name, NoFailure());
      EXPECT_STREQ(priv_filter_get_name(filter, NoFailure()), name);  // not that of the host filter inside
      EXPECT_STRNE(vy_filter_get_name(filter, NoFailure()), name);
      EXPECT_FALSE(priv_filter_is_enabled(filter, NoFailure()));
    }
  }
}

// A handle of the host's that the library did not make: nothing happens, and only two functions have something to say.
TEST_F(PrivateFilterFunctionsTest, ForeignHandlesGiveNeutralResults) {
  vy_filter_t* const own = priv_create_filter("DisparityTransform", NoFailure());
  ASSERT_NE(own, nullptr);
  vy_filter_t* const foreign = vy_create_private_filter("OpenNIDisparityTransform", NoFailure());  // of the same name
  for (const auto& each : kFilterCalls) {
    ErrorSlot error;
    EXPECT_TRUE(each.call(foreign, error)) << each.function;
    const bool isName = std::strcmp(each.function, "priv_filter_get_name") == 0;
    EXPECT_EQ(error.take(), isName ? ownError("failed to get filter name", "getPrivateFilterName") : kNoError)
        << each.function;
  }
  EXPECT_FALSE(priv_filter_is_enabled(own, NoFailure())) << "a foreign handle reached another filter";
  vy_delete_filter(foreign, NoFailure());

  // A dead one: the host's error stays, except where it is replaced.
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
  vy_filter_t* const filter = priv_create_filter("DisparityTransform", NoFailure());

  const std::string switching = recordCalls([&] {
    priv_filter_enable(filter, true, NoFailure());
    EXPECT_TRUE(priv_filter_is_enabled(filter, NoFailure()));
    priv_filter_enable(filter, false, NoFailure());
    EXPECT_FALSE(priv_filter_is_enabled(filter, NoFailure()));
  });
  EXPECT_EQ(switching.find("enable"), std::string::npos) << "the host filter is not told of the switch:\n" << switching;

  priv_filter_set_config_value(filter, "size", 42, NoFailure());
  EXPECT_EQ(priv_filter_get_config_value(filter, "size", NoFailure()), 42);
  priv_filter_reset(filter, NoFailure());
  EXPECT_EQ(priv_filter_get_config_value(filter, "size", NoFailure()), 7);

  const char* arguments[] = {"a", "b"};
  const auto configuring = recordCalls([&] { priv_filter_update_config(filter, 2, arguments, NoFailure()); });
  EXPECT_EQ(callsOf("vy_filter_update_config", configuring),
            (std::vector<std::string>{"vy_filter_update_config(filter: OpenNIDisparityTransform#1, argc: 2, argv: "
                                      "[\"a\", \"b\"])"}));

  vy_filter_config_schema_list_t* const list = priv_filter_get_config_schema_list(filter, NoFailure());
  EXPECT_EQ(priv_filter_config_schema_list_get_count(list, NoFailure()), 1U);
  EXPECT_STREQ(priv_filter_config_schema_list_get_item(list, 0, NoFailure()).name, "size");
  ErrorSlot error;
  EXPECT_TRUE(isZero(priv_filter_config_schema_list_get_item(list, 1, error)));
  EXPECT_TRUE(error.isSet());
  // One that the host gave out itself.
  vy_filter_config_schema_list_t* const foreign = vy_filter_get_config_schema_list(filter, NoFailure());
  EXPECT_EQ(priv_filter_config_schema_list_get_count(foreign, NoFailure()), 0U);
  EXPECT_TRUE(isZero(priv_filter_config_schema_list_get_item(foreign, 0, NoFailure())));
  priv_filter_delete_config_schema_list(foreign, NoFailure());
  EXPECT_EQ(alive(VYSIM_SCHEMA_LIST), 2U);
  vy_delete_filter_config_schema_list(foreign, NoFailure());
  priv_filter_delete_config_schema_list(list, NoFailure());
  priv_filter_delete_config_schema_list(list, NoFailure());  // not out any more
  EXPECT_EQ(priv_filter_config_schema_list_get_count(list, NoFailure()), 0U);

  const Frame input = makeFrame();
  EXPECT_EQ(Frame(priv_filter_process(filter, input.get(), NoFailure())), input);
  EXPECT_EQ(priv_filter_process(filter, nullptr, NoFailure()), nullptr);
  EXPECT_EQ(vysim_frame_get_ref_count(input.get()), 1);
}

// The host's "DepthResize" has items; the library's filter around it has none.
TEST_F(PrivateFilterFunctionsTest, TheD2CFilterHasNoItems) {
  vy_filter_t* const d2c = priv_create_filter("HardwareD2CProcessor", NoFailure());
  priv_filter_set_config_value(d2c, "Width", 1, NoFailure());
  EXPECT_EQ(priv_filter_get_config_value(d2c, "Width", NoFailure()), 0);
  vy_filter_config_schema_list_t* const list = priv_filter_get_config_schema_list(d2c, NoFailure());
  EXPECT_GT(vy_filter_config_schema_list_get_count(list, NoFailure()), 0U);
  EXPECT_EQ(priv_filter_config_schema_list_get_count(list, NoFailure()), 0U);
  EXPECT_TRUE(isZero(priv_filter_config_schema_list_get_item(list, 0, NoFailure())));
  // What is no list, below and above the one that is out.
  for (std::uintptr_t address : {std::uintptr_t{1}, UINTPTR_MAX}) {
    auto* const none = reinterpret_cast<vy_filter_config_schema_list_t*>(address);
    EXPECT_TRUE(isZero(priv_filter_config_schema_list_get_item(none, 0, NoFailure())));
    priv_filter_delete_config_schema_list(none, NoFailure());
  }
  priv_filter_delete_config_schema_list(list, NoFailure());
}

TEST_F(PrivateFilterFunctionsTest, NamesOfAnyLengthAreFound) {
  std::deque<std::string> names;  // filters made under one go on reporting it
  for (const std::size_t length : {0U, 1U, 254U, 255U, 256U, 257U, 1000U}) {
    definePassing("OpenNIDisparityTransform", names.emplace_back(length, 'n').c_str(), true);
    vy_filter_t* const filter = priv_create_filter("DisparityTransform", NoFailure());
    EXPECT_STREQ(priv_filter_get_name(filter, NoFailure()), "DisparityTransform") << length;
  }
}

TEST_F(PrivateFilterFunctionsTest, D2CParamsAreForTheD2CFilterOnly) {
  ErrorSlot error;
  vy_filter_t* const disparity = priv_create_filter("DisparityTransform", NoFailure());
  priv_filter_set_hardware_d2c_params(disparity, {}, 0, 1, 0, 0, 0, 0, false, false, error);
  EXPECT_EQ(error.take(), ownError("failed to convert hardware d2c processor", "setHardwareD2CParams"));
  vy_filter_t* const d2c = priv_create_filter("HardwareD2CProcessor", NoFailure());
  priv_filter_set_hardware_d2c_params(d2c, {}, 0, 1, 0, 0, 0, 0, false, false, NoFailure());
}

TEST_F(PrivateFilterFunctionsTest, DeletedFiltersLiveUntilTheLastContextIsGone) {
  vy_filter_t* const filter = priv_create_filter("DisparityTransform", NoFailure());
  priv_delete_filter(filter, NoFailure());
  priv_delete_filter(filter, NoFailure());
  EXPECT_STREQ(priv_filter_get_name(filter, NoFailure()), "DisparityTransform");
  EXPECT_EQ(alive(VYSIM_FILTER), 1U);
  {
    const OpenDevice second = openDevice(kHalden);
    device_.context.reset();
    EXPECT_STREQ(priv_filter_get_name(filter, NoFailure()), "DisparityTransform");
  }
  EXPECT_EQ(alive(VYSIM_FILTER), 0U);
  device_ = openDevice(0);
  ErrorSlot error;
  EXPECT_EQ(priv_filter_get_name(filter, error), nullptr) << "a new registry knows none of the old filters";
}

}  // namespace
