#pragma once

#include <string>

#include "Story.h"

namespace vyhost {

/// A story for machines. docs/show.md tells the keys.
std::string storyJson(const std::string& file, const Recording& recording, const Story& story);

}  // namespace vyhost
