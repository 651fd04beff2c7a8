#pragma once

#include <cstdint>
#include <memory>

namespace tavrix {

/// A camera without a lens's faults. A pixel is seen along ((x - cx) / fx, (y - cy) / fy, 1).
struct Pinhole {
  float fx, fy, cx, cy;
  uint32_t width, height;
};

/// What a sensor looks through, and where it sits.
struct View {
  Pinhole lens;
  float rightMm;  ///< to the right of the depth sensor
};

/// Where a picture goes, row by row; what is null is not wanted, and not computed.
struct Picture {
  uint16_t* depth = nullptr;      ///< millimetres along the line of sight's forward axis; 0 = nothing in range
  uint8_t* brightness = nullptr;  ///< in the light of a lamp beside the camera
  uint8_t* colour = nullptr;      ///< red, green, blue
};

/// Something to look at. What is seen depends on the view and the frame's number only.
class Scene {
 public:
  virtual ~Scene() = default;
  virtual void render(const View& view, uint32_t frameNumber, const Picture& picture) const = 0;
};

/// The embedded scene: a furnished room, the camera swaying before it, a few things moving in it.
std::unique_ptr<Scene> makeRoomScene();

/// A depth image in millimetres, copied, which does not move. Fitted to every view's size.
std::unique_ptr<Scene> makeImageScene(const uint16_t* depth, uint32_t width, uint32_t height);

}  // namespace tavrix
