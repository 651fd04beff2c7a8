#pragma once

#include <TavrixSDK.h>

#include <map>
#include <memory>
#include <vector>

#include "processor/FilterConfig.h"

class FilterFactory;
class IFrameProcessor;

/// The chains of one camera, and the maker of its frame processors. Read-only once registered: processors may then be
/// made on several threads.
class FrameProcessorContext {
 public:
  FrameProcessorContext();
  FrameProcessorContext(const FrameProcessorContext&) = delete;
  FrameProcessorContext& operator=(const FrameProcessorContext&) = delete;
  ~FrameProcessorContext();

  /// Reads the device's ids from the host and makes the chains of its family; none for an unknown device. False when
  /// `*error` is set, which must be null on entry.
  bool registerDeviceHandle(vy_device_t* device, vy_error** error);

  /// A new processor for a sensor, or an empty pointer for one without a chain or of a type that gets no processor.
  std::shared_ptr<IFrameProcessor> createFrameProcessor(VYSensorType type);

 private:
  vy_device_info_t* deviceInfo_ = nullptr;
  std::map<VYSensorType, std::vector<FilterConfig>> chains_;
  std::shared_ptr<FilterFactory> filterFactory_;  ///< keeps the registry, and so every private filter, alive
};
