// Light of the room. A row is painted in blocks of pixels that see the same surface, step by step, in loops that the
// compiler can vectorise.
#include <algorithm>
#include <array>
#include <cmath>

#include "scene/RoomPatterns.h"
#include "scene/WideVectors.h"

namespace tavrix {
namespace {

constexpr Vector kLamp{200, -1150, 1700};

inline float atLeast0(float value) {
  return value > 0 ? value : 0;
}

inline Vector unit(const Vector& v) {
  return v * (1 / std::sqrt(dot(v, v)));
}

inline uint8_t toByte(float value) {
  const float kept = value < 0 ? 0 : value > 1 ? 1 : value;
  return static_cast<uint8_t>(static_cast<int>(kept * 255 + 0.5F));
}

/// Neighbouring pixels of a row that see the same surface, and what is known of each.
struct Block {
  static constexpr uint32_t kMost = 64;
  struct Vectors {
    std::array<float, kMost> x, y, z;

    Vector get(uint32_t i) const { return {x[i], y[i], z[i]}; }
    void set(uint32_t i, const Vector& v) {
      x[i] = v.x;
      y[i] = v.y;
      z[i] = v.z;
    }
  };

  uint32_t column;  ///< of the first pixel
  uint32_t size;
  int32_t surface;
  const Body* body;  ///< null for the room's own surfaces
  float gloss;
  Vectors sights;                  ///< directions of the lines of sight
  std::array<float, kMost> depth;  ///< along them
  Vectors points;                  ///< where they end
  Vectors normals;                 ///< of a body; those of the room's surfaces are known
  Vectors colours;                 ///< of the surface itself
  std::array<float, kMost> light;  ///< share of the room's light that gets there
};

/// Calls a function for each pixel of a block. One without branches becomes a vectorised loop.
template <typename Function>
inline void forEach(const Block& block, Function function) {
  const uint32_t size = block.size;
  for (uint32_t i = 0; i < size; ++i) function(i);
}

template <typename Condition>
inline uint32_t countIf(const Block& block, Condition condition) {
  uint32_t count = 0;
  forEach(block, [&](uint32_t i) { count += condition(i) ? 1U : 0U; });
  return count;
}

// ---- Surfaces -------------------------------------------------------------------------------------------------------

/// Colours the block by a function of two coordinates.
template <typename ColourAt>
inline void paint(Block& block, const std::array<float, Block::kMost>& a, const std::array<float, Block::kMost>& b,
                  ColourAt colourAt) {
  forEach(block, [&](uint32_t i) { block.colours.set(i, colourAt(a[i], b[i])); });
}

void paintFloor(Block& block) {
  const Block::Vectors& at = block.points;
  const uint32_t onRug = countIf(block, [&](uint32_t i) { return Room::kRug.holds(at.x[i], at.z[i]); });
  if (onRug == 0) {
    paint(block, at.x, at.z, [](float x, float z) { return plankColour(x, z); });
  } else if (onRug == block.size) {
    paint(block, at.x, at.z, [](float x, float z) { return rugColour(x, z); });
  } else {
    paint(block, at.x, at.z,
          [](float x, float z) { return Room::kRug.holds(x, z) ? rugColour(x, z) : plankColour(x, z); });
  }
  block.gloss = 0.05F;
}

void paintBackWall(Block& block) {
  const Block::Vectors& at = block.points;
  const uint32_t onWall = countIf(block, [&](uint32_t i) { return isBareWall(at.x[i], at.y[i]); });
  if (onWall == block.size) {
    paint(block, at.x, at.y, [](float x, float y) { return bareWallColour(x, y); });
  } else {
    paint(block, at.x, at.y, backWallColour);
  }
}

void paintRoom(Block& block) {
  const Block::Vectors& at = block.points;
  const auto sideWall = [](float z, float y) { return wallColour({0.78F, 0.66F, 0.52F}, z, y); };
  const auto corridorWall = [](float x, float y) { return wallColour({0.80F, 0.74F, 0.55F}, x, y); };
  block.gloss = 0;
  switch (block.surface) {
    case Surface::floor:
      return paintFloor(block);
    case Surface::ceiling:
      return forEach(block, [&](uint32_t i) { block.colours.set(i, {0.95F, 0.94F, 0.91F}); });
    case Surface::leftWall:
    case Surface::rightWall:
      return paint(block, at.z, at.y, sideWall);
    case Surface::corridorWall:
      return paint(block, at.x, at.y, corridorWall);
    default:
      return paintBackWall(block);
  }
}

/// Normals of a body, in the body's own directions.
void findNormals(const Body& body, const Block::Vectors& local, Block& block) {
  const Vector half = body.half;
  switch (body.shape) {
    case Shape::sphere:
      forEach(block, [&](uint32_t i) { block.normals.set(i, local.get(i) * (1 / half.x)); });
      break;
    case Shape::cylinder:
      forEach(block, [&](uint32_t i) {
        const Vector side{local.x[i] / half.x, 0, local.z[i] / half.x};
        block.normals.set(i, pick(local.y[i] < 1 - half.y, {0, -1, 0}, side));
      });
      break;
    case Shape::box:
      forEach(block, [&](uint32_t i) {
        const float x = std::abs(local.x[i]) / half.x;
        const float y = std::abs(local.y[i]) / half.y;
        const float z = std::abs(local.z[i]) / half.z;
        const Vector sideX{local.x[i] < 0 ? -1.0F : 1.0F, 0, 0};
        const Vector sideY{0, local.y[i] < 0 ? -1.0F : 1.0F, 0};
        const Vector sideZ{0, 0, local.z[i] < 0 ? -1.0F : 1.0F};
        block.normals.set(i, pick(both(y >= x, y >= z), sideY, pick(x >= z, sideX, sideZ)));
      });
      break;
  }
}

void paintPattern(const Body& body, const Block::Vectors& local, Block& block) {
  const Block::Vectors& normals = block.normals;
  const Vector colour = body.colour;
  const float square = body.half.x * 0.5F;
  switch (body.pattern) {
    case Pattern::wood:
      forEach(block, [&](uint32_t i) {
        const bool isTop = std::abs(normals.y[i]) > 0.5F;
        const float across = isTop ? local.z[i] : local.x[i] + local.z[i];
        const float along = isTop ? local.x[i] : local.y[i];
        block.colours.set(i, wood(colour, across, along, isTop ? 140.0F : 195.0F, isTop ? 900.0F : 1050.0F));
      });
      break;
    case Pattern::stripes:
      forEach(block, [&](uint32_t i) {
        const bool isDark = (stripe(local.y[i], 45) & 1) != 0;
        block.colours.set(i, pick(isDark, colour, mix(colour, {1, 1, 1}, 0.7F)));
      });
      break;
    case Pattern::checker:
      forEach(block, [&](uint32_t i) {
        const float a = std::abs(normals.x[i]) > 0.5F ? local.z[i] : local.x[i];
        const float b = std::abs(normals.y[i]) > 0.5F ? local.z[i] : local.y[i];
        block.colours.set(i, checker(colour, a, b, square));
      });
      break;
    case Pattern::plain:
      forEach(block, [&](uint32_t i) { block.colours.set(i, colour); });
      break;
  }
}

void paintBody(Block& block) {
  const Body& body = *block.body;
  const Turn turn = body.turn;
  const Vector centre = body.centre;
  Block::Vectors local;
  forEach(block, [&](uint32_t i) { local.set(i, turn.undo(block.points.get(i) - centre)); });
  findNormals(body, local, block);
  paintPattern(body, local, block);
  forEach(block, [&](uint32_t i) { block.normals.set(i, turn.apply(block.normals.get(i))); });
  block.gloss = body.gloss;
}

// ---- Light ----------------------------------------------------------------------------------------------------------

/// The smallest and the largest of a block's coordinates.
struct Range {
  float low, high;

