#include <algorithm>

#include "scene/Room.h"

namespace tavrix {
namespace {

uint8_t toByte(float value) {
  const float rounded = std::clamp(value, 0.0F, 1.0F) * 255 + 0.5F;
  return static_cast<uint8_t>(rounded);
}

void writeDepths(const RowTracer& tracer, uint16_t* depths) {
  const std::vector<int32_t>& surfaces = tracer.surfaces();
  for (size_t x = 0; x < surfaces.size(); ++x) {
    const float depth = std::clamp(tracer.depths()[x], 0.0F, 65535.0F) + 0.5F;
    depths[x] = surfaces[x] == Surface::window ? uint16_t{0} : static_cast<uint16_t>(depth);
  }
}

void writeBrightness(const Room& room, const RowTracer& tracer, uint32_t width, uint8_t* brightness) {
  for (uint32_t x = 0; x < width; ++x) {
    brightness[x] = toByte(paintBrightness(room, tracer.surfaces()[x], tracer.sight(x)));
  }
}

void writeColours(const Room& room, const RowTracer& tracer, uint32_t width, uint8_t* colours) {
  for (uint32_t x = 0; x < width; ++x, colours += 3) {
    const Vector colour = paintColour(room, tracer.surfaces()[x], tracer.sight(x));
    colours[0] = toByte(colour.x);
    colours[1] = toByte(colour.y);
    colours[2] = toByte(colour.z);
  }
}

class RoomScene final : public Scene {
 public:
  void render(const View& view, uint32_t frameNumber, const Picture& picture) const override {
    const Room room = layOutRoom(frameNumber);
    RowTracer tracer(room, view);
    const uint32_t width = view.lens.width;
    for (uint32_t y = 0; y < view.lens.height; ++y) {
      tracer.trace(y);
      const size_t row = static_cast<size_t>(y) * width;
      if (picture.depth != nullptr) writeDepths(tracer, picture.depth + row);
      if (picture.brightness != nullptr) writeBrightness(room, tracer, width, picture.brightness + row);
      if (picture.colour != nullptr) writeColours(room, tracer, width, picture.colour + row * 3);
    }
  }
};

}  // namespace

std::unique_ptr<Scene> makeRoomScene() {
  return std::make_unique<RoomScene>();
}

}  // namespace tavrix
