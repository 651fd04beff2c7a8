#include "CameraFamilies.h"

#include <fmt/format.h>

namespace vyhost {
namespace {

/// A recording tells a camera's ids but not which list the library found them in. Depth chains differ from family to
/// family, though, by the filters before FrameMirror, the arguments of NoiseRemovalFilter, and whose DisparityTransform
/// it is.
struct Family {
  const char* name;
  const char* filters;  ///< "own:" before those of the library
  const char* noiseArguments;
};

constexpr Family kFamilies[] = {
    {"Talon",
     "TalonFrameUnpacker NoiseRemovalFilter DisparityTransform own:HardwareD2CProcessor HardwareD2DCorrectionFilter",
     "80 256 848 480"},
    {"Mirel", "FrameUnpacker NoiseRemovalFilter DisparityTransform own:HardwareD2CProcessor", "240 512 1280 960"},
    {"Pellan", "TiberonDecompress NoiseRemovalFilter DisparityTransform own:HardwareD2CProcessor", "40 512 1280 800"},
    {"Corvid", "CorvidPixelOffsetFix FrameUnpacker NoiseRemovalFilter DisparityTransform own:HardwareD2CProcessor",
     "200 256 1280 800"},
    {"Halden", "FrameUnpacker NoiseRemovalFilter DisparityTransform own:HardwareD2CProcessor", "1000 256 800 600"},
    {"Ostrel", "NoiseRemovalFilter own:HardwareD2CProcessor", "50 10 640 576"},
    {"Vashti", "NoiseRemovalFilter", "50 10 640 576"},
    {"Sorrel", "FrameUnpacker DisparityTransform own:HardwareD2CProcessor", ""},
    {"SpecialOpenNI", "FrameUnpacker NoiseRemovalFilter own:DisparityTransform own:HardwareD2CProcessor",
     "400 256 1280 800"},
    {"NormalOpenNI", "FrameUnpacker NoiseRemovalFilter DisparityTransform own:HardwareD2CProcessor",
     "400 256 1280 800"},
};

}  // namespace

std::vector<std::string> familiesOf(const ProcessorStory& depthProcessor) {
  std::string filters, noiseArguments;
  for (const FilterStory& filter : depthProcessor.filters) {
    if (filter.name == "FrameMirror") break;
    filters += fmt::format("{}{}{}", filters.empty() ? "" : " ", filter.isOwn ? "own:" : "", filter.name);
    if (filter.name == "NoiseRemovalFilter") noiseArguments = fmt::format("{}", fmt::join(filter.arguments, " "));
  }
  std::vector<std::string> names;
  for (const Family& family : kFamilies) {
    if (filters == family.filters && (noiseArguments.empty() || noiseArguments == family.noiseArguments))
      names.push_back(family.name);
  }
  return names;
}

}  // namespace vyhost
