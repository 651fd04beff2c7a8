#include "camera/InfraredPicture.h"

#include <algorithm>

#include "scene/Hash.h"

namespace tavrix {
namespace {

enum Purpose : uint32_t { kDot = 200, kNoise };

/// Light of the dot pattern at a place of the projector's image. The image is divided into square cells, most of which
/// hold one dot. `place` may be negative, down to -65536.
int dotAt(int place, uint32_t row, uint32_t cell) {
  const auto column = static_cast<uint32_t>(place + 65536);
  const uint32_t bits = hash(column / cell, row / cell, kDot);
  if (bits % 8 >= 6) return 0;
  const uint32_t dx = column % cell - (bits >> 3) % cell;
  const uint32_t dy = row % cell - (bits >> 11) % cell;
  return dx == 0 && dy == 0 ? 130 : dx + dy == 1 && dx < 2 ? 45 : 0;
}

}  // namespace

void makeInfraredPicture(const Scene& scene, const View& view, uint32_t frameNumber, const InfraredSensor& sensor,
                         uint16_t* pixels, std::vector<uint8_t>& scratch) {
  const uint32_t width = view.lens.width;
  const size_t count = static_cast<size_t>(width) * view.lens.height;
  scratch.resize(count);
  // The depth, which places the dots, waits in `pixels` until the picture overwrites it.
  scene.render(view, frameNumber, {pixels, scratch.data(), nullptr});
  const uint32_t cell = 4 + width / 800;
  const uint32_t seed = hash(frameNumber, sensor.sensorCode, kNoise);
  for (size_t i = 0; i < count; ++i) {
    const int depth = pixels[i];
    int light = scratch[i] * 7 / 8;
    if (sensor.dotScale != 0 && depth != 0) {
      const auto x = static_cast<int>(i % width);
      const int place = x - static_cast<int>(std::clamp(sensor.dotScale / depth, -30000.0, 30000.0));
      const int falloff = 1024 + std::min(depth, 8000) * std::min(depth, 8000) / 4096;
      light += dotAt(place, static_cast<uint32_t>(i / width), cell) * 2048 / falloff;
    }
    int value = light * sensor.largest / 255;
    if (!sensor.isClean) {
      const uint32_t bits = hash(static_cast<uint32_t>(i) + seed);
      value += (static_cast<int>((bits & 7) + (bits >> 3 & 7)) - 7) * (sensor.largest + 1) / 1024;
    }
    pixels[i] = static_cast<uint16_t>(std::clamp<int>(value, 0, sensor.largest));
  }
}

}  // namespace tavrix
