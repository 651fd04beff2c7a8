#pragma once

#include <memory>

#include "filters/Filter.h"

namespace tavrix {

/// Disparity to depth. The OpenNI kind offers every parameter as an item.
std::unique_ptr<Filter> makeDisparityTransform(const std::string& name);
std::unique_ptr<Filter> makeOpenNiDisparityTransform(const std::string& name);

}  // namespace tavrix
