// What the room's surfaces look like, by the place. Functions that most pixels need have no branches, so that loops
// around them can be vectorised.
#pragma once

#include <algorithm>
#include <cmath>

#include "scene/Hash.h"
#include "scene/Room.h"

namespace tavrix {

inline Vector pick(bool isFirst, const Vector& first, const Vector& second) {
  return {isFirst ? first.x : second.x, isFirst ? first.y : second.y, isFirst ? first.z : second.z};
}

inline float least(float a, float b) {
  return a < b ? a : b;
}

inline Vector mix(const Vector& a, const Vector& b, float share) {
  return a * (1 - share) + b * share;
}

/// Number of the stripe, `width` wide, in which a place lies. Places are within a thousand stripes of 0.
inline int stripe(float place, float width) {
  return static_cast<int>(place / width + 1024) - 1024;
}

/// A random-looking number from 0 to 1, always the same for the same arguments.
inline float chance(int a, int b) {
  return static_cast<float>(static_cast<int>(hash(static_cast<uint32_t>(a), static_cast<uint32_t>(b), 1) & 255)) / 255;
}

/// Planks along `along`, each with its own tone, dark lines between them.
inline Vector wood(const Vector& colour, float across, float along, float width, float length) {
  const int plank = stripe(across, width);
  const float shifted = along + length * chance(plank, 0);
  const int piece = stripe(shifted, length);
  const float edge = across - static_cast<float>(plank) * width;
  const float end = shifted - static_cast<float>(piece) * length;
  const bool isGap = either(edge < 6, end < 6);
  const float grain = 0.04F * chance(stripe(across, 11), stripe(along, 160));
  return colour * (isGap ? 0.55F : 0.82F + 0.22F * chance(plank, piece) + grain);
}

inline Vector checker(const Vector& colour, float a, float b, float size) {
  return pick(((stripe(a, size) + stripe(b, size)) & 1) != 0, colour, mix(colour, {1, 1, 1}, 0.55F));
}

inline Vector rugColour(float x, float z) {
  const float edgeX = least(x - Room::kRug.left, Room::kRug.right - x);
  const float edge = least(edgeX, least(z - Room::kRug.top, Room::kRug.bottom - z));
  const Vector woven = checker({0.48F, 0.16F, 0.20F}, x + z, x - z, 260);
  return pick(either(edge < 45, both(edge > 110, edge < 135)), {0.90F, 0.84F, 0.72F}, woven);
}

inline Vector plankColour(float x, float z) {
  return wood({0.66F, 0.48F, 0.32F}, x, z, 190, 1300);
}

inline Vector paintingColour(float x, float y) {
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

inline Vector windowColour(float x, float y) {
  const Panel& panel = Room::kWindow;
  const float a = (x - panel.left) / (panel.right - panel.left);
  const float b = (y - panel.top) / (panel.bottom - panel.top);
  if (std::abs(a - 0.5F) < 0.025F || std::abs(b - 0.5F) < 0.02F) return {0.85F, 0.85F, 0.83F};
  return mix({0.38F, 0.58F, 0.88F}, {0.86F, 0.92F, 0.97F}, b);
}

/// Frames and skirting, white, or the wall itself with stripes.
inline Vector wallColour(const Vector& colour, float along, float y) {
  const Vector striped = colour * ((stripe(along, 115) & 1) != 0 ? 1.0F : 0.955F);
  return pick(y > Room::kFloor - 95, {0.90F, 0.89F, 0.86F}, striped);
}

/// The frame around an opening of the back wall.
constexpr Panel frameOf(const Panel& opening) {
  return {opening.left - 60, opening.right + 60, opening.top - 60, opening.bottom + 60};
}

/// Whether a place of the back wall is neither frame nor painting.
inline bool isBareWall(float x, float y) {
  constexpr Panel kWindowFrame = frameOf(Room::kWindow);
  constexpr Panel kDoorFrame = frameOf(Room::kDoor);
  return !either(Room::kPainting.holds(x, y), either(kWindowFrame.holds(x, y), kDoorFrame.holds(x, y)));
}

inline Vector bareWallColour(float x, float y) {
  return wallColour({0.56F, 0.68F, 0.66F}, x, y);
}

inline Vector backWallColour(float x, float y) {
  if (Room::kPainting.holds(x, y)) return paintingColour(x, y);
  return isBareWall(x, y) ? bareWallColour(x, y) : Vector{0.90F, 0.89F, 0.86F};
}

}  // namespace tavrix
