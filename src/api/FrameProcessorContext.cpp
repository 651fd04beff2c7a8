#include "api/FrameProcessorContext.h"

#include "api/HostErrorSlot.h"
#include "api/commonTypes.h"
#include "device/chainCatalogue.h"
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

  for (const SensorChain& chain : deviceInfoConfig::findFamilyChains(vid, pid)) {
    chains_[static_cast<VYSensorType>(chain.sensorType)] = deviceInfoConfig::makeChain(chain);
  }
  return true;
}

std::shared_ptr<IFrameProcessor> FrameProcessorContext::createFrameProcessor(VYSensorType type) {
  const auto chain = chains_.find(type);
  if (chain == chains_.end() || chain->second.empty()) return {};
  const int sensor = static_cast<int>(type);
  if (sensor < kLowestSensor || sensor > kHighestSensor) return {};

  if (sensor == kDepthSensor) return std::make_shared<DepthFrameProcessor>(deviceInfo_, chain->second);
  if (((kBasicSensors >> (sensor - 1)) & 1U) == 0) return {};
  return std::make_shared<BasicFrameProcessor>(deviceInfo_, chain->second);
}