  Range(const std::array<float, Block::kMost>& numbers, uint32_t size) : low(numbers[0]), high(numbers[0]) {
    for (uint32_t i = 1; i < size; ++i) {
      low = numbers[i] < low ? numbers[i] : low;
      high = numbers[i] > high ? numbers[i] : high;
    }
  }
};

/// Takes the shadows of bodies from the light on a level place below them. They are deeper the closer a body is.
void castShadows(const Room& room, Block& block) {
  const Range x(block.points.x, block.size);
  const Range y(block.points.y, block.size);
  const Range z(block.points.z, block.size);
  constexpr float kNear = 1;  // a margin for rounding errors, where a shadow is out of reach
  for (const Body& body : room.bodies) {
    const float bottom = body.centre.y + (body.shape == Shape::sphere ? body.half.x : body.half.y);
    if (y.high - bottom < -1 || y.low - bottom > 900) continue;
    const Vector centre = body.centre;
    const Vector fromLamp = centre - kLamp;
    const float reachX = body.half.x * 1.5F + 60;
    const float reachZ = (body.shape == Shape::box ? body.half.z : body.half.x) * 1.5F + 60;
    const float least = 0.12F + (y.low - bottom) * 0.0002F;
    const float most = 0.12F + (y.high - bottom) * 0.0002F;
    const float shiftX = (fromLamp.x < 0 ? least : most) * fromLamp.x;
    const float shiftX0 = (fromLamp.x < 0 ? most : least) * fromLamp.x;
    const float shiftZ = (fromLamp.z < 0 ? least : most) * fromLamp.z;
    const float shiftZ0 = (fromLamp.z < 0 ? most : least) * fromLamp.z;
    if (x.high - centre.x - shiftX0 < -reachX - kNear || x.low - centre.x - shiftX > reachX + kNear) continue;
    if (z.high - centre.z - shiftZ0 < -reachZ - kNear || z.low - centre.z - shiftZ > reachZ + kNear) continue;
    forEach(block, [&](uint32_t i) {
      // The spot is a little larger than the body and lies away from the lamp.
      const float gap = block.points.y[i] - bottom;
      const float drift = 0.12F + gap * 0.0002F;
      const float dx = block.points.x[i] - centre.x - fromLamp.x * drift;
      const float dz = block.points.z[i] - centre.z - fromLamp.z * drift;
      const float distance = dx * dx / (reachX * reachX) + dz * dz / (reachZ * reachZ);
      const float left = 1 - 0.6F * (1 - distance) * (1 - gap / 1000);
      const bool isShaded = both(both(gap >= -1, gap <= 900), distance < 1);
      block.light[i] *= isShaded ? left : 1;
    });
  }
}

/// How much light is left at a distance from the next wall, as corners are darker.
inline float cornerLight(float distance) {
  return 0.55F + 0.45F * least(1.0F, (atLeast0(distance) + 20) / 420);
}

inline float lightFromSides(const Vector& point) {
  return cornerLight(least(point.x - Room::kLeft, Room::kRight - point.x));
}

inline float lightFromLevels(const Vector& point) {
  return cornerLight(least(point.y - Room::kCeiling, Room::kFloor - point.y));
}

inline float lightFromBack(const Vector& point) {
  const float toBack = Room::kBack - point.z;
  return toBack > 0 ? cornerLight(toBack) : 0.6F;  // beyond is the corridor
}

/// Share of the room's light that gets to a wall, floor or ceiling.
void lightRoom(const Room& room, Block& block) {
  const Block::Vectors& at = block.points;
  switch (block.surface) {
    case Surface::floor:
      forEach(block, [&](uint32_t i) { block.light[i] = lightFromSides(at.get(i)) * lightFromBack(at.get(i)); });
      return castShadows(room, block);
    case Surface::ceiling:
      return forEach(block, [&](uint32_t i) { block.light[i] = lightFromSides(at.get(i)) * lightFromBack(at.get(i)); });
    case Surface::leftWall:
    case Surface::rightWall:
      return forEach(block,
                     [&](uint32_t i) { block.light[i] = lightFromLevels(at.get(i)) * lightFromBack(at.get(i)); });
    case Surface::corridorWall:
      return forEach(block, [&](uint32_t i) { block.light[i] = 0.55F; });
    default:
      return forEach(block,
                     [&](uint32_t i) { block.light[i] = lightFromSides(at.get(i)) * lightFromLevels(at.get(i)); });
  }
}

/// The same for a body. Only the level places on it lie in other bodies' shadows.
void lightBody(const Room& room, Block& block) {
  const auto isLevel = [&](uint32_t i) { return block.normals.y[i] < -0.99F; };
  forEach(block, [&](uint32_t i) { block.light[i] = 1; });
  if (countIf(block, isLevel) != 0) castShadows(room, block);
  forEach(block, [&](uint32_t i) {
    block.light[i] = cornerLight(Room::kFloor - block.points.y[i]) * (isLevel(i) ? block.light[i] : 1);
  });
}

// ---- Rows -----------------------------------------------------------------------------------------------------------

/// Calls a function for each block of a row. The block's surface has been painted, but for the window.
template <typename Function>
void eachBlock(const Room& room, const RowTracer& tracer, Function function) {
  const std::vector<int32_t>& surfaces = tracer.surfaces();
  const auto width = static_cast<uint32_t>(surfaces.size());
  Block block;
  for (uint32_t column = 0; column < width; column += block.size) {
    const uint32_t most = std::min(width - column, Block::kMost);
    const int32_t surface = surfaces[column];
    uint32_t size = 1;
    while (size < most && surfaces[column + size] == surface) ++size;
    block.column = column;
    block.size = size;
    block.surface = surface;
    const auto body = surface - Surface::firstBody;
    block.body = body < 0 ? nullptr : &room.bodies[static_cast<size_t>(body)];
    const Vector eye = tracer.eye();
    const float* const directionX = tracer.directionsX().data() + column;
    const float* const directionZ = tracer.directionsZ().data() + column;
    const float* const depths = tracer.depths().data() + column;
    const float directionY = tracer.directionY();
    forEach(block, [&](uint32_t i) {
      const Vector sight{directionX[i], directionY, directionZ[i]};
      block.sights.set(i, sight);
      block.depth[i] = depths[i];
      block.points.set(i, eye + sight * depths[i]);
    });
    if (block.body != nullptr) {
      paintBody(block);
    } else if (surface != Surface::window) {
      paintRoom(block);
    }
    function(block);
  }
}

/// Calls a function with another one: how far a vector leads along a pixel's normal.
template <typename Function>
inline void withNormals(const Block& block, Function function) {
  switch (block.surface) {
    case Surface::floor:
      return function([](uint32_t, const Vector& v) { return -v.y; });
    case Surface::ceiling:
      return function([](uint32_t, const Vector& v) { return v.y; });
    case Surface::leftWall:
      return function([](uint32_t, const Vector& v) { return v.x; });
    case Surface::rightWall:
      return function([](uint32_t, const Vector& v) { return -v.x; });
    case Surface::backWall:
    case Surface::corridorWall:
      return function([](uint32_t, const Vector& v) { return -v.z; });
    default:
      return function([&](uint32_t i, const Vector& v) { return dot(block.normals.get(i), v); });
  }
}

/// Colours of a block that is painted and lit. They replace those of its surface.
template <bool isGlossy, typename Along>
inline void shine(Block& block, Along along) {
  const float gloss = block.gloss;
  forEach(block, [&](uint32_t i) {
    const Vector toLamp = unit(kLamp - block.points.get(i));
    const Vector toEye = unit(block.sights.get(i) * -1);
    const float fromLamp = atLeast0(along(i, toLamp));
    const float facing = atLeast0(along(i, toEye));
    Vector colour = block.colours.get(i) * (block.light[i] * (0.42F + 0.08F * facing + 0.56F * fromLamp));
    if constexpr (isGlossy) {
      const float half = atLeast0(along(i, unit(toLamp + toEye)));
      const float power4 = half * half * half * half;
      const float power16 = power4 * power4 * power4 * power4;
      const float glint = gloss * 0.7F * power16 * power16;
      colour = colour + Vector{glint, glint, glint};
    }
    block.colours.set(i, colour);
  });
}

}  // namespace

TAVRIX_WIDE void paintColours(const Room& room, const RowTracer& tracer, uint8_t* colours) {
  eachBlock(room, tracer, [&](Block& block) {
    if (block.surface == Surface::window) {
      paint(block, block.points.x, block.points.y, windowColour);
    } else {
      if (block.body != nullptr) {
        lightBody(room, block);
      } else {
        lightRoom(room, block);
      }
      withNormals(block,
                  [&](auto along) { block.gloss != 0 ? shine<true>(block, along) : shine<false>(block, along); });
    }
    uint8_t* const bytes = colours + size_t{block.column} * 3;
    std::array<uint8_t, Block::kMost> red, green, blue;  // bytes that lie side by side are made as vectors
    forEach(block, [&](uint32_t i) { red[i] = toByte(block.colours.x[i]); });
    forEach(block, [&](uint32_t i) { green[i] = toByte(block.colours.y[i]); });
    forEach(block, [&](uint32_t i) { blue[i] = toByte(block.colours.z[i]); });
    forEach(block, [&](uint32_t i) {
      bytes[3 * i] = red[i];
      bytes[3 * i + 1] = green[i];
      bytes[3 * i + 2] = blue[i];
    });
  });
}

TAVRIX_WIDE void paintBrightness(const Room& room, const RowTracer& tracer, uint8_t* brightness) {
  eachBlock(room, tracer, [&](Block& block) {
    uint8_t* const bytes = brightness + block.column;
    if (block.surface == Surface::window) {
      std::fill_n(bytes, block.size, toByte(0.02F));  // the lamp's light goes out through the glass
      return;
    }
    withNormals(block, [&](auto along) {
      forEach(block, [&](uint32_t i) {
        const float facing = atLeast0(-along(i, unit(block.sights.get(i))));
        const float reflects = 0.2F + 0.8F * dot(block.colours.get(i), {0.45F, 0.4F, 0.15F});
        const float falloff = 1 / (0.55F + block.depth[i] * block.depth[i] * (1 / 9e6F));
        bytes[i] = toByte(reflects * (0.25F + 0.75F * facing) * falloff * 0.75F);
      });
    });
  });
}

}  // namespace tavrix
