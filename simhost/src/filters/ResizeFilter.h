#pragma once

#include <memory>

#include "filters/Filter.h"

namespace tavrix {

/// Scales a depth frame and adds or cuts borders.
std::unique_ptr<Filter> makeDepthResize(const std::string& name);

}  // namespace tavrix
