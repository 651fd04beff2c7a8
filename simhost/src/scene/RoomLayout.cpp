// What stands in the room, and how it moves.
#include "scene/Room.h"

namespace tavrix {
namespace {

/// A soft wave from -1 to 1 and back in `period` frames. It needs no trigonometry, which differs between targets.
float swing(uint32_t frame, uint32_t period, uint32_t start) {
  const float phase = static_cast<float>((frame + start) % period) / static_cast<float>(period);
  const float triangle = phase < 0.5F ? 4 * phase - 1 : 3 - 4 * phase;
  return triangle * (1.5F - 0.5F * triangle * triangle);
}

/// A turn by twice the angle whose tangent is `tangent`.
Turn turnByHalfTangent(float tangent) {
  const float square = tangent * tangent;
  return {(1 - square) / (1 + square), 2 * tangent / (1 + square)};
}

/// A steady turn, by a quarter in `period` frames. A square box then looks as it did before.
Turn quarterTurn(uint32_t frame, uint32_t period) {
  return turnByHalfTangent(0.41421356F * static_cast<float>(frame % period) / static_cast<float>(period));
}

constexpr Vector kOak{0.62F, 0.42F, 0.26F};
constexpr Vector kWalnut{0.40F, 0.27F, 0.19F};
constexpr Vector kCream{0.93F, 0.89F, 0.80F};
constexpr Vector kCoral{0.90F, 0.33F, 0.27F};
constexpr Vector kTeal{0.13F, 0.52F, 0.55F};
constexpr Vector kSun{0.96F, 0.73F, 0.24F};
constexpr Vector kLeaf{0.36F, 0.62F, 0.33F};
constexpr Vector kPlum{0.52F, 0.28F, 0.50F};
constexpr Vector kSky{0.40F, 0.60F, 0.85F};

void addTable(std::vector<Body>& bodies) {
  constexpr Vector kCentre{-700, 420, 2650};
  constexpr float kHalfWidth = 620;
  constexpr float kHalfDepth = 380;
  constexpr float kLeg = 42;
  bodies.push_back({Shape::box, kCentre, {kHalfWidth, 30, kHalfDepth}, {}, kOak, Pattern::wood, 0.1F});
  for (const float side : {-1.0F, 1.0F}) {
    for (const float end : {-1.0F, 1.0F}) {
      const Vector foot{kCentre.x + side * (kHalfWidth - 80), 775, kCentre.z + end * (kHalfDepth - 70)};
      bodies.push_back({Shape::box, foot, {kLeg, 325, kLeg}, {}, kOak * 0.8F, Pattern::wood, 0});
    }
  }
  bodies.push_back({Shape::sphere, {-980, 220, 2560}, {170, 170, 170}, {}, kCoral, Pattern::plain, 0.8F});
  bodies.push_back({Shape::cylinder, {-560, 250, 2760}, {95, 140, 95}, {}, kTeal, Pattern::stripes, 0.4F});
}

}  // namespace

Room layOutRoom(uint32_t frame) {
  Room room;
  room.eye = {140 * swing(frame, 300, 75), 30 * swing(frame, 180, 45), 60 * swing(frame, 240, 60)};
  room.heading = turnByHalfTangent(0.03F * swing(frame, 300, 150));

  std::vector<Body>& bodies = room.bodies;
  addTable(bodies);
  // A turning crate with a ball on it.
  bodies.push_back(
      {Shape::box, {780, 770, 2500}, {310, 330, 310}, quarterTurn(frame, 150), kSun, Pattern::checker, 0.1F});
  bodies.push_back({Shape::sphere, {780, 250, 2500}, {190, 190, 190}, {}, kLeaf, Pattern::stripes, 0.5F});
  // A wardrobe and a column at the back.
  bodies.push_back({Shape::box, {1850, 50, 4150}, {390, 1050, 380}, {}, kWalnut, Pattern::wood, 0.1F});
  bodies.push_back({Shape::cylinder, {-1850, -100, 3800}, {190, 1200, 190}, {}, kCream, Pattern::plain, 0.1F});
  // Close by: a box at the lower edge, and a ball that swings to and fro.
  bodies.push_back({Shape::box,
                    {-330, 345, 900},
                    {190, 70, 130},
                    turnByHalfTangent(0.22F + 0.08F * swing(frame, 210, 0)),
                    kSky,
                    Pattern::checker,
                    0.2F});
  bodies.push_back({Shape::sphere,
                    {390 + 190 * swing(frame, 160, 80), -190 + 60 * swing(frame, 80, 20), 1250},
                    {125, 125, 125},
                    {},
                    kPlum,
                    Pattern::plain,
                    0.9F});
  return room;
}

}  // namespace tavrix
