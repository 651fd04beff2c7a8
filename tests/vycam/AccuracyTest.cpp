// Figures of pairs of images, and points of an image, by hand.
#include "Accuracy.h"

#include <gtest/gtest.h>

#include "PointCloud.h"

namespace {

using Pixels = std::vector<uint16_t>;

TEST(AccuracyTest, FiguresOfHandMadePairs) {
  Pixels rising(100), hundred(100, 1000);
  for (size_t i = 0; i < 100; ++i) rising[i] = static_cast<uint16_t>(1001 + i);
  const struct {
    const char* what;
    std::vector<std::pair<Pixels, Pixels>> frames;  // measured, true
    double validShare, ofScene;
    std::optional<int> median, most;  // 95 %
  } cases[] = {
      {"no frame", {}, 0, 0, {}, {}},
      {"equal", {{{5, 6}, {5, 6}}}, 1, 1, 0, 0},
      {"odd count, either sign", {{{110, 300, 480}, {100, 305, 500}}}, 1, 1, 10, 20},
      {"even count: the lower one", {{{101, 102, 103, 109}, {100, 100, 100, 100}}}, 1, 1, 2, 9},
      {"a hundred", {{rising, hundred}}, 1, 1, 50, 95},
      {"holes in either", {{{0, 107, 103, 0}, {100, 100, 0, 0}}}, 0.5, 0.5, 7, 7},
      {"holes do not count as errors of 0", {{{0, 0, 0, 109}, {7, 8, 0, 100}}}, 0.25, 1.0 / 3, 9, 9},
      {"none valid", {{{0, 0}, {100, 100}}}, 0, 0, {}, {}},
      {"none true", {{{100, 100, 100, 0}, {0, 0, 0, 0}}}, 0.75, 0, {}, {}},
      {"the largest error", {{{65535, 1}, {1, 65535}}}, 1, 1, 65534, 65534},
      {"frames add up", {{{101, 0}, {100, 100}}, {{105, 106, 0, 0}, {100, 100, 9, 9}}}, 0.5, 0.5, 5, 6},
  };
  for (const auto& c : cases) {
    vycam::Accuracy accuracy;
    for (const auto& [measured, truth] : c.frames) accuracy.add(measured, truth);
    EXPECT_EQ(accuracy.validShare(), c.validShare) << c.what;
    EXPECT_EQ(accuracy.validShareOfScene(), c.ofScene) << c.what;
    EXPECT_EQ(accuracy.medianError(), c.median) << c.what;
    EXPECT_EQ(accuracy.percentileError(95), c.most) << c.what;
  }
}

TEST(PointCloudTest, PixelsBecomePointsInSpace) {
  VYCameraIntrinsic lens{};
  lens.fx = 100, lens.fy = 50, lens.cx = 1, lens.cy = 0.5;
  const vycam::GreyImage depth{3, 2, {1000, 0, 0, 0, 2000, 500}};
  const std::vector<uint8_t> rgb = {1, 2, 3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 4, 5, 6, 7, 8, 255};
  const float places[][3] = {{-10, -10, 1000}, {0, 20, 2000}, {5, 5, 500}};
  const uint8_t colours[][3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 255}};
  for (const bool isColoured : {false, true}) {
    std::string bytes =
        "ply\nformat binary_little_endian 1.0\ncomment millimetres: x to the right, y down, z forward\n"
        "element vertex 3\nproperty float x\nproperty float y\nproperty float z\n";
    bytes += isColoured ? "property uchar red\nproperty uchar green\nproperty uchar blue\n" : "";
    bytes += "end_header\n";
    for (size_t i = 0; i < 3; ++i) {
      bytes.append(reinterpret_cast<const char*>(places[i]), sizeof places[i]);
      if (isColoured) bytes.append(reinterpret_cast<const char*>(colours[i]), sizeof colours[i]);
    }
    EXPECT_EQ(vycam::plyOf(vycam::pointsOf(depth, lens, isColoured ? rgb : std::vector<uint8_t>())), bytes);
  }
}

}  // namespace
