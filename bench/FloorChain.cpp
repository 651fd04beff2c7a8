#include "FloorChain.h"

#include <algorithm>
#include <string_view>

namespace {

bool admits(const std::string_view name, VYFormat format, VYPixelType pixelType) {
  const int code = format;
  const bool packed = (code >= 10 && code <= 12) || code == 21 || code == 24;
  if (name == "FrameUnpacker" || name == "TalonFrameUnpacker") return packed;
  if (name == "CorvidPixelOffsetFix") return code == 8 && pixelType == VY_PIXEL_DISPARITY;
  return true;
}

}  // namespace

FloorChain::FloorChain(std::vector<FilterConfig> records, FloorRegistry& registry, VYFormat format,
                       VYPixelType pixelType)
    : records_(std::move(records)) {
  for (FilterConfig& record : records_) {
    floor_link& link = links_.emplace_back();
    link.is_own = record.kind == FilterConfig::kPrivateFilter;
    link.is_hardware_d2c = record.name == "HardwareD2CProcessor";
    link.name = record.name.c_str();
    if (link.is_own) link.name = link.is_hardware_d2c ? "DepthResize" : "OpenNIDisparityTransform";
    link.enabled = record.enabled == 1;
    link.admitted = admits(record.name, format, pixelType);
    link.argc = static_cast<std::uint8_t>(record.initialArgs.size());
    std::copy(record.initialArgs.begin(), record.initialArgs.end(), link.argv);
    link.items = record.exposedItems.data();
    link.item_count = record.exposedItems.size();
  }
  chain_ = {links_.data(), links_.size(), registry.get(), {}};
}
