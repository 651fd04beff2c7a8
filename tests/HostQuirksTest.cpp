// Hosts that do the oddest things their contract allows. This program replaces some of the host's functions, and calls
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
vy_filter_t* nextOwner = nullptr;                    ///< is given the list that the host deletes next
Processor* nextToGo = nullptr;                       ///< is destroyed when the next filter is asked for its name

template <typename Function>
Function* hostsOwn(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

const char* vy_filter_get_name(const vy_filter_t* filter, vy_error** error) {
  static auto* const host = hostsOwn<decltype(vy_filter_get_name)>("vy_filter_get_name");
  if (nextToGo != nullptr) std::exchange(nextToGo, nullptr)->reset();
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

void vy_delete_filter_config_schema_list(vy_filter_config_schema_list_t* list, vy_error** error) {
  static auto* const host =
      hostsOwn<decltype(vy_delete_filter_config_schema_list)>("vy_delete_filter_config_schema_list");
  if (nextOwner == nullptr) return host(list, error);
  nextList = list;
  vysim::call(priv_filter_get_config_schema_list, std::exchange(nextOwner, nullptr));
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

TEST_F(HostQuirksTest, ADeletedListIsHandedOutAgainAtOnce) {
  for (const bool isOfFilter : {true, false}) {
    vy_filter_t* const first = call(priv_create_filter, "DisparityTransform");
    vy_filter_t* const second = call(priv_create_filter, "DisparityTransform");
    auto* const list = call(priv_filter_get_config_schema_list, first);
    nextOwner = second;
    if (isOfFilter) {
      call(priv_delete_filter, first);
    } else {
      call(priv_filter_delete_config_schema_list, list);
    }
    EXPECT_NE(call(priv_filter_config_schema_list_get_count, list), 0U) << "the list of the second filter";
    call(priv_filter_delete_config_schema_list, list);
  }
}

TEST_F(HostQuirksTest, AProcessorMayBeDestroyedWhileItTakesParameters) {
  Processor processor = makeProcessor(device_.context, kDepth);
  nextToGo = &processor;
  const std::string calls = recordCalls([&] {
    setHardwareD2C(processor, {{20, 20, 8, 4, 16, 8}, 1, 0, 0, 0, 0, true});
  });
  EXPECT_EQ(processor, nullptr);
  EXPECT_LT(calls.find("vy_delete_error("), calls.find("vy_delete_filter(")) << "the first filter is none for them";
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
