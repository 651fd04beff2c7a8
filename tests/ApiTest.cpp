// The exported functions: argument checks, contexts, product-id lists, lifetimes.
#include <cstring>
#include <stdexcept>

#include "support/HostTest.h"

namespace {

class ApiTest : public HostTest {};

constexpr VYCameraIntrinsic kIntrinsic = {500, 500, 320, 200, 640, 400};

void setD2CParams(vy_frame_processor_t* processor, vy_error** error) {
  vy_frame_processor_set_hardware_d2c_params(processor, kIntrinsic, 0, 2, 0, 0, 0, 0, true, false, error);
}

/// Calls on a processor handle; true when the result is the neutral one.
const struct {
  const char* function;
  bool (*call)(vy_frame_processor_t* processor, vy_error** error);
} kProcessorCalls[] = {
    {"vy_frame_processor_process_frame",
     [](auto* p, auto** e) { return vy_frame_processor_process_frame(p, makeFrame().get(), e) == nullptr; }},
    {"vy_frame_processor_get_config_schema",
     [](auto* p, auto** e) { return vy_frame_processor_get_config_schema(p, e) == nullptr; }},
    {"vy_frame_processor_update_config",
     [](auto* p, auto** e) { return vy_frame_processor_update_config(p, 0, nullptr, e), true; }},
    {"vy_frame_processor_set_hardware_d2c_params", [](auto* p, auto** e) { return setD2CParams(p, e), true; }},
};

Error nullPointer(const char* function) {
  return ownError("NULL pointer passed for argument", function);
}

TEST_F(ApiTest, NullHandlesAreErrorsUnderTheFunctionsOwnName) {
  ErrorSlot error;
  EXPECT_EQ(vy_create_frame_processor_context(nullptr, error), nullptr);
  EXPECT_EQ(error.take(), nullPointer("vy_create_frame_processor_context"));
  EXPECT_EQ(vy_create_frame_processor(nullptr, VY_SENSOR_DEPTH, error), nullptr);
  EXPECT_EQ(error.take(), nullPointer("vy_create_frame_processor"));
  vy_destroy_frame_processor(nullptr, error);
  EXPECT_EQ(error.take(), nullPointer("vy_destroy_frame_processor"));
  vy_destroy_frame_processor_context(nullptr, error);
  const Error refused = error.take();
  EXPECT_EQ(refused, nullPointer("vy_destroy_frame_processor_context"));
  EXPECT_EQ(refused.args, "");
  for (const auto& each : kProcessorCalls) {
    EXPECT_TRUE(each.call(nullptr, error)) << each.function;
    EXPECT_EQ(error.take(), nullPointer(each.function));
  }

  const OpenDevice halden = openDevice(kHalden);
  const Processor processor = makeProcessor(halden.context, kColor);
  EXPECT_EQ(vy_frame_processor_process_frame(processor.get(), nullptr, error), nullptr);
  EXPECT_EQ(error.take(), nullPointer("vy_frame_processor_process_frame"));
}

TEST_F(ApiTest, SensorsWithoutChainGiveHandlesWithoutProcessor) {
  const OpenDevice unknown = openDevice(0x0001);
  const OpenDevice otherVendor = openDevice(kHalden, 0x1234);
  const OpenDevice halden = openDevice(kHalden);
  const std::pair<const OpenDevice*, int> cases[] = {{&unknown, kDepth}, {&unknown, kColor}, {&otherVendor, kDepth},
                                                     {&halden, 6},       {&halden, 4},       {&halden, 0},
                                                     {&halden, 10},      {&halden, 15}};
  for (const auto& [device, sensor] : cases) {
    const Processor empty = makeProcessor(device->context, sensor);
    for (const auto& each : kProcessorCalls) {
      ErrorSlot error;
      EXPECT_TRUE(each.call(empty.get(), error)) << each.function;
      EXPECT_EQ(error.take(), nullPointer(each.function)) << "sensor " << sensor;
    }
  }
}

// Single failures are in FaultSweepTest.cpp.
TEST_F(ApiTest, TheLaterErrorWhileReadingTheIdsReachesTheCaller) {
  const Device device(vysim_create_device(kMaker, kHalden));
  failCalls({{"vy_device_info_get_pid"}, {"vy_device_info_get_vid"}});
  ErrorSlot error;
  EXPECT_EQ(vy_create_frame_processor_context(device.get(), error), nullptr);
  EXPECT_EQ(error.take(), injectedError("vy_device_info_get_vid"));
}

/// Whether a device with these ids has a depth chain now.
bool isKnown(int vid, int pid) {
  const OpenDevice device = openDevice(pid, vid);
  const Processor processor = makeProcessor(device.context, kDepth);
  ErrorSlot error;
  return vy_frame_processor_get_config_schema(processor.get(), error) != nullptr;
}

TEST_F(ApiTest, DeviceListsAreReplacedWholeInRecordsOfFourBytes) {
  alignas(4) const std::uint8_t bytes[] = {0, 0x71, 0x3E, 0x51, 0x03, 0x34, 0x12, 0x02, 0xF0, 0x78, 0x56, 0x03, 0x00};
  const std::uint8_t* const data = bytes + 1;  // where no word may lie
  constexpr int kFirst = 1, kSecond = 2, kThird = 4;
  const struct {
    int type, size, known;
  } steps[] = {
      {0, 10, kFirst | kSecond},                           // a remainder is ignored
      {5, 12, kFirst | kSecond},                           // no such list: nothing happens
      {-1, -4, kFirst | kSecond},         {0, 4, kFirst},  // replaced, not merged
      {3, 12, kFirst | kSecond | kThird}, {3, 3, kFirst},  // less than a record empties the list
      {6, 8, kFirst | kSecond},           {0, 1, kFirst | kSecond}, {6, 2, 0},
  };
  for (const auto& step : steps) {
    call(vy_set_device_info_data, step.type, data, step.size);
    const int known = (isKnown(0x3E71, 0x0351) ? kFirst : 0) | (isKnown(0x1234, 0xF002) ? kSecond : 0) |
                      (isKnown(0x5678, 0x0003) ? kThird : 0);
    EXPECT_EQ(known, step.known) << "type " << step.type << ", size " << step.size;
  }
}

TEST_F(ApiTest, DeviceListDataIsChecked) {
  const std::uint8_t data[] = {0x71, 0x3E, 0x51, 0x03};
  const Error refused = ownError("Fail to set device info data", "vy_set_device_info_data");
  for (const int type : {0, 5}) {  // data and size are checked before the type
    ErrorSlot error;
    vy_set_device_info_data(type, nullptr, 4, error);
    EXPECT_EQ(error.take(), refused);
    vy_set_device_info_data(type, data, 0, error);
    EXPECT_EQ(error.take(), refused);
  }
  setDeviceList(0, {0x71, 0x3E, 0x51, 0x03});
  for (const int size : {-1, -4, -5, -2147483647 - 1}) {
    EXPECT_THROW(call(vy_set_device_info_data, 0, data, size), std::length_error) << size;
    EXPECT_TRUE(isKnown(kMaker, 0x0351)) << "the list must stay as it was";
  }
}

TEST_F(ApiTest, ContextsKeepTheirChainsWhenListsChange) {
  setDeviceList(0, {0x71, 0x3E, 0x51, 0x03});
  const OpenDevice talon = openDevice(0x0351);
  setDeviceList(0, {0});
  EXPECT_NE(schemaOf(makeProcessor(talon.context, kDepth)), "");
}

TEST_F(ApiTest, ProcessorsAreIndependentAndOutliveTheirContext) {
  OpenDevice halden = openDevice(kHalden);
  const Processor first = makeProcessor(halden.context, kColor);
  const Processor second = makeProcessor(halden.context, kColor);
  failCall("vy_delete_device_info", 1, kWithResult);  // absorbed
  halden.context.reset();
  EXPECT_EQ(updateConfig(first, {"1", "1", "90"}), kNoError);  // mirror, flip, rotate

  const Frame input = makeFrame(VY_FORMAT_Y16, VY_PIXEL_DISPARITY, 6, 2);
  const Outcome turned = process(first, input);
  const Outcome plain = process(second, input);
  EXPECT_EQ(call(vy_video_frame_get_width, turned.frame.get()), 2U);
  EXPECT_EQ(call(vy_video_frame_get_width, plain.frame.get()), 6U);
}

TEST_F(ApiTest, CommitHashIsSevenHexadecimalDigits) {
  EXPECT_EQ(std::strlen(vy_get_commit_hash()), 7U);
  EXPECT_EQ(std::strspn(vy_get_commit_hash(), "0123456789abcdef"), 7U) << vy_get_commit_hash();
}

}  // namespace
