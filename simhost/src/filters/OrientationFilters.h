#pragma once

#include <memory>

#include "filters/Filter.h"

namespace tavrix {

/// Mirror left-right, flip top-bottom, rotate clockwise: frames of whole bytes per pixel (Y16, Y8, RGB).
std::unique_ptr<Filter> makeFrameMirror(const std::string& name);
std::unique_ptr<Filter> makeFrameFlip(const std::string& name);
std::unique_ptr<Filter> makeFrameRotate(const std::string& name);

}  // namespace tavrix
