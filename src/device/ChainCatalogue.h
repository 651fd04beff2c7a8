#pragma once

#include <map>
#include <vector>

#include "processor/FilterConfig.h"

namespace deviceInfoConfig {

/// The chains of the family that a camera belongs to, by sensor; none for an unknown camera. The function tables of the
/// records are still empty.
std::map<VYSensorType, std::vector<FilterConfig>> makeFamilyChains(unsigned vid, unsigned pid);

}  // namespace deviceInfoConfig
