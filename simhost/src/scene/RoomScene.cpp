#include "scene/Room.h"
#include "scene/WideVectors.h"

namespace tavrix {
namespace {

TAVRIX_WIDE void writeDepths(const RowTracer& tracer, uint16_t* __restrict millimetres) {
  const auto width = static_cast<uint32_t>(tracer.surfaces().size());
  const int32_t* __restrict surfaces = tracer.surfaces().data();
  const float* __restrict depths = tracer.depths().data();
  for (uint32_t x = 0; x < width; ++x) {
    const float kept = depths[x] < 0 ? 0 : depths[x] > 65535 ? 65535 : depths[x];
    const int depth = static_cast<int>(kept + 0.5F);
    millimetres[x] = static_cast<uint16_t>(surfaces[x] == Surface::window ? 0 : depth);
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
      if (picture.brightness != nullptr) paintBrightness(room, tracer, picture.brightness + row);
      if (picture.colour != nullptr) paintColours(room, tracer, picture.colour + row * 3);
    }
  }
};

}  // namespace

std::unique_ptr<Scene> makeRoomScene() {
  return std::make_unique<RoomScene>();
}

}  // namespace tavrix
