#pragma once

#include <string>
#include <vector>

#include "Story.h"

namespace vyhost {

/// The camera families whose depth chain asks for the same filters as this one. Several if the filters that tell them
/// apart could not be made; none for a chain that no family has.
std::vector<std::string> familiesOf(const ProcessorStory& depthProcessor);

}  // namespace vyhost
