#pragma once

#include <memory>

#include "filters/Filter.h"

namespace tavrix {

/// Repairs of what sensors do wrong: a late read-out, speckles, a depth that is off by scale and offset.
std::unique_ptr<Filter> makePixelOffsetFix(const std::string& name);
std::unique_ptr<Filter> makeNoiseRemoval(const std::string& name);
std::unique_ptr<Filter> makeDepthCorrection(const std::string& name);

}  // namespace tavrix
