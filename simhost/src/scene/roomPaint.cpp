// Colours, patterns and light of the room.
#include <algorithm>
#include <cmath>

#include "scene/hash.h"
#include "scene/room.h"

namespace tavrix {
namespace {

constexpr Vector kLamp{200, -1150, 1700};

Vector mix(const Vector& a, const Vector& b, float share) {
  return a * (1 - share) + b * share;
}

Vector unit(const Vector& v) {
  return v * (1 / std::sqrt(dot(v, v)));
}

/** Number of the stripe of a width in which a place lies. Places are within some metres of 0. */
int stripe(float place, float width) {
  return static_cast<int>(place / width + 1024) - 1024;
}

/** From 0 to 1, the same for the same two numbers. */
float chance(int a, int b) {
  return static_cast<float>(hash(static_cast<uint32_t>(a), static_cast<uint32_t>(b), 1) & 255) / 255;
}

/** Planks along `along`, each with its own tone, dark lines between them. */
Vector wood(const Vector& colour, float across, float along, float width, float length) {
  const int plank = stripe(across, width);
  const float shifted = along + length * chance(plank, 0);
  const int piece = stripe(shifted, length);
  const float edge = across - static_cast<float>(plank) * width;
  const float end = shifted - static_cast<float>(piece) * length;
  const bool isGap = edge < 6 || end < 6;
  const float grain = 0.04f * chance(stripe(across, 11), stripe(along, 160));
  return colour * (isGap ? 0.55f : 0.82f + 0.22f * chance(plank, piece) + grain);
}

Vector checker(const Vector& colour, float a, float b, float size) {
  return ((stripe(a, size) + stripe(b, size)) & 1) != 0 ? colour : mix(colour, {1, 1, 1}, 0.55f);
}

Vector floorColour(float x, float z) {
  if (Room::kRug.holds(x, z)) {
    const float edge = std::min(std::min(x - Room::kRug.left, Room::kRug.right - x),
                                std::min(z - Room::kRug.top, Room::kRug.bottom - z));
    if (edge < 45 || (edge > 110 && edge < 135)) return {0.90f, 0.84f, 0.72f};
    return checker({0.48f, 0.16f, 0.20f}, x + z, x - z, 260);
  }
  return wood({0.66f, 0.48f, 0.32f}, x, z, 190, 1300);
}

Vector paintingColour(float x, float y) {
  const Panel& panel = Room::kPainting;
  const float edge = std::min(std::min(x - panel.left, panel.right - x), std::min(y - panel.top, panel.bottom - y));
  if (edge < 28) return {0.25f, 0.17f, 0.10f};
  if (edge < 60) return {0.95f, 0.93f, 0.88f};
  // Hills before an evening sky with a sun.
  const float a = (x - panel.left) / (panel.right - panel.left);
  const float b = (y - panel.top) / (panel.bottom - panel.top);
  if (b > 0.62f + 0.5f * (a - 0.3f) * (a - 0.3f)) return {0.16f, 0.33f, 0.30f};
  if (b > 0.52f + 0.8f * (a - 0.8f) * (a - 0.8f)) return {0.26f, 0.46f, 0.42f};
  const float sun = (x - 140) * (x - 140) + (y + 380) * (y + 380);
  if (sun < 75 * 75) return {1.0f, 0.93f, 0.70f};
  return mix({0.35f, 0.45f, 0.70f}, {0.98f, 0.66f, 0.42f}, std::min(1.0f, b * 1.7f));
}

Vector windowColour(float x, float y) {
  const Panel& panel = Room::kWindow;
  const float a = (x - panel.left) / (panel.right - panel.left);
  const float b = (y - panel.top) / (panel.bottom - panel.top);
  if (std::abs(a - 0.5f) < 0.025f || std::abs(b - 0.5f) < 0.02f) return {0.85f, 0.85f, 0.83f};
  return mix({0.38f, 0.58f, 0.88f}, {0.86f, 0.92f, 0.97f}, b);
}

/** Frames and skirting, white, or the wall itself with stripes. */
Vector wallColour(const Vector& colour, float along, float y) {
  if (y > Room::kFloor - 95) return {0.90f, 0.89f, 0.86f};
  return (stripe(along, 115) & 1) != 0 ? colour : colour * 0.955f;
}

Vector backWallColour(float x, float y) {
  if (Room::kPainting.holds(x, y)) return paintingColour(x, y);
  for (const Panel& panel : {Room::kWindow, Room::kDoor}) {
    const Panel frame{panel.left - 60, panel.right + 60, panel.top - 60, panel.bottom + 60};
    if (frame.holds(x, y)) return {0.90f, 0.89f, 0.86f};
  }
  return wallColour({0.56f, 0.68f, 0.66f}, x, y);
}

Vector bodyColour(const Body& body, const Vector& local, const Vector& normal) {
  switch (body.pattern) {
    case Pattern::wood:
      return std::abs(normal.y) > 0.5f ? wood(body.colour, local.z, local.x, 140, 900)
                                       : wood(body.colour, local.x + local.z, local.y, 195, 1050);
    case Pattern::stripes:
      return (stripe(local.y, 45) & 1) != 0 ? body.colour : mix(body.colour, {1, 1, 1}, 0.7f);
    case Pattern::checker: {
      const float a = std::abs(normal.x) > 0.5f ? local.z : local.x;
      const float b = std::abs(normal.y) > 0.5f ? local.z : local.y;
      return checker(body.colour, a, b, body.half.x * 0.5f);
    }
    default:
      return body.colour;
  }
}

/** Of a point of a body, in the body's own directions. */
Vector bodyNormal(const Body& body, const Vector& local) {
  if (body.shape == Shape::sphere) return local * (1 / body.half.x);
  if (body.shape == Shape::cylinder) {
    if (local.y < 1 - body.half.y) return {0, -1, 0};
    return {local.x / body.half.x, 0, local.z / body.half.x};
  }
  const float x = std::abs(local.x) / body.half.x;
  const float y = std::abs(local.y) / body.half.y;
  const float z = std::abs(local.z) / body.half.z;
  if (y >= x && y >= z) return {0, local.y < 0 ? -1.0f : 1.0f, 0};
  if (x >= z) return {local.x < 0 ? -1.0f : 1.0f, 0, 0};
  return {0, 0, local.z < 0 ? -1.0f : 1.0f};
}

/** How much light is left on a level place below bodies: soft spots, deeper the closer a body hovers over it. */
float shadowOnLevel(const Room& room, const Vector& point) {
  float light = 1;
  for (const Body& body : room.bodies) {
    const float bottom = body.centre.y + (body.shape == Shape::sphere ? body.half.x : body.half.y);
    const float gap = point.y - bottom;
    if (gap < -1 || gap > 900) continue;
    // The spot is a little larger than the body and lies away from the lamp.
    const float drift = 0.12f + gap * 0.0002f;
    const float dx = point.x - body.centre.x - (body.centre.x - kLamp.x) * drift;
    const float dz = point.z - body.centre.z - (body.centre.z - kLamp.z) * drift;
    const float reachX = body.half.x * 1.5f + 60;
    const float reachZ = (body.shape == Shape::box ? body.half.z : body.half.x) * 1.5f + 60;
    const float distance = dx * dx / (reachX * reachX) + dz * dz / (reachZ * reachZ);
    if (distance < 1) light *= 1 - 0.6f * (1 - distance) * (1 - gap / 1000);
  }
  return light;
}

/** Light is scarce in corners: what is left at a distance from the next wall. */
float cornerLight(float distance) {
  return 0.55f + 0.45f * std::min(1.0f, (std::max(distance, 0.0f) + 20) / 420);
}

/** Share of the room's light that gets to a point of a wall, floor or ceiling. */
float lightInRoom(const Room& room, int32_t surface, const Vector& point) {
  const float sides = cornerLight(std::min(point.x - Room::kLeft, Room::kRight - point.x));
  const float levels = cornerLight(std::min(point.y - Room::kCeiling, Room::kFloor - point.y));
  const float toBack = Room::kBack - point.z;
  const float back = toBack > 0 ? cornerLight(toBack) : 0.6f;  // beyond is the corridor
  switch (surface) {
    case Surface::floor:
      return sides * back * shadowOnLevel(room, point);
    case Surface::ceiling:
      return sides * back;
    case Surface::leftWall:
    case Surface::rightWall:
      return levels * back;
    case Surface::corridorWall:
      return 0.55f;
    default:
      return sides * levels;
  }
}

float lightOnBody(const Room& room, const Vector& point, const Vector& normal) {
  return cornerLight(Room::kFloor - point.y) * (normal.y < -0.99f ? shadowOnLevel(room, point) : 1);
}

/** What a surface is like at a point. */
struct Skin {
  Vector colour, normal;
  float gloss;
};

Skin skinOfRoom(int32_t surface, const Vector& point) {
  constexpr Vector kSideWall{0.78f, 0.66f, 0.52f}, kCorridorWall{0.80f, 0.74f, 0.55f}, kCeiling{0.95f, 0.94f, 0.91f};
  switch (surface) {
    case Surface::floor:
      return {floorColour(point.x, point.z), {0, -1, 0}, 0.05f};
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
  const float fromLamp = std::max(0.0f, dot(skin.normal, toLamp));
  const float facing = std::max(0.0f, dot(skin.normal, toEye));
  const Vector colour = skin.colour * (light * (0.42f + 0.08f * facing + 0.56f * fromLamp));
  if (skin.gloss == 0) return colour;
  const float half = std::max(0.0f, dot(skin.normal, unit(toLamp + toEye)));
  const float power4 = half * half * half * half;
  const float power16 = power4 * power4 * power4 * power4;
  const float shine = skin.gloss * 0.7f * power16 * power16;
  return colour + Vector{shine, shine, shine};
}

float paintBrightness(const Room& room, int32_t surface, const Sight& sight) {
  if (surface == Surface::window) return 0.02f;  // the lamp's light goes out through the glass
  const Skin skin = skinAt(room, surface, sight.eye + sight.direction * sight.depth);
  const float facing = std::max(0.0f, -dot(skin.normal, unit(sight.direction)));
  const float reflects = 0.2f + 0.8f * dot(skin.colour, {0.45f, 0.4f, 0.15f});
  const float falloff = 1 / (0.55f + sight.depth * sight.depth * (1 / 9e6f));
  return reflects * (0.25f + 0.75f * facing) * falloff * 0.75f;
}

}  // namespace tavrix
