// The room that cameras look at.
#include <cmath>

#include "simhost/SimulatedHost.h"

namespace {

class Scenes : public SimulatedHost {};

struct Point {
  double x, y, z;  ///< right, down, forward, in millimetres
};

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
    // The first frame is taken from the middle, turned to the right by 3.4 degrees.
    const double sine = 2 * 0.03 / (1 + 0.03 * 0.03), cosine = std::sqrt(1 - sine * sine);
    const Point seen{cosine * each.point.x - sine * each.point.z, each.point.y,
                     cosine * each.point.z + sine * each.point.x};
    const auto column = static_cast<size_t>(seen.x / seen.z * 505 + 320),
               row = static_cast<size_t>(seen.y / seen.z * 505 + 288);
    EXPECT_NEAR(truth.at(row * 640 + column), seen.z, 8) << each.name;
  }
}

// ---- Kept pictures ----

/// Changes with any byte.
uint32_t fingerprint(const std::vector<uint8_t>& bytes, uint32_t start = 2166136261U) {
  for (const uint8_t byte : bytes) start = (start ^ byte) * 16777619U;
  return start;
}

// The pictures of the room are the same on every target and in every version, with their dots, noise, holes and
// speckles; what shows them is `vycam run`. A fingerprint that is meant to change is kept anew, once its picture has
// been looked at.
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
  const Camera camera = openCamera("Vashti", 64, 48), speckled = openCamera("Corvid", 256, 160, false);
  uint32_t moving = fingerprint({});
  for (int i = 0; i < 310; ++i) moving = fingerprint(bytesOf(nextFrame(camera)), moving);
  for (int i = 0; i < 3; ++i) moving = fingerprint(bytesOf(nextFrame(speckled)), moving);
  EXPECT_EQ(moving, 569962844U);
}

}  // namespace
