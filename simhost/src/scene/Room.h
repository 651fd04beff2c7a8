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

  bool holds(float x, float y) const { return x > left && x < right && y > top && y < bottom; }
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

/// A line of sight. What is seen lies at eye + direction * depth.
struct Sight {
  Vector eye, direction;
  float depth;
};

/// Finds what each pixel of a row of the view sees.
class RowTracer {
 public:
  RowTracer(const Room& room, const View& view);

  void trace(uint32_t row);

  // Of the row that was traced last, by column.
  const std::vector<int32_t>& surfaces() const { return surfaces_; }
  const std::vector<float>& depths() const { return depths_; }
  Sight sight(uint32_t column) const {
    return {eye_, {directionX_[column], directionY_, directionZ_[column]}, depths_[column]};
  }

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
  std::vector<float> directionX_, directionZ_, depths_;
  std::vector<int32_t> surfaces_;
};

/// Colour of a surface where the line of sight ends, by the light of the room.
Vector paintColour(const Room& room, int32_t surface, const Sight& sight);
/// Brightness of the same place by the lamp beside the camera, from 0 on. Above 1, it is too bright for the sensor.
float paintBrightness(const Room& room, int32_t surface, const Sight& sight);

}  // namespace tavrix
