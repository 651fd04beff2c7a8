// The depth-to-colour parameters that a person gives for a run.
#pragma once

#include <TavrixSDK.h>

#include <cstdint>
#include <string>

namespace vycam {

/// The setting that switches the alignment.
constexpr const char* kAlignmentSwitch = "HardwareD2CProcessor#255";

struct HardwareD2C {
  float scale = 1.0F;
  int16_t left = 0, top = 0, right = 0, bottom = 0;  ///< borders in output pixels; negative ones cut
  bool apply = true;  ///< false: keep the size where possible, and scale the intrinsics instead
};

/// Reads "scale=1.5,left=8,top=0,right=8,bottom=0,apply=1", in any order; what is left out keeps its default.
HardwareD2C parseHardwareD2C(const std::string& text);

/// The intrinsics of a depth image after scaling and bordering; an impossible size is a Failure.
VYCameraIntrinsic scaledIntrinsic(const VYCameraIntrinsic& depth, uint32_t width, uint32_t height,
                                  const HardwareD2C& parameters);

}  // namespace vycam
