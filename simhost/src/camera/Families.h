#pragma once

#include <string>
#include <vector>

#include "pixel/Packing.h"
#include "tavrix_sim.h"

namespace tavrix {

/// What the simulated cameras of a family are made from, beyond what they tell the public.
struct Family {
  vysim_family shown;
  pixel::BitOrder bitOrder;  ///< of its packed depth frames; packed infrared frames are always MSB first
  uint16_t largestRaw;       ///< that its depth frames can hold
  /// Depth sensors make speckles that the noise filter of the family's chain is set to find: up to `speckleSize` pixels
  /// at the native size, `speckleDifference` away from all around. 0 = no speckles, where no filter looks for them.
  uint32_t speckleSize;
  uint16_t speckleDifference;
  double depthScale, depthOffsetMm;  ///< true depth = measured depth * scale + offset
  uint32_t rasterOffset;             ///< pixels by which the depth image is read out late
  bool isInfraredMirrored = false;   ///< infrared images come with left and right swapped
};

const std::vector<Family>& families();

/// By name, whatever its case; null where there is none.
const Family* findFamily(const std::string& name);

/// What the host hands to the library for one of the families that it names: records of vendor and product id.
struct DeviceList {
  int type;  ///< the host's data type code
  const uint8_t* bytes;
  int size;
};

/// Null for a type without a list.
const DeviceList* findDeviceList(int type);

/// All family names, for messages: "Talon, Mirel, ...".
std::string familyNames();

}  // namespace tavrix
