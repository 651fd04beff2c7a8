#pragma once

#include <vector>

#include "FilterNames.h"
#include "Story.h"

namespace vyhost {

/// The references that the library took and did not give back, and those that it gave back too often. Contexts and
/// processors are the host's to give back.
std::vector<Leftover> findLeftovers(const Recording& recording, const FilterNames& names, std::uint64_t begin);

}  // namespace vyhost
