// Every camera family with the chains that the library has for it.
#pragma once

#include <string>
#include <vector>

#include "Chain.h"
#include "Library.h"
#include "Schema.h"
#include "Selection.h"

namespace vycam {

struct SensorChain {
  VYSensorType sensor = VY_SENSOR_UNKNOWN;
  Chain chain;
  Schema schema;
};

struct FamilyChains {
  const vysim_family* family = nullptr;
  std::vector<std::string> recognisedBy;  ///< a text for the ids the library knows, one for those the host hands over
  std::vector<SensorChain> sensors;
};

std::vector<FamilyChains> chainsOfAllFamilies(const Library& library);

}  // namespace vycam
