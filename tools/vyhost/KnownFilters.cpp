#include "KnownFilters.h"

#include <algorithm>

namespace vyhost {

const std::vector<KnownFilter>& knownFilters() {
  static const std::vector<KnownFilter> all = {
      {"CorvidPixelOffsetFix"},
      {"DepthResize", true, {}, {{"960", "720", "1.500000000", "0", "0", "0", "0"}}},
      {"DisparityTransform", false, {2}},
      {"FrameFlip"},
      {"FrameMirror"},
      {"FrameRotate", false, {0}},
      {"FrameUnpacker"},
      {"HardwareD2DCorrectionFilter"},
      {"NoiseRemovalFilter",
       false,
       {0, 1},
       {{"80", "256", "848", "480"},
        {"240", "512", "1280", "960"},
        {"40", "512", "1280", "800"},
        {"200", "256", "1280", "800"},
        {"1000", "256", "800", "600"},
        {"50", "10", "640", "576"},
        {"400", "256", "1280", "800"}}},
      {"OpenNIDisparityTransform", true, {2, 3, 4, 5, 6, 7, 8, 9}},
      {"TalonFrameUnpacker"},
      {"TiberonDecompress"},
  };
  return all;
}

const KnownFilter* findKnownFilter(std::string_view name) {
  const auto& all = knownFilters();
  const auto found =
      std::find_if(all.begin(), all.end(), [name](const KnownFilter& each) { return name == each.name; });
  return found != all.end() ? &*found : nullptr;
}

}  // namespace vyhost
