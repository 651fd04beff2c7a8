// What a run was, for people and for machines.
#pragma once

#include <string>

#include "OutputFolder.h"
#include "Stream.h"

namespace vycam {

/// What a filter took in each frame; null for one that did not run.
const FilterTime* timeOf(const ChainLink& link, const TimeReport& time);

void printSummary(const StreamResult& result, const StreamOptions& options, const OutputFolder& folder);

/// The same as one JSON object. Keys that end in _s are seconds.
void printJsonSummary(const StreamResult& result, const StreamOptions& options, const OutputFolder& folder);

}  // namespace vycam
