// What a recording shows of its host: frames, profiles and devices, which cannot be made from outside.
#pragma once

#include <string>

#include "CheckReport.h"
#include "Recording.h"

namespace vyhost {

/// Makes all checks, or the one of that name. Throws Failure if there is none.
CheckReport checkRecording(const Recording& recording, const std::string& only = {});

}  // namespace vyhost
