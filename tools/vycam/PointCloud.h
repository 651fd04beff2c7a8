// Depth images as points in space.
#pragma once

#include <TavrixSDK.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Image.h"

namespace vycam {

/// Points as the depth camera sees them, in millimetres: x to the right, y down, z forward.
struct PointCloud {
  std::vector<float> places;     ///< x, y, z of each point
  std::vector<uint8_t> colours;  ///< red, green, blue of each point; empty without colours
};

/// A point for each pixel of `depth` (in millimetres) that is not 0. `rgb` is empty or has three bytes a pixel.
PointCloud pointsOf(const GreyImage& depth, const VYCameraIntrinsic& intrinsic, const std::vector<uint8_t>& rgb = {});

/// The bytes of a binary, little-endian PLY file.
std::string plyOf(const PointCloud& cloud);

}  // namespace vycam
