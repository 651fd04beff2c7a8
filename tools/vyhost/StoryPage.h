#pragma once

#include <string>

#include "Story.h"

namespace vyhost {

/// A story as one HTML page that needs nothing else.
std::string storyPage(const std::string& file, const Recording& recording, const Story& story);

}  // namespace vyhost
