#pragma once

#include <cstdint>
#include <memory>

namespace tavrix {

/// A lens without distortion. A pixel looks along ((x - cx) / fx, (y - cy) / fy, 1).
struct Pinhole {
  float fx, fy, cx, cy;
  uint32_t width, height;
};

/// The lens of a sensor, and where it sits.
struct View {
  Pinhole lens;
  float rightMm;  ///< to the right of the depth sensor
};

/// Where a picture goes, row by row. Parts that are null are not computed.
struct Picture {
  uint16_t* depth = nullptr;      ///< millimetres along the forward axis; 0 = nothing in range
  uint8_t* brightness = nullptr;  ///< in the light of a lamp beside the camera
  uint8_t* colour = nullptr;      ///< red, green, blue
};

/// Something to look at. The picture depends on nothing but the view and the frame's number.
class Scene {
 public:
  virtual ~Scene() = default;
  virtual void render(const View& view, uint32_t frameNumber, const Picture& picture) const = 0;
};

/// The embedded scene: a furnished room in which a few things move, seen by a camera that sways.
std::unique_ptr<Scene> makeRoomScene();

/// A scene that shows a depth image in millimetres, which is copied and scaled to the size of every view.
std::unique_ptr<Scene> makeImageScene(const uint16_t* depth, uint32_t width, uint32_t height);

}  // namespace tavrix
