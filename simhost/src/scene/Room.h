#pragma once

#include <cstdint>
#include <vector>

#include "scene/Scene.h"

namespace tavrix {

/// A place in millimetres (x to the right, y down, z forward), or a colour (red, green and blue, from 0 to 1).
struct Vector {
  float x, y, z;
};

inline Vector operator+(const Vector& a, const Vector& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline Vector operator-(const Vector& a, const Vector& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline Vector operator*(const Vector& a, float factor) {
  return {a.x * factor, a.y * factor, a.z * factor};
}
inline float dot(const Vector& a, const Vector& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

// Conditions without a branch, which would keep a loop from being vectorised.
inline bool both(bool a, bool b) {
  return (static_cast<unsigned>(a) & static_cast<unsigned>(b)) != 0;
}
inline bool either(bool a, bool b) {
  return (static_cast<unsigned>(a) | static_cast<unsigned>(b)) != 0;
}

/// A turn about the vertical.
struct Turn {
  float cosine = 1, sine = 0;

  Vector apply(const Vector& v) const { return {cosine * v.x + sine * v.z, v.y, cosine * v.z - sine * v.x}; }
  Vector undo(const Vector& v) const { return {cosine * v.x - sine * v.z, v.y, cosine * v.z + sine * v.x}; }
};

enum class Shape {
  box,
  sphere,
  cylinder  ///< upright
};

enum class Pattern { plain, wood, stripes, checker };

struct Body {
  Shape shape;
  Vector centre;
  Vector half;  ///< of a box: half its sides; of a round shape: x is the radius, and y half the height of a cylinder
  Turn turn;
  Vector colour;
  Pattern pattern;
  float gloss;  ///< 0 to 1
};

/// Surfaces that are not a body's. Bodies are numbered from `firstBody` on.
struct Surface {
  enum : int32_t { window, floor, ceiling, leftWall, rightWall, backWall, corridorWall, firstBody };
};

/// A rectangle on the back wall.
struct Panel {
  float left, right, top, bottom;

  bool holds(float x, float y) const { return both(both(x > left, x < right), both(y > top, y < bottom)); }
};

/// The room at one moment: what is in it, and where the camera is.
struct Room {
  static constexpr float kLeft = -2300, kRight = 2300, kFloor = 1100, kCeiling = -1300, kBack = 4600;
  static constexpr float kCorridorBack = 5700;
  static constexpr Panel kWindow{-1350, -550, -750, 250};
  static constexpr Panel kDoor{560, 1330, -650, kFloor};
  static constexpr Panel kPainting{-330, 380, -620, -60};
  static constexpr Panel kRug{-900, 1300, 1900, 3500};  // on the floor: its top and bottom are depths

  Vector eye;
  Turn heading;
  std::vector<Body> bodies;
};

Room layOutRoom(uint32_t frameNumber);

/// Finds what each pixel of a row of the view sees.
class RowTracer {
 public:
  RowTracer(const Room& room, const View& view);

  void trace(uint32_t row);

  // Of the row that was traced last. What a column sees lies at eye + direction * depth.
  const std::vector<int32_t>& surfaces() const { return surfaces_; }
  const std::vector<float>& depths() const { return depths_; }
  const Vector& eye() const { return eye_; }
  const std::vector<float>& directionsX() const { return directionX_; }
  float directionY() const { return directionY_; }
  const std::vector<float>& directionsZ() const { return directionZ_; }

 private:
  /// The pixels that may see a body, and the body's place from the eye.
  struct Target {
    const Body* body;
    int32_t surface;
    Vector place;
    uint32_t left, right, top, bottom;
  };

  Target aim(const Body& body, int32_t surface) const;
  void traceWalls();
  void openDoorAndWindow();
  void traceBox(const Target& target);
  void traceSphere(const Target& target);
  void traceCylinder(const Target& target);

  const Room& room_;
  const Pinhole lens_;
  const Vector eye_;
  std::vector<Target> targets_;
  float directionY_ = 0;
  std::vector<float> directionX_, directionZ_;
  std::vector<float> uprightDepths_, corridorDepths_;  // of the nearest upright wall, and of what is behind the door
  std::vector<int32_t> uprights_;
  std::vector<float> depths_;
  std::vector<int32_t> surfaces_;
};

/// Red, green and blue, a byte each, of what the pixels of the traced row see, by the light of the room.
void paintColours(const Room& room, const RowTracer& tracer, uint8_t* colours);
/// Brightness of the same by the lamp beside the camera.
void paintBrightness(const Room& room, const RowTracer& tracer, uint8_t* brightness);

}  // namespace tavrix
