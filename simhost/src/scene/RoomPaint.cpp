// Colours, patterns and light of the room.
#include <algorithm>
#include <cmath>

#include "scene/Hash.h"
#include "scene/Room.h"

namespace tavrix {
namespace {

constexpr Vector kLamp{200, -1150, 1700};

Vector mix(const Vector& a, const Vector& b, float share) {
  return a * (1 - share) + b * share;
}

Vector unit(const Vector& v) {
  return v * (1 / std::sqrt(dot(v, v)));
}

/// Number of the stripe, `width` wide, in which a place lies. Places are within a thousand stripes of 0.
int stripe(float place, float width) {
  return static_cast<int>(place / width + 1024) - 1024;
}

/// A random-looking number from 0 to 1, always the same for the same arguments.
float chance(int a, int b) {
  return static_cast<float>(hash(static_cast<uint32_t>(a), static_cast<uint32_t>(b), 1) & 255) / 255;
}

/// Planks along `along`, each with its own tone, dark lines between them.
Vector wood(const Vector& colour, float across, float along, float width, float length) {
  const int plank = stripe(across, width);
  const float shifted = along + length * chance(plank, 0);
  const int piece = stripe(shifted, length);
  const float edge = across - static_cast<float>(plank) * width;
  const float end = shifted - static_cast<float>(piece) * length;
  const bool isGap = edge < 6 || end < 6;
  const float grain = 0.04F * chance(stripe(across, 11), stripe(along, 160));
  return colour * (isGap ? 0.55F : 0.82F + 0.22F * chance(plank, piece) + grain);
}

Vector checker(const Vector& colour, float a, float b, float size) {
  return ((stripe(a, size) + stripe(b, size)) & 1) != 0 ? colour : mix(colour, {1, 1, 1}, 0.55F);
}

Vector floorColour(float x, float z) {
  if (Room::kRug.holds(x, z)) {
    const float edge = std::min(std::min(x - Room::kRug.left, Room::kRug.right - x),
                                std::min(z - Room::kRug.top, Room::kRug.bottom - z));
    if (edge < 45 || (edge > 110 && edge < 135)) return {0.90F, 0.84F, 0.72F};
    return checker({0.48F, 0.16F, 0.20F}, x + z, x - z, 260);
  }
  return wood({0.66F, 0.48F, 0.32F}, x, z, 190, 1300);
}

Vector paintingColour(float x, float y) {
  const Panel& panel = Room::kPainting;
  const float edge = std::min(std::min(x - panel.left, panel.right - x), std::min(y - panel.top, panel.bottom - y));
  if (edge < 28) return {0.25F, 0.17F, 0.10F};
  if (edge < 60) return {0.95F, 0.93F, 0.88F};
  // Hills before an evening sky with a sun.
  const float a = (x - panel.left) / (panel.right - panel.left);
  const float b = (y - panel.top) / (panel.bottom - panel.top);
  if (b > 0.62F + 0.5F * (a - 0.3F) * (a - 0.3F)) return {0.16F, 0.33F, 0.30F};
  if (b > 0.52F + 0.8F * (a - 0.8F) * (a - 0.8F)) return {0.26F, 0.46F, 0.42F};
  const float sun = (x - 140) * (x - 140) + (y + 380) * (y + 380);
  if (sun < 75 * 75) return {1.0F, 0.93F, 0.70F};
  return mix({0.35F, 0.45F, 0.70F}, {0.98F, 0.66F, 0.42F}, std::min(1.0F, b * 1.7F));
}

Vector windowColour(float x, float y) {
  const Panel& panel = Room::kWindow;
  const float a = (x - panel.left) / (panel.right - panel.left);
  const float b = (y - panel.top) / (panel.bottom - panel.top);
  if (std::abs(a - 0.5F) < 0.025F || std::abs(b - 0.5F) < 0.02F) return {0.85F, 0.85F, 0.83F};
  return mix({0.38F, 0.58F, 0.88F}, {0.86F, 0.92F, 0.97F}, b);
}

/// Frames and skirting, white, or the wall itself with stripes.
Vector wallColour(const Vector& colour, float along, float y) {
  if (y > Room::kFloor - 95) return {0.90F, 0.89F, 0.86F};
  return (stripe(along, 115) & 1) != 0 ? colour : colour * 0.955F;
}

Vector backWallColour(float x, float y) {
  if (Room::kPainting.holds(x, y)) return paintingColour(x, y);
  for (const Panel& panel : {Room::kWindow, Room::kDoor}) {
    const Panel frame{panel.left - 60, panel.right + 60, panel.top - 60, panel.bottom + 60};
    if (frame.holds(x, y)) return {0.90F, 0.89F, 0.86F};
  }
  return wallColour({0.56F, 0.68F, 0.66F}, x, y);
}

Vector bodyColour(const Body& body, const Vector& local, const Vector& normal) {
  switch (body.pattern) {
    case Pattern::wood:
      return std::abs(normal.y) > 0.5F ? wood(body.colour, local.z, local.x, 140, 900)
                                       : wood(body.colour, local.x + local.z, local.y, 195, 1050);
    case Pattern::stripes:
      return (stripe(local.y, 45) & 1) != 0 ? body.colour : mix(body.colour, {1, 1, 1}, 0.7F);
    case Pattern::checker: {
      const float a = std::abs(normal.x) > 0.5F ? local.z : local.x;
      const float b = std::abs(normal.y) > 0.5F ? local.z : local.y;
      return checker(body.colour, a, b, body.half.x * 0.5F);
    }
    default:
      return body.colour;
  }
}

/// Of a point of a body, in the body's own directions.
Vector bodyNormal(const Body& body, const Vector& local) {
  if (body.shape == Shape::sphere) return local * (1 / body.half.x);
  if (body.shape == Shape::cylinder) {
    if (local.y < 1 - body.half.y) return {0, -1, 0};
    return {local.x / body.half.x, 0, local.z / body.half.x};
  }
  const float x = std::abs(local.x) / body.half.x;
  const float y = std::abs(local.y) / body.half.y;
  const float z = std::abs(local.z) / body.half.z;
  if (y >= x && y >= z) return {0, local.y < 0 ? -1.0F : 1.0F, 0};
  if (x >= z) return {local.x < 0 ? -1.0F : 1.0F, 0, 0};
  return {0, 0, local.z < 0 ? -1.0F : 1.0F};
}

/// How much light bodies leave on a level place below them. Their soft shadows are deeper the closer a body is.
float shadowOnLevel(const Room& room, const Vector& point) {
  float light = 1;
  for (const Body& body : room.bodies) {
    const float bottom = body.centre.y + (body.shape == Shape::sphere ? body.half.x : body.half.y);
    const float gap = point.y - bottom;
    if (gap < -1 || gap > 900) continue;
    // The spot is a little larger than the body and lies away from the lamp.
    const float drift = 0.12F + gap * 0.0002F;
    const float dx = point.x - body.centre.x - (body.centre.x - kLamp.x) * drift;
    const float dz = point.z - body.centre.z - (body.centre.z - kLamp.z) * drift;
    const float reachX = body.half.x * 1.5F + 60;
    const float reachZ = (body.shape == Shape::box ? body.half.z : body.half.x) * 1.5F + 60;
    const float distance = dx * dx / (reachX * reachX) + dz * dz / (reachZ * reachZ);
    if (distance < 1) light *= 1 - 0.6F * (1 - distance) * (1 - gap / 1000);
  }
  return light;
}

/// How much light is left at a distance from the next wall, as corners are darker.
float cornerLight(float distance) {
  return 0.55F + 0.45F * std::min(1.0F, (std::max(distance, 0.0F) + 20) / 420);
}

/// Share of the room's light that gets to a point of a wall, floor or ceiling.
float lightInRoom(const Room& room, int32_t surface, const Vector& point) {
  const float sides = cornerLight(std::min(point.x - Room::kLeft, Room::kRight - point.x));
  const float levels = cornerLight(std::min(point.y - Room::kCeiling, Room::kFloor - point.y));
  const float toBack = Room::kBack - point.z;
  const float back = toBack > 0 ? cornerLight(toBack) : 0.6F;  // beyond is the corridor
  switch (surface) {
    case Surface::floor:
      return sides * back * shadowOnLevel(room, point);
    case Surface::ceiling:
      return sides * back;
    case Surface::leftWall:
    case Surface::rightWall:
      return levels * back;
    case Surface::corridorWall:
      return 0.55F;
    default:
      return sides * levels;
  }
}

float lightOnBody(const Room& room, const Vector& point, const Vector& normal) {
  return cornerLight(Room::kFloor - point.y) * (normal.y < -0.99F ? shadowOnLevel(room, point) : 1);
}

/// What a surface is like at a point.
struct Skin {
  Vector colour, normal;
  float gloss;
};

Skin skinOfRoom(int32_t surface, const Vector& point) {
  constexpr Vector kSideWall{0.78F, 0.66F, 0.52F};
  constexpr Vector kCorridorWall{0.80F, 0.74F, 0.55F};
  constexpr Vector kCeiling{0.95F, 0.94F, 0.91F};
  switch (surface) {
    case Surface::floor:
      return {floorColour(point.x, point.z), {0, -1, 0}, 0.05F};
    case Surface::ceiling:
      return {kCeiling, {0, 1, 0}, 0};
    case Surface::leftWall:
      return {wallColour(kSideWall, point.z, point.y), {1, 0, 0}, 0};
    case Surface::rightWall:
      return {wallColour(kSideWall, point.z, point.y), {-1, 0, 0}, 0};
    case Surface::corridorWall:
      return {wallColour(kCorridorWall, point.x, point.y), {0, 0, -1}, 0};
    default:
      return {backWallColour(point.x, point.y), {0, 0, -1}, 0};
  }
}

Skin skinOfBody(const Body& body, const Vector& point) {
  const Vector local = body.turn.undo(point - body.centre);
  const Vector normal = bodyNormal(body, local);
  return {bodyColour(body, local, normal), body.turn.apply(normal), body.gloss};
}

Skin skinAt(const Room& room, int32_t surface, const Vector& point) {
  if (surface < Surface::firstBody) return skinOfRoom(surface, point);
  return skinOfBody(room.bodies[static_cast<size_t>(surface - Surface::firstBody)], point);
}

}  // namespace

Vector paintColour(const Room& room, int32_t surface, const Sight& sight) {
  const Vector point = sight.eye + sight.direction * sight.depth;
  if (surface == Surface::window) return windowColour(point.x, point.y);

  const Skin skin = skinAt(room, surface, point);
  const float light =
      surface < Surface::firstBody ? lightInRoom(room, surface, point) : lightOnBody(room, point, skin.normal);
  const Vector toLamp = unit(kLamp - point);
  const Vector toEye = unit(sight.direction * -1);
  const float fromLamp = std::max(0.0F, dot(skin.normal, toLamp));
  const float facing = std::max(0.0F, dot(skin.normal, toEye));
  const Vector colour = skin.colour * (light * (0.42F + 0.08F * facing + 0.56F * fromLamp));
  if (skin.gloss == 0) return colour;
  const float half = std::max(0.0F, dot(skin.normal, unit(toLamp + toEye)));
  const float power4 = half * half * half * half;
  const float power16 = power4 * power4 * power4 * power4;
  const float shine = skin.gloss * 0.7F * power16 * power16;
  return colour + Vector{shine, shine, shine};
}

float paintBrightness(const Room& room, int32_t surface, const Sight& sight) {
  if (surface == Surface::window) return 0.02F;  // the lamp's light goes out through the glass
  const Skin skin = skinAt(room, surface, sight.eye + sight.direction * sight.depth);
  const float facing = std::max(0.0F, -dot(skin.normal, unit(sight.direction)));
  const float reflects = 0.2F + 0.8F * dot(skin.colour, {0.45F, 0.4F, 0.15F});
  const float falloff = 1 / (0.55F + sight.depth * sight.depth * (1 / 9e6F));
  return reflects * (0.25F + 0.75F * facing) * falloff * 0.75F;
}

}  // namespace tavrix
