#include "device/deviceInfoConfig.h"

#include <algorithm>
#include <cstddef>

namespace deviceInfoConfig {

std::vector<DeviceIdentifier> TalonDevPids;
std::vector<DeviceIdentifier> MirelDevPids;
std::vector<DeviceIdentifier> PellanDevPids;

namespace {

/// The list that the host's data type code stands for.
std::vector<DeviceIdentifier>* findList(int type) {
  switch (type) {
    case 0:
      return &TalonDevPids;
    case 3:
      return &MirelDevPids;
    case 6:
      return &PellanDevPids;
    default:
      return nullptr;
  }
}

std::uint16_t readLittleEndian16(const std::uint8_t* bytes) {
  return static_cast<std::uint16_t>(bytes[0] | (bytes[1] << 8));
}

}  // namespace

void replaceList(int type, const std::uint8_t* data, int size) {
  std::vector<DeviceIdentifier>* const list = findList(type);
  if (list == nullptr) return;
  // A negative size becomes a count beyond what a vector can hold on every target, which its constructor refuses.
  std::vector<DeviceIdentifier> fresh(static_cast<std::size_t>(size) / sizeof(DeviceIdentifier));
  for (DeviceIdentifier& device : fresh) {
    device = {readLittleEndian16(data), readLittleEndian16(data + 2)};
    data += sizeof(DeviceIdentifier);
  }
  list->swap(fresh);
}

bool isDeviceInContainer(const std::vector<DeviceIdentifier>& list, unsigned vid, unsigned pid) {
  return std::any_of(list.begin(), list.end(), [vid, pid](const DeviceIdentifier& device) {
    return device.vendorId == vid && device.productId == pid;
  });
}

}  // namespace deviceInfoConfig
