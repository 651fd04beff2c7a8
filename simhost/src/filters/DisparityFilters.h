#pragma once

#include <memory>

#include "filters/Filter.h"

namespace tavrix {

/// Disparity to depth in millimetres; the OpenNI kind lets every parameter be set.
std::unique_ptr<Filter> makeDisparityTransform(const std::string& name);
std::unique_ptr<Filter> makeOpenNiDisparityTransform(const std::string& name);

}  // namespace tavrix
