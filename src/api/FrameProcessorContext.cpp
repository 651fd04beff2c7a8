#include "api/FrameProcessorContext.h"

#include "device/ChainCatalogue.h"
#include "host/HostErrorSlot.h"
#include "privfilter/FilterFactory.h"
#include "processor/FrameProcessor.h"

FrameProcessorContext::FrameProcessorContext() : filterFactory_(FilterFactory::getInstance()) {}

FrameProcessorContext::~FrameProcessorContext() {
  if (deviceInfo_ != nullptr) HostErrorSlot().call(vy_delete_device_info, deviceInfo_);
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

  chains_ = deviceInfoConfig::makeFamilyChains(vid, pid);
  return true;
}

std::shared_ptr<IFrameProcessor> FrameProcessorContext::createFrameProcessor(VYSensorType type) {
  const auto chain = chains_.find(type);
  if (chain == chains_.end() || chain->second.empty()) return {};
  // By the host's numbers: the names that a host header gives the sensors are its own.
  switch (static_cast<int>(type)) {
    case 3:  // depth
      return std::make_shared<DepthFrameProcessor>(deviceInfo_, chain->second);
    case 1:
    case 2:
    case 6:
    case 7:
    case 9:
      return std::make_shared<BasicFrameProcessor>(deviceInfo_, chain->second);
    default:
      return {};
  }
}
