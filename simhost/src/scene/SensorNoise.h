#pragma once

#include <cstdint>

namespace tavrix {

/// The flaws of a depth sensor.
struct SensorNoise {
  uint16_t largestRaw = 65535;       ///< largest value that the sensor can give
  bool isStereo = true;              ///< raw values are disparities; otherwise they are millimetres
  int subPixelBits = 0;              ///< fraction bits of a disparity
  uint32_t largestSpeckle = 25;      ///< most pixels of a speckle; 0 = no speckles
  uint16_t speckleDifference = 256;  ///< least difference between a speckle and the pixels around it
};

/// Spoils perfect raw values as sensors do:
///  - holes, where the second lens of a pair does not see or a time-of-flight pixel sees two distances, and in patches;
///  - noise, a step up or down;
///  - speckles, small islands of wrong values.
/// The same arguments give the same result on every target.
void addSensorNoise(uint16_t* raw, uint32_t width, uint32_t height, uint32_t frameNumber, const SensorNoise& noise);

}  // namespace tavrix
