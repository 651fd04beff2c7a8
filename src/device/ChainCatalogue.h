#pragma once

#include <vector>

#include "processor/FilterConfig.h"
#include "processor/TableView.h"

struct FilterRow;

/// The chain of one sensor: the rows of the table in order, then those of its orientation tail.
struct SensorChain {
  int sensorType;
  TableView<FilterRow> filters;
  TableView<FilterRow> tail;
};

namespace deviceInfoConfig {

/// The chains of the family that a camera belongs to; no chains for an unknown camera.
TableView<SensorChain> findFamilyChains(unsigned vid, unsigned pid);

/// A chain as records whose function tables are still empty.
std::vector<FilterConfig> makeChain(const SensorChain& chain);

}  // namespace deviceInfoConfig
