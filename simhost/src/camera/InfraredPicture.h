#pragma once

#include <cstdint>
#include <vector>

#include "scene/Scene.h"

namespace tavrix {

/// Properties of an infrared sensor.
struct InfraredSensor {
  double dotScale;      ///< disparity of a projected dot in pixels, times its depth in millimetres; 0 = no dots
  uint16_t largest;     ///< largest brightness
  bool isClean;         ///< no noise
  uint32_t sensorCode;  ///< gives each sensor a noise of its own
};

/// Makes an infrared image: the scene by lamp light, projected dots, and noise. `scratch` keeps memory between calls.
void makeInfraredPicture(const Scene& scene, const View& view, uint32_t frameNumber, const InfraredSensor& sensor,
                         uint16_t* pixels, std::vector<uint8_t>& scratch);

}  // namespace tavrix
