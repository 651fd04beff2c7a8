#include <utility>

#include "host/HostErrorSlot.h"
#include "processor/FrameProcessor.h"

DepthFrameProcessor::DepthFrameProcessor(vy_device_info_t* deviceInfo, std::vector<FilterConfig> configs)
    : BasicFrameProcessor(deviceInfo, std::move(configs)) {}

DepthFrameProcessor::~DepthFrameProcessor() = default;

void DepthFrameProcessor::setHardwareD2CParams(VYCameraIntrinsic intrinsic, std::uint8_t reservedByte, float scale,
                                               std::int16_t padLeft, std::int16_t padTop, std::int16_t padRight,
                                               std::int16_t padBottom, bool applyScale, bool reservedFlag) {
  // Every private filter gets them, whatever its name: one that cannot use them refuses, and the walk goes on.
  for (const ChainLink& link : filters()) {
    if (link.config().set_hardware_d2c_params == nullptr) continue;
    HostErrorSlot().call(link.config().set_hardware_d2c_params, link.filter(), intrinsic, reservedByte, scale, padLeft,
                         padTop, padRight, padBottom, applyScale, reservedFlag);
  }
}
