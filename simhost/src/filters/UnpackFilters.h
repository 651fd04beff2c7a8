#pragma once

#include <memory>

#include "filters/Filter.h"

namespace tavrix {

/// Packed or compressed pixels to 16-bit words. The two unpackers differ in the order of the bits.
std::unique_ptr<Filter> makeFrameUnpacker(const std::string& name);
std::unique_ptr<Filter> makeTalonFrameUnpacker(const std::string& name);
std::unique_ptr<Filter> makeTiberonDecompress(const std::string& name);

}  // namespace tavrix
