// Hosts that do the oddest things their contract allows. This program replaces two of the host's functions, and calls
// the host's own from them.
#include <dlfcn.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "support/HostTest.h"

namespace {

bool namesAreTransient = false;                      ///< the next call overwrites a name
bool namesChange = false;                            ///< a filter reports another name each time
vy_filter_config_schema_list_t* nextList = nullptr;  ///< the host hands this out once as a new list

template <typename Function>
Function* hostsOwn(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

const char* vy_filter_get_name(const vy_filter_t* filter, vy_error** error) {
  static auto* const host = hostsOwn<decltype(vy_filter_get_name)>("vy_filter_get_name");
  const char* const name = host(filter, error);
  if (name == nullptr || !(namesAreTransient || namesChange)) return name;
  static char buffer[256];
  static unsigned calls = 0;
  std::memset(buffer, '?', sizeof buffer - 1);
  std::strncpy(buffer, (name + (namesChange ? std::to_string(++calls) : "")).c_str(), sizeof buffer - 1);
  return buffer;
}

vy_filter_config_schema_list_t* vy_filter_get_config_schema_list(const vy_filter_t* filter, vy_error** error) {
  static auto* const host = hostsOwn<decltype(vy_filter_get_config_schema_list)>("vy_filter_get_config_schema_list");
  return nextList != nullptr ? std::exchange(nextList, nullptr) : host(filter, error);
}

namespace {

class HostQuirksTest : public HostTest {
 protected:
  HostQuirksTest() : device_(openDevice(kSpecialOpenNI)) {}
  ~HostQuirksTest() override { namesAreTransient = namesChange = false; }
  OpenDevice device_;
};

TEST_F(HostQuirksTest, ANameLastsNoLongerThanUntilTheNextCall) {
  const std::string schema = schemaOf(makeProcessor(device_.context, kDepth));
  namesAreTransient = true;
  const Processor processor = makeProcessor(device_.context, kDepth);
  EXPECT_EQ(schemaOf(processor), schema);
  std::vector<const char*> values(static_cast<std::size_t>(std::count(schema.begin(), schema.end(), '\n')), "1");
  values.back() = "90";  // degrees
  EXPECT_EQ(updateConfig(processor, values), kNoError);
  const std::string calls = recordCalls([&] { EXPECT_NE(process(processor, makeFrame(10)).frame, nullptr); });
  EXPECT_EQ(callsOf("vy_filter_process", calls).size(), 7U) << "all filters are on, and their rules let them run";
}

// A private filter is found by its handle and its name, so one that changes its name is never found.
TEST_F(HostQuirksTest, AFilterThatChangesItsNameIsNotFound) {
  vy_filter_t* const filter = call(priv_create_filter, "DisparityTransform");
  call(priv_filter_enable, filter, true);
  EXPECT_TRUE(call(priv_filter_is_enabled, filter));
  namesChange = true;
  EXPECT_FALSE(call(priv_filter_is_enabled, filter));
}

// A list belongs to the filter that gave it out first, until it is given back.
TEST_F(HostQuirksTest, TheSameSchemaListTwice) {
  vy_filter_t* const disparity = call(priv_create_filter, "DisparityTransform");
  vy_filter_t* const hardwareD2C = call(priv_create_filter, "HardwareD2CProcessor");
  for (const bool disparityIsFirst : {true, false}) {
    vy_filter_t* const first = disparityIsFirst ? disparity : hardwareD2C;
    vy_filter_t* const second = disparityIsFirst ? hardwareD2C : disparity;
    auto* const list = call(priv_filter_get_config_schema_list, first);
    nextList = list;
    EXPECT_EQ(call(priv_filter_get_config_schema_list, second), list);
    // The hardware D2C filter calls every list empty.
    EXPECT_EQ(call(priv_filter_config_schema_list_get_count, list) != 0, disparityIsFirst);
    call(priv_filter_delete_config_schema_list, list);
    EXPECT_EQ(call(priv_filter_config_schema_list_get_count, list), 0U);
    call(priv_filter_delete_config_schema_list, list);
  }
}

}  // namespace
