#pragma once

#include <cstdint>

namespace tavrix {

/// What is wrong with a depth sensor.
struct SensorNoise {
  uint16_t largestRaw = 65535;       ///< that the sensor can tell
  bool isStereo = true;              ///< raw values are disparities, otherwise millimetres
  int subPixelBits = 0;              ///< of a disparity
  uint32_t largestSpeckle = 25;      ///< pixels of a speckle at the most; 0 = no speckles
  uint16_t speckleDifference = 256;  ///< by which speckles differ from all that is around them, at least
};

/// Spoils perfect raw values as sensors do: holes where the second lens does not see, or at sharp edges, and in a few
/// patches; noise of a step up or down; speckles, small islands of wrong values that touch nothing of their like. The
/// same numbers give the same picture on every target.
void addSensorNoise(uint16_t* raw, uint32_t width, uint32_t height, uint32_t frameNumber, const SensorNoise& noise);

}  // namespace tavrix
