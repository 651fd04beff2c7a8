#pragma once

#include <cstdint>
#include <vector>

#include "scene/Scene.h"

namespace tavrix {

/// What an infrared sensor has of its own.
struct InfraredSensor {
  double dotScale;      ///< disparity in pixels * depth of the projector's dots, as this sensor sees it; 0 = no dots
  uint16_t largest;     ///< brightness
  bool isClean;         ///< no noise
  uint32_t sensorCode;  ///< tells the noise of one sensor from that of another
};

/// Makes an infrared image: the scene by lamp light, with projected dots, and noise. Reuses `scratch`.
void makeInfraredPicture(const Scene& scene, const View& view, uint32_t frameNumber, const InfraredSensor& sensor,
                         uint16_t* pixels, std::vector<uint8_t>& scratch);

}  // namespace tavrix
