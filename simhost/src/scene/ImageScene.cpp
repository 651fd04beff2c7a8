#include <algorithm>
#include <cmath>
#include <vector>

#include "scene/Scene.h"

namespace tavrix {
namespace {

class ImageScene final : public Scene {
 public:
  ImageScene(const uint16_t* depth, uint32_t width, uint32_t height)
      : width_(width), height_(height), depth_(depth, depth + static_cast<size_t>(width) * height) {}

  void render(const View& view, uint32_t, const Picture& picture) const override {
    const uint32_t width = view.lens.width;
    std::vector<uint32_t> columns(width);
    for (uint32_t x = 0; x < width; ++x) columns[x] = scaled(x, width, width_);
    for (uint32_t y = 0; y < view.lens.height; ++y) {
      const uint32_t sourceRow = scaled(y, view.lens.height, height_);
      for (uint32_t x = 0; x < width; ++x) {
        const size_t pixel = static_cast<size_t>(y) * width + x;
        if (picture.depth != nullptr) picture.depth[pixel] = at(columns[x], sourceRow);
        if (picture.brightness == nullptr && picture.colour == nullptr) continue;
        const int shade = shadeAt(columns[x], sourceRow);
        if (picture.brightness != nullptr) picture.brightness[pixel] = static_cast<uint8_t>(shade);
        if (picture.colour != nullptr) tint(shade, at(columns[x], sourceRow), picture.colour + pixel * 3);
      }
    }
  }

 private:
  /// The pixel of the image under the centre of a pixel of the view.
  static uint32_t scaled(uint32_t place, uint32_t size, uint32_t imageSize) {
    return static_cast<uint32_t>((uint64_t{place} * 2 + 1) * imageSize / (uint64_t{size} * 2));
  }

  uint16_t at(uint32_t x, uint32_t y) const { return depth_[static_cast<size_t>(y) * width_ + x]; }

  /// Slope between two places `steps` pixels apart, between -1 and 1; 0 over a hole or an edge.
  static float slope(int before, int after, int depth, float steps) {
    if (before == 0 || after == 0 || std::abs(after - before) > depth / 8) return 0;
    // The depth of a surface at 45 degrees changes by depth / focal length a pixel. Focal lengths are near 500.
    const float steep = static_cast<float>(after - before) * 500.0F / (static_cast<float>(depth) * steps);
    return steep / std::sqrt(1 + steep * steep);
  }

  /// Shade of a place. Surfaces are shaded by their slopes and darker far away, as the image has no brightness.
  int shadeAt(uint32_t x, uint32_t y) const {
    const int depth = at(x, y);
    if (depth == 0) return 12;
    const uint32_t reach = 1 + width_ / 200;  // so far that the noise of the image does not show
    const auto steps = static_cast<float>(2 * reach);
    const float across = slope(at(x > reach ? x - reach : 0, y), at(std::min(x + reach, width_ - 1), y), depth, steps);
    const float down = slope(at(x, y > reach ? y - reach : 0), at(x, std::min(y + reach, height_ - 1)), depth, steps);
    const float light = 0.75F + 0.2F * across - 0.25F * down;
    const float falloff = 1 / (0.75F + static_cast<float>(depth) * static_cast<float>(depth) * (1 / 2.5e7F));
    return static_cast<int>(std::clamp(light * falloff * 200, 12.0F, 255.0F));
  }

  /// Warm where it is near, cool where it is far.
  static void tint(int shade, int depth, uint8_t* colour) {
    const int far = std::min(depth, 6000) * 100 / 6000;
    colour[0] = static_cast<uint8_t>(shade * (100 - far * 45 / 100) / 100);
    colour[1] = static_cast<uint8_t>(shade * (92 - far * 12 / 100) / 100);
    colour[2] = static_cast<uint8_t>(shade * (70 + far * 30 / 100) / 100);
  }

  const uint32_t width_, height_;
  const std::vector<uint16_t> depth_;
};

}  // namespace

std::unique_ptr<Scene> makeImageScene(const uint16_t* depth, uint32_t width, uint32_t height) {
  return std::make_unique<ImageScene>(depth, width, height);
}

}  // namespace tavrix
