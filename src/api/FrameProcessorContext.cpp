#include "api/FrameProcessorContext.h"

#include <algorithm>
#include <utility>

#include "host/HostErrorSlot.h"
#include "host/commonTypes.h"
#include "privfilter/FilterFactory.h"
#include "processor/FrameProcessor.h"

namespace {

// Sensor types by the host's numbers: the names that a host header gives them are its own.
constexpr int kDepthSensor = 3;
constexpr int kLowestSensor = 1;
constexpr int kHighestSensor = 9;
constexpr unsigned kBasicSensors = 0x163;  ///< bit (type - 1): the sensors with a BasicFrameProcessor

}  // namespace

FrameProcessorContext::FrameProcessorContext() : filterFactory_(FilterFactory::getInstance()) {}

FrameProcessorContext::~FrameProcessorContext() {
  if (deviceInfo_ == nullptr) return;
  HostErrorSlot().call(vy_delete_device_info, deviceInfo_);
}

bool FrameProcessorContext::registerDeviceHandle(vy_device_t* device, vy_error** error) {
  vy_device_info_t* const info = vy_device_get_device_info(device, error);
  if (*error != nullptr) return false;
  deviceInfo_ = info;

  // One check covers both ids.
  HostErrorSlot slot;
  const auto pid = static_cast<unsigned>(slot.call(vy_device_info_get_pid, info));
  const auto vid = static_cast<unsigned>(slot.call(vy_device_info_get_vid, info));
  if (slot.isSet()) {
    *error = slot.release();
    return false;
  }

  chains_ = deviceInfoConfig::findFamilyChains(vid, pid);
  return true;
}

std::shared_ptr<IFrameProcessor> FrameProcessorContext::createFrameProcessor(VYSensorType type) {
  const int sensor = static_cast<int>(type);
  if (sensor < kLowestSensor || sensor > kHighestSensor) return {};
  const SensorChain* const chain = std::find_if(
      chains_.begin(), chains_.end(), [sensor](const SensorChain& each) { return each.sensorType == sensor; });
  if (chain == chains_.end()) return {};

  // Records are made for the processor that keeps them; what the context holds is the constant table.
  std::vector<FilterConfig> records = deviceInfoConfig::makeChain(*chain);
  if (sensor == kDepthSensor) return std::make_shared<DepthFrameProcessor>(deviceInfo_, std::move(records));
  if (((kBasicSensors >> (sensor - 1)) & 1U) == 0) return {};
  return std::make_shared<BasicFrameProcessor>(deviceInfo_, std::move(records));
}
