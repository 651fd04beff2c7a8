#pragma once

#include "core/Object.h"

namespace tavrix {

struct DeviceIds {
  int vendor;
  int product;
};

struct Device {
  using Handle = vy_device_t;
  static constexpr Kind kKind = Kind::device;

  DeviceIds ids;
};

/// A copy of a device's ids. It outlives the device.
struct DeviceInfo {
  using Handle = vy_device_info_t;
  static constexpr Kind kKind = Kind::deviceInfo;

  DeviceIds ids;
};

}  // namespace tavrix
