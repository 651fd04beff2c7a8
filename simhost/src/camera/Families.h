#pragma once

#include <string>
#include <vector>

#include "pixel/Packing.h"
#include "tavrix_sim.h"

namespace tavrix {

/// What the simulated cameras of a family are made from.
struct Family {
  vysim_family shown;
  pixel::BitOrder bitOrder;  ///< of its packed depth frames; packed infrared frames are always MSB first
  uint16_t largestRaw;       ///< that its depth frames can hold
  /// Speckles of the depth sensor: at most `speckleSize` pixels at the native size, which differ from the pixels around
  /// them by `speckleDifference` at least. The noise filter of the family's chain is set to find just these. The size
  /// is 0 in families without such a filter.
  uint32_t speckleSize;
  uint16_t speckleDifference;
  double depthScale, depthOffsetMm;  ///< true depth = measured depth * scale + offset
  uint32_t rasterOffset;             ///< pixels by which the depth image is read out late
  bool isInfraredMirrored = false;   ///< infrared images have left and right swapped; the chain undoes it
};

const std::vector<Family>& families();

/// The family of a name, in upper or lower case; null where there is none.
const Family* findFamily(const std::string& name);

/// A product-id list of the host, see vysim_device_list().
struct DeviceList {
  int type;  ///< the code under which the host hands it over
  const uint8_t* bytes;
  int size;
};

/// Null for a type without a list.
const DeviceList* findDeviceList(int type);

/// All family names, for messages: "Talon, Mirel, ...".
std::string familyNames();

}  // namespace tavrix
