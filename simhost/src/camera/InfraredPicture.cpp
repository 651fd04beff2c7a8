#include "camera/InfraredPicture.h"

#include "scene/Hash.h"
#include "scene/WideVectors.h"

namespace tavrix {
namespace {

enum Purpose : uint32_t { kDot = 200, kNoise };

/// What all pixels of a row share.
struct Row {
  uint32_t width, number;
  uint32_t seed;  ///< of the noise at the row's first pixel
};

inline bool both(bool a, bool b) {
  return (static_cast<unsigned>(a) & static_cast<unsigned>(b)) != 0;
}

/// Light of the dot pattern at a place of the projector's image. The image is divided into square cells, most of which
/// hold one dot. `place` may be negative, down to -65536.
template <uint32_t cell>
inline int dotAt(int place, uint32_t row) {
  const auto column = static_cast<uint32_t>(place + 65536);
  const uint32_t bits = hash(column / cell, row / cell, kDot);
  const uint32_t dx = column % cell - (bits >> 3) % cell;
  const uint32_t dy = row % cell - (bits >> 11) % cell;
  const int rim = both(dx + dy == 1, dx < 2) ? 45 : 0;
  const int light = both(dx == 0, dy == 0) ? 130 : rim;
  return bits % 8 >= 6 ? 0 : light;
}

/// Makes a row of the picture from its light, in which the dots are added by their depth, and from the sensor's noise.
/// It has no branches, so that it is vectorised; constant cells let it divide without a division.
///   pixels: the depth at each pixel in millimetres; the picture replaces it
template <uint32_t cell>
void makeRowOf(const Row& row, const InfraredSensor& sensor, const uint8_t* __restrict light,
               uint16_t* __restrict pixels) {
  const double dotScale = sensor.dotScale;
  const int largest = sensor.largest;
  const int noise = sensor.isClean ? 0 : largest + 1;
  const uint32_t number = row.number;
  const uint32_t seed = row.seed;
  const int width = static_cast<int>(row.width);
  for (int x = 0; x < width; ++x) {
    const int depth = pixels[x];
    const double shift = dotScale / (depth == 0 ? 1 : depth);
    const double kept = shift < -30000.0 ? -30000.0 : shift > 30000.0 ? 30000.0 : shift;
    const int near = depth < 8000 ? depth : 8000;
    const int falloff = 1024 + near * near / 4096;
    const int dot = dotAt<cell>(x - static_cast<int>(kept), number) * 2048;
    // Both numbers are small enough for the quotient to be that of whole numbers.
    const int dotLight = static_cast<int>(static_cast<float>(dot) / static_cast<float>(falloff));
    const bool isLit = both(dotScale != 0, depth != 0);
    const int value = (light[x] * 7 / 8 + (isLit ? dotLight : 0)) * largest / 255;
    const auto bits = static_cast<int>(hash(static_cast<uint32_t>(x) + seed) & 63);
    const int noisy = value + ((bits & 7) + (bits >> 3) - 7) * noise / 1024;
    pixels[x] = static_cast<uint16_t>(noisy < 0 ? 0 : noisy > largest ? largest : noisy);
  }
}

TAVRIX_WIDE void makeRow(uint32_t cell, const Row& row, const InfraredSensor& sensor, const uint8_t* light,
                         uint16_t* pixels) {
  switch (cell) {
    case 4:
      return makeRowOf<4>(row, sensor, light, pixels);
    case 5:
      return makeRowOf<5>(row, sensor, light, pixels);
    case 6:
      return makeRowOf<6>(row, sensor, light, pixels);
    case 7:
      return makeRowOf<7>(row, sensor, light, pixels);
    case 8:
      return makeRowOf<8>(row, sensor, light, pixels);
    default:
      return makeRowOf<9>(row, sensor, light, pixels);
  }
}

}  // namespace

void makeInfraredPicture(const Scene& scene, const View& view, uint32_t frameNumber, const InfraredSensor& sensor,
                         uint16_t* pixels, std::vector<uint8_t>& scratch) {
  const uint32_t width = view.lens.width;
  scratch.resize(static_cast<size_t>(width) * view.lens.height);
  // The depth, which places the dots, waits in `pixels` until the picture overwrites it.
  scene.render(view, frameNumber, {pixels, scratch.data(), nullptr});
  const uint32_t cell = 4 + width / 800;  // 9 at most, as views have at most 4096 columns
  const uint32_t seed = hash(frameNumber, sensor.sensorCode, kNoise);
  for (uint32_t y = 0; y < view.lens.height; ++y) {
    const size_t first = static_cast<size_t>(y) * width;
    const Row row{width, y, static_cast<uint32_t>(first) + seed};
    makeRow(cell, row, sensor, scratch.data() + first, pixels + first);
  }
}

}  // namespace tavrix
