#include "PointCloud.h"

#include <fmt/format.h>

#include <cstddef>

namespace vycam {
namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "numbers in memory are taken as little-endian");

constexpr size_t kPerPoint = 3;  // coordinates, and bytes of colour

}  // namespace

PointCloud pointsOf(const GreyImage& depth, const VYCameraIntrinsic& intrinsic, const std::vector<uint8_t>& rgb) {
  PointCloud cloud;
  for (size_t i = 0; i < depth.pixels.size(); ++i) {
    if (depth.pixels[i] == 0) {
      continue;
    }
    const auto z = static_cast<float>(depth.pixels[i]);
    const float x = (static_cast<float>(i % depth.width) - intrinsic.cx) / intrinsic.fx * z;
    const float y = (static_cast<float>(i / depth.width) - intrinsic.cy) / intrinsic.fy * z;
    cloud.places.insert(cloud.places.end(), {x, y, z});
    if (!rgb.empty()) {
      cloud.colours.insert(cloud.colours.end(), &rgb[kPerPoint * i], &rgb[kPerPoint * i] + kPerPoint);
    }
  }
  return cloud;
}

std::string plyOf(const PointCloud& cloud) {
  const size_t count = cloud.places.size() / kPerPoint;
  std::string bytes = fmt::format(
      "ply\nformat binary_little_endian 1.0\ncomment millimetres: x to the right, y down, z forward\n"
      "element vertex {}\nproperty float x\nproperty float y\nproperty float z\n{}end_header\n",
      count, cloud.colours.empty() ? "" : "property uchar red\nproperty uchar green\nproperty uchar blue\n");
  for (size_t i = 0; i < count; ++i) {
    bytes.append(reinterpret_cast<const char*>(&cloud.places[kPerPoint * i]), kPerPoint * sizeof(float));
    if (!cloud.colours.empty()) {
      bytes.append(reinterpret_cast<const char*>(&cloud.colours[kPerPoint * i]), kPerPoint);
    }
  }
  return bytes;
}

}  // namespace vycam
