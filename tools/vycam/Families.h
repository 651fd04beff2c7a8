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

std::vector<FamilyChains> chainsOf(const Library& library, const std::vector<const vysim_family*>& families);

/// The family of that name, or of that USB id ("3E71:414B"); an unknown one is a Failure.
const vysim_family& parseFamilyOrId(const std::string& text);

}  // namespace vycam
