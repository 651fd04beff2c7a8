// What a recording shows of its host: frames, profiles and devices, which cannot be made from outside.
#pragma once

#include <string>

#include "CheckReport.h"
#include "Recording.h"

namespace vyhost {

/// Throws Failure for a file that cannot be read.
CheckReport checkRecording(const std::string& path);
CheckReport checkRecording(const Recording& recording);

}  // namespace vyhost
