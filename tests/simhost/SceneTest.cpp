// The room that cameras look at.
#include <algorithm>
#include <cmath>

#include "simhost/SimulatedHost.h"

namespace {

class Scenes : public SimulatedHost {};

struct Point {
  double x, y, z;  ///< right, down, forward, in millimetres
};

/// Where the camera is in the room, and how far it has turned to the right about the vertical.
struct Moment {
  uint32_t frameNumber;
  Point eye;
  double sine;

  double cosine() const { return std::sqrt(1 - sine * sine); }
  /// The room's direction of a direction that the camera sees.
  Point inRoom(const Point& d) const { return {cosine() * d.x + sine * d.z, d.y, cosine() * d.z - sine * d.x}; }
  /// A place in the room as the camera sees it.
  Point seen(const Point& p) const {
    const Point d{p.x - eye.x, p.y - eye.y, p.z - eye.z};
    return {cosine() * d.x - sine * d.z, d.y, cosine() * d.z + sine * d.x};
  }
};

// The camera sways by 140, 30 and 60 mm and turns by 3.4 degrees, along t * (1.5 - 0.5 * t * t) of triangles t with
// periods of 300, 180, 240 and 300 frames.
constexpr Moment kMoments[] = {
    {0, {0, 0, 0}, 2 * 0.03 / (1 + 0.03 * 0.03)},
    {75, {140, 30 * (0.5 - 0.5 / 27), 60 * (0.75 * 1.5 - 0.5 * 0.421875)}, 0},
    {225, {-140, 30, -60 * (0.25 * 1.5 - 0.5 * 0.015625)}, 0},
};

/// The depth at which a line of sight leaves the empty room; 0 through the window.
double emptyRoom(const Moment& moment, const Point& sight) {
  const Point way = moment.inRoom(sight);
  const double side = ((way.x > 0 ? 2300 : -2300) - moment.eye.x) / way.x;
  const double level = ((way.y > 0 ? 1100 : -1300) - moment.eye.y) / way.y;
  const double back = (4600 - moment.eye.z) / way.z;
  if (back > side || back > level) return std::min(side, level);
  const double x = moment.eye.x + back * way.x, y = moment.eye.y + back * way.y;
  if (x > -1350 && x < -550 && y > -750 && y < 250) return 0;
  const bool isDoor = x > 560 && x < 1330 && y > -650;
  return isDoor ? std::min((5700 - moment.eye.z) / way.z, way.y > 0 ? level : 1e9) : back;
}

TEST_F(Scenes, TheRoomHasItsWallsWhereTheyShouldBe) {
  for (const Moment& moment : kMoments) {
    SCOPED_TRACE(moment.frameNumber);
    const Camera small = openCamera("Ostrel", 80, 72);
    for (uint32_t i = 0; i < moment.frameNumber; ++i) nextFrame(small);
    const Image truth = truthOf(small, nextFrame(small));
    size_t walls = 0, bodies = 0, wrong = 0;
    for (size_t i = 0; i < truth.size(); ++i) {
      const double focal = 505.0 / 8;
      const Point sight{(static_cast<double>(i % 80) - 39.5) / focal, (static_cast<double>(i / 80) - 35.5) / focal, 1};
      const double expected = emptyRoom(moment, sight);
      const bool isWall = std::abs(truth[i] - expected) <= 1;
      ++(isWall ? walls : truth[i] != 0 && (truth[i] < expected || expected == 0) ? bodies : wrong);
    }
    EXPECT_GT(walls, truth.size() / 2);
    EXPECT_GT(bodies, truth.size() / 5);
    EXPECT_LE(wrong, 2U) << "pixels on an edge may fall on either side";
  }
}

TEST_F(Scenes, ThingsStandWhereTheyShouldBe) {
  const Camera camera = openCamera("Ostrel", 0, 0);
  const Image truth = truthOf(camera, nextFrame(camera));
  const auto ball = [](Point centre, double radius) {  // the point of a ball that faces the camera
    const double share = 1 - radius / std::sqrt(centre.x * centre.x + centre.y * centre.y + centre.z * centre.z);
    return Point{centre.x * share, centre.y * share, centre.z * share};
  };
  const struct {
    const char* name;
    Point point;
  } things[] = {
      {"ball on the table", ball({-980, 220, 2560}, 170)}, {"ball on the crate", ball({780, 250, 2500}, 190)},
      {"swinging ball", ball({580, -190, 1250}, 125)},     {"front of the crate", {780, 770, 2190}},
      {"front of the wardrobe", {1850, 50, 3770}},         {"top of the table", {-700, 390, 2400}},
      {"top of the near box", {-330, 275, 900}},           {"column", {-1850 * 0.955, -100, 3800 * 0.955}},
      {"cylinder", {-560 * 0.966, 250, 2760 * 0.966}},
  };
  for (const auto& each : things) {
    const Point seen = kMoments[0].seen(each.point);
    const auto column = static_cast<size_t>(seen.x / seen.z * 505 + 320),
               row = static_cast<size_t>(seen.y / seen.z * 505 + 288);
    EXPECT_NEAR(truth.at(row * 640 + column), seen.z, 8) << each.name;
  }
}

TEST_F(Scenes, TheRightLensSeesTheRoomFromTheRight) {
  constexpr uint32_t kWidth = 320;
  const Camera camera = openCamera("Pellan", kWidth, 200);
  const Image truth = truthOf(camera, nextFrame(camera));
  const std::vector<uint8_t> left = bytesOf(nextFrame(camera, VY_SENSOR_IR_LEFT));
  const std::vector<uint8_t> right = bytesOf(nextFrame(camera, VY_SENSOR_IR_RIGHT));
  long difference = 0, wrongWay = 0;
  for (size_t i = 0; i < truth.size(); ++i) {
    if (truth[i] == 0 || i % kWidth < 20 || i % kWidth >= kWidth - 20) continue;
    const auto disparity = static_cast<size_t>(910.0 / 4 * 50 / truth[i] + 0.5);
    difference += std::abs(left[i] - right[i - disparity]);
    wrongWay += std::abs(left[i] - right[i + disparity]);
  }
  EXPECT_LT(difference * 2, wrongWay);
}

// ---- Kept pictures ----

/// Changes with any byte.
uint32_t fingerprint(const std::vector<uint8_t>& bytes, uint32_t start = 2166136261U) {
  for (const uint8_t byte : bytes) start = (start ^ byte) * 16777619U;
  return start;
}

// The pictures of the room are the same on every target and in every version; what shows them is `vycam run`. A
// fingerprint that is meant to change is kept anew, once its picture has been looked at.
TEST_F(Scenes, PicturesOfTheRoomStayAsTheyAre) {
  const std::vector<std::pair<const char*, std::vector<uint32_t>>> kept = {
      {"Talon", {852815586, 2270048461, 2864115893, 146606128}},
      {"Mirel", {4238111986, 689125301, 2345281634, 818597888}},
      {"Pellan", {4283028101, 2270048461, 2750386025, 2728687456, 633037764}},
      {"Corvid", {1122698902, 2270048461, 3108601815, 2834516880, 513681710}},
      {"Halden", {3317379585, 689125301, 3306755676}},
      {"Ostrel", {2057052929, 2270048461, 603992235}},
      {"Vashti", {2057052929, 2270048461, 603992235}},
      {"Sorrel", {4129392732, 689125301, 759749066}},
      {"SpecialOpenNI", {2045810611, 2270048461, 98975957}},
      {"NormalOpenNI", {2949344637, 2270048461, 2442073256}},
  };
  for (const auto& [name, fingerprints] : kept) {
    const vysim_family& family = *vysim_find_family(name);
    const Camera native = openCamera(name, 0, 0, false), small = openCamera(name, 640, 400, false);
    std::vector<uint32_t> found;
    for (size_t i = 0; i < family.stream_count; ++i) {
      const VYSensorType sensor = family.streams[i].sensor;
      found.push_back(fingerprint(bytesOf(nextFrame(sensor == VY_SENSOR_COLOR ? small : native, sensor))));
    }
    EXPECT_EQ(found, fingerprints) << name;
  }
  const Camera camera = openCamera("Vashti", 64, 48);
  uint32_t moving = fingerprint({});
  for (int i = 0; i < 310; ++i) moving = fingerprint(bytesOf(nextFrame(camera)), moving);
  EXPECT_EQ(moving, 1548189702U);
}

}  // namespace
