#include "api/FrameProcessorContext.h"

#include "api/HostErrorSlot.h"
#include "api/commonTypes.h"
#include "device/chainCatalogue.h"
#include "privfilter/FilterFactory.h"
#include "processor/FrameProcessor.h"

namespace {

constexpr int kLowestSensor = 1;
constexpr int kHighestSensor = 9;
constexpr unsigned kBasicSensors = 0x163;  ///< bit (type - 1): the sensors with a BasicFrameProcessor

}  // namespace

FrameProcessorContext::FrameProcessorContext() : filterFactory_(FilterFactory::getInstance()) {}

FrameProcessorContext::~FrameProcessorContext() {
  if (deviceInfo_ == nullptr) return;
  HostErrorSlot ignored;
  vy_delete_device_info(deviceInfo_, ignored.out());
}

bool FrameProcessorContext::registerDeviceHandle(vy_device_t* device, vy_error** error) {
  vy_device_info_t* const info = vy_device_get_device_info(device, error);
  if (*error != nullptr) return false;
  deviceInfo_ = info;

  HostErrorWatch watch(error);
  const auto pid = static_cast<unsigned>(vy_device_info_get_pid(info, error));
  watch.settle();
  const auto vid = static_cast<unsigned>(vy_device_info_get_vid(info, error));
  watch.settle();
  if (*error != nullptr) return false;

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

  if (sensor == kSensorDepth) return std::make_shared<DepthFrameProcessor>(deviceInfo_, chain->second);
  if (((kBasicSensors >> (sensor - 1)) & 1U) == 0) return {};
  return std::make_shared<BasicFrameProcessor>(deviceInfo_, chain->second);
}
