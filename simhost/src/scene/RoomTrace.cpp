// Rays against the walls and bodies of the room, a row at a time, in loops that the compiler can vectorise.
#include <algorithm>
#include <cmath>

#include "scene/Room.h"
#include "scene/WideVectors.h"

namespace tavrix {
namespace {

constexpr float kBeyond = 1e9F;  // deeper than anything

/// Keeps a divisor away from 0, so that the quotient is a number.
inline float safe(float value) {
  const float small = value < 0 ? -1e-6F : 1e-6F;
  return std::abs(value) < 1e-6F ? small : value;
}

/// Radius of the ball about its centre that holds a body.
float reach(const Body& body) {
  switch (body.shape) {
    case Shape::sphere:
      return body.half.x;
    case Shape::cylinder:
      return std::sqrt(body.half.x * body.half.x + body.half.y * body.half.y);
    default:
      return std::sqrt(dot(body.half, body.half));
  }
}

struct Interval {
  uint32_t begin, end;
};

/// The pixels that can show something `low` to `high` off the axis and `near` to `far` away.
Interval project(float low, float high, float near, float far, float focal, float centre, uint32_t size) {
  const auto limit = static_cast<float>(size);
  const float first = centre + focal * low / (low < 0 ? near : far) - 1;
  const float last = centre + focal * high / (high < 0 ? far : near) + 2;
  return {static_cast<uint32_t>(std::clamp(first, 0.0F, limit)), static_cast<uint32_t>(std::clamp(last, 0.0F, limit))};
}

}  // namespace

RowTracer::RowTracer(const Room& room, const View& view)
    : room_(room),
      lens_(view.lens),
      eye_(room.eye + room.heading.apply({view.rightMm, 0, 0})),
      directionX_(view.lens.width),
      directionZ_(view.lens.width),
      uprightDepths_(view.lens.width),
      corridorDepths_(view.lens.width),
      uprights_(view.lens.width),
      depths_(view.lens.width),
      surfaces_(view.lens.width) {
  for (uint32_t x = 0; x < lens_.width; ++x) {
    const Vector direction = room.heading.apply({(static_cast<float>(x) - lens_.cx) / lens_.fx, 0, 1});
    directionX_[x] = direction.x;
    directionZ_[x] = direction.z;
    const float sideDepth = ((direction.x < 0 ? Room::kLeft : Room::kRight) - eye_.x) / safe(direction.x);
    const float backDepth = (Room::kBack - eye_.z) / safe(direction.z);
    const int32_t side = direction.x < 0 ? Surface::leftWall : Surface::rightWall;
    uprightDepths_[x] = std::min(sideDepth, backDepth);
    uprights_[x] = sideDepth < backDepth ? side : Surface::backWall;
    corridorDepths_[x] = (Room::kCorridorBack - eye_.z) / safe(direction.z);
  }
  int32_t surface = Surface::firstBody;
  for (const Body& body : room.bodies) targets_.push_back(aim(body, surface++));
}

RowTracer::Target RowTracer::aim(const Body& body, int32_t surface) const {
  const Vector place = body.centre - eye_;
  const Vector ahead = room_.heading.undo(place);
  const float radius = reach(body);
  const float near = ahead.z - radius;
  const float far = ahead.z + radius;
  if (near < 1) return {&body, surface, place, 0, lens_.width, 0, lens_.height};
  const Interval columns = project(ahead.x - radius, ahead.x + radius, near, far, lens_.fx, lens_.cx, lens_.width);
  const Interval rows = project(ahead.y - radius, ahead.y + radius, near, far, lens_.fy, lens_.cy, lens_.height);
  return {&body, surface, place, columns.begin, columns.end, rows.begin, rows.end};
}

TAVRIX_WIDE void RowTracer::trace(uint32_t row) {
  directionY_ = (static_cast<float>(row) - lens_.cy) / lens_.fy;
  traceWalls();
  openDoorAndWindow();
  for (const Target& target : targets_) {
    if (row < target.top || row >= target.bottom) continue;
    switch (target.body->shape) {
      case Shape::box:
        traceBox(target);
        break;
      case Shape::sphere:
        traceSphere(target);
        break;
      case Shape::cylinder:
        traceCylinder(target);
        break;
    }
  }
}

void RowTracer::traceWalls() {
  const uint32_t width = lens_.width;
  const bool looksDown = directionY_ > 0;
  const float levelDepth = ((looksDown ? Room::kFloor : Room::kCeiling) - eye_.y) / safe(directionY_);
  const int32_t level = looksDown ? Surface::floor : Surface::ceiling;
  const float* __restrict uprightDepths = uprightDepths_.data();
  const int32_t* __restrict uprights = uprights_.data();
  float* __restrict depths = depths_.data();
  int32_t* __restrict surfaces = surfaces_.data();
  for (uint32_t x = 0; x < width; ++x) {
    const bool isLevel = levelDepth < uprightDepths[x];
    depths[x] = isLevel ? levelDepth : uprightDepths[x];
    surfaces[x] = isLevel ? level : uprights[x];
  }
}

void RowTracer::openDoorAndWindow() {
  const uint32_t width = lens_.width;
  const bool looksDown = directionY_ > 0;
  const float floorDepth = looksDown ? (Room::kFloor - eye_.y) / directionY_ : kBeyond;
  const Vector eye = eye_;
  const float directionY = directionY_;
  const float* __restrict directionX = directionX_.data();
  const float* __restrict corridorDepths = corridorDepths_.data();
  float* __restrict depths = depths_.data();
  int32_t* __restrict surfaces = surfaces_.data();
  for (uint32_t x = 0; x < width; ++x) {
    const float wallX = eye.x + directionX[x] * depths[x];
    const float wallY = eye.y + directionY * depths[x];
    const bool isBack = surfaces[x] == Surface::backWall;
    const bool isWindow = both(isBack, Room::kWindow.holds(wallX, wallY));
    const bool isDoor = both(isBack, Room::kDoor.holds(wallX, wallY));
    const bool seesFloor = floorDepth < corridorDepths[x];
    const int32_t throughDoor = seesFloor ? Surface::floor : Surface::corridorWall;
    const float beyond = seesFloor ? floorDepth : corridorDepths[x];
    depths[x] = isDoor ? beyond : depths[x];
    surfaces[x] = isDoor ? throughDoor : isWindow ? Surface::window : surfaces[x];
  }
}

void RowTracer::traceBox(const Target& target) {
  const Vector eye = target.body->turn.undo(target.place * -1);
  const Vector half = target.body->half;
  const Turn turn = target.body->turn;
  const float inverseY = 1 / safe(directionY_);
  const float topDepth = std::min((-half.y - eye.y) * inverseY, (half.y - eye.y) * inverseY);
  const float bottomDepth = std::max((-half.y - eye.y) * inverseY, (half.y - eye.y) * inverseY);
  const float* __restrict directionX = directionX_.data();
  const float* __restrict directionZ = directionZ_.data();
  float* __restrict depths = depths_.data();
  int32_t* __restrict surfaces = surfaces_.data();
  const int32_t surface = target.surface;
  const uint32_t begin = target.left;
  const uint32_t end = target.right;
  for (uint32_t x = begin; x < end; ++x) {
    const float inverseX = 1 / safe(turn.cosine * directionX[x] - turn.sine * directionZ[x]);
    const float inverseZ = 1 / safe(turn.cosine * directionZ[x] + turn.sine * directionX[x]);
    const float left = (-half.x - eye.x) * inverseX;
    const float right = (half.x - eye.x) * inverseX;
    const float front = (-half.z - eye.z) * inverseZ;
    const float back = (half.z - eye.z) * inverseZ;
    const float firstX = left < right ? left : right;
    const float lastX = left < right ? right : left;
    const float firstZ = front < back ? front : back;
    const float lastZ = front < back ? back : front;
    float enter = firstX < firstZ ? firstZ : firstX;
    enter = enter < topDepth ? topDepth : enter;
    float leave = lastX < lastZ ? lastX : lastZ;
    leave = leave < bottomDepth ? leave : bottomDepth;
    const bool isNearest = both(both(enter<leave, enter> 0), enter < depths[x]);
    depths[x] = isNearest ? enter : depths[x];
    surfaces[x] = isNearest ? surface : surfaces[x];
  }
}

void RowTracer::traceSphere(const Target& target) {
  const Vector place = target.place;
  const float radius = target.body->half.x;
  const float power = dot(place, place) - radius * radius;
  const float squareY = directionY_ * directionY_;
  const float alongY = directionY_ * place.y;
  const float* __restrict directionX = directionX_.data();
  const float* __restrict directionZ = directionZ_.data();
  float* __restrict depths = depths_.data();
  int32_t* __restrict surfaces = surfaces_.data();
  const int32_t surface = target.surface;
  const uint32_t begin = target.left;
  const uint32_t end = target.right;
  for (uint32_t x = begin; x < end; ++x) {
    const float square = directionX[x] * directionX[x] + directionZ[x] * directionZ[x] + squareY;
    const float along = directionX[x] * place.x + directionZ[x] * place.z + alongY;
    const float discriminant = along * along - square * power;
    const float depth = (along - std::sqrt(discriminant < 0 ? 0 : discriminant)) / square;
    const bool isNearest = both(both(discriminant > 0, depth > 0), depth < depths[x]);
    depths[x] = isNearest ? depth : depths[x];
    surfaces[x] = isNearest ? surface : surfaces[x];
  }
}

void RowTracer::traceCylinder(const Target& target) {
  const Vector place = target.place;
  const float radius = target.body->half.x;
  const float top = place.y - target.body->half.y;
  const float bottom = place.y + target.body->half.y;
  const float power = place.x * place.x + place.z * place.z - radius * radius;
  // The lid is seen from above only, the bottom never.
  const bool seesLid = top > 0 && directionY_ > 0;
  const float lidDepth = seesLid ? top / safe(directionY_) : kBeyond;
  const float directionY = directionY_;
  const float* __restrict directionX = directionX_.data();
  const float* __restrict directionZ = directionZ_.data();
  float* __restrict depths = depths_.data();
  int32_t* __restrict surfaces = surfaces_.data();
  const int32_t surface = target.surface;
  const uint32_t begin = target.left;
  const uint32_t end = target.right;
  for (uint32_t x = begin; x < end; ++x) {
    const float square = directionX[x] * directionX[x] + directionZ[x] * directionZ[x];
    const float along = directionX[x] * place.x + directionZ[x] * place.z;
    const float discriminant = along * along - square * power;
    const float root = std::sqrt(discriminant < 0 ? 0 : discriminant);
    const float sideDepth = (along - root) / square;
    const float backDepth = (along + root) / square;
    const float y = sideDepth * directionY;
    const float throughLid = both(lidDepth > sideDepth, lidDepth < backDepth) ? lidDepth : kBeyond;
    const float depth = both(y > top, y < bottom) ? sideDepth : throughLid;
    const bool isNearest = both(both(discriminant > 0, depth > 0), depth < depths[x]);
    depths[x] = isNearest ? depth : depths[x];
    surfaces[x] = isNearest ? surface : surfaces[x];
  }
}

}  // namespace tavrix
