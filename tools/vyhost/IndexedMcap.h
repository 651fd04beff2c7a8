#pragma once

#include <string>
#include <vector>

#include "McapContent.h"

namespace vyhost {

/// A complete MCAP file: these messages of a content in compressed chunks with checksums, indexes and statistics.
std::string indexedMcap(const McapContent& content, const std::vector<McapMessage>& messages);

}  // namespace vyhost
