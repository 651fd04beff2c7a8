// `vycam run` from outside: what a small scene becomes, in numbers, pictures and words.
#include <chrono>
#include <cstring>
#include <nlohmann/json.hpp>
#include <regex>

#include "vycam/VycamTest.h"

namespace {

using Numbers = std::vector<uint16_t>;

class RunTest : public VycamTest {
 protected:
  void SetUp() override {
    VycamTest::SetUp();
    writePng(path("scene.png"), storedPng(scene_));
  }

  Numbers numbers(const std::string& name) const { return vycam::readGreyPng(path(name)).pixels; }

  const vycam::GreyImage scene_ = rampWithHole();
};

TEST_F(RunTest, SettingsAndOptionsShowInTheNumbers) {
  // The scene that pixel (x, y) of the output shows.
  using Origin = uint16_t (*)(const vycam::GreyImage&, size_t x, size_t y);
  const struct {
    const char* arguments;
    const char* size;
    Origin origin;
  } cases[] = {
      {"", "24x16 grey 16", [](const auto& s, size_t x, size_t y) { return s.pixels[y * 24 + x]; }},
      {"--set FrameMirror#255=1", "24x16 grey 16",
       [](const auto& s, size_t x, size_t y) { return s.pixels[y * 24 + 23 - x]; }},
      {"--set FrameFlip#255=1 --frames 2", "24x16 grey 16",
       [](const auto& s, size_t x, size_t y) { return s.pixels[(15 - y) * 24 + x]; }},
      {"--set FrameRotate#0=90 --set FrameMirror#255=0", "16x24 grey 16",
       [](const auto& s, size_t x, size_t y) { return s.pixels[(15 - x) * 24 + y]; }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    const Outcome outcome =
        vycam("run --camera Vashti --sensor depth --clean --depth scene.png --out made " + std::string(c.arguments));
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    const StoredPng output = png("made/output16.png");
    ASSERT_EQ(output.describe(), c.size);
    const Numbers found = numbers("made/output16.png");
    for (size_t i = 0; i < found.size(); ++i)
      ASSERT_EQ(found[i], c.origin(scene_, i % output.width, i / output.width)) << i;
  }
}

TEST_F(RunTest, PicturesOfEveryKindAreTheKeptOnes) {
  const struct {
    const char* arguments;
    const char* pictures;  // name, size and kind, checksum of the pixels
  } cases[] = {
      {"--camera Corvid --sensor depth", R"(
raw 340x74 RGB 8 1fa7621b22579405
output 340x74 RGB 8 bc5ebb510460023
truth 340x74 RGB 8 71a8db31a458a08e
error 340x74 RGB 8 5565bf5ffb50b07a
output16 24x16 grey 16 33e1797fd00751e5)"},
      {"--camera Corvid --sensor depth --set DisparityTransform#255=0", R"(
raw 340x74 RGB 8 1fa7621b22579405
output 340x74 RGB 8 b31291ceb73bde25
truth 340x74 RGB 8 71a8db31a458a08e
output16 24x16 grey 16 804b4372ac44836b)"},
      {"--camera Vashti --sensor 3 --size 400x30", R"(
raw 400x88 RGB 8 25ee4458d4ff483c
output 400x88 RGB 8 49671845bd0b0e84
truth 400x88 RGB 8 d1d2deb24e77c1c4
error 400x88 RGB 8 275c455a8f9f2b3
output16 400x30 grey 16 9f6d5caa4a53305f)"},
      {"--camera Pellan --sensor depth --d2c scale=1.5,left=8,bottom=-4", R"(
raw 340x74 RGB 8 6b83697d9355c59f
output 340x78 RGB 8 50b83536c3a0d1a0
truth 340x78 RGB 8 2e702d947467039b
error 340x78 RGB 8 91e8836c948bb4b7
output16 44x20 grey 16 15efca3415ce7bbe)"},
      {"--camera Pellan --sensor depth --d2c scale=2,apply=0", R"(
raw 340x74 RGB 8 6b83697d9355c59f
output 340x74 RGB 8 dff469c532c1bcb3
truth 340x74 RGB 8 b944743d2f4b9e2e
error 340x74 RGB 8 1491c2831bf3053e
output16 24x16 grey 16 8297429a45189058)"},
      {"--camera halden --sensor ir", R"(
raw 340x74 RGB 8 917e898ace9f337f
output 340x74 RGB 8 62357fe9d52e48ef)"},
      {"--camera Talon --sensor colour --set FrameMirror#255=1", R"(
raw 24x16 RGB 8 416d97ee8d7c4170
output 24x16 RGB 8 861936d3d61b3ce)"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    const Outcome outcome = vycam("run --frames 2 --clean --out made --depth scene.png " + std::string(c.arguments));
    ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
    EXPECT_EQ(outcome.err, "");
    std::string made;
    for (const char* name : {"raw", "output", "truth", "error", "output16"}) {
      const std::string file = std::string("made/") + name + ".png";
      if (files().count(file) == 0) continue;
      std::ostringstream line;
      line << '\n' << name << ' ' << png(file).describe() << ' ' << std::hex << png(file).checksum();
      made += line.str();
    }
    EXPECT_EQ(made, c.pictures);
    std::filesystem::remove_all(folder_ / "made");
  }
}

TEST_F(RunTest, TimesAddUp) {
  for (const char* const arguments :
       {"--camera Corvid --sensor depth --depth scene.png",
        "--camera Talon --sensor colour --depth scene.png --frames 1", "--camera Corvid --sensor depth --frames 3"}) {
    SCOPED_TRACE(arguments);
    const std::string run = std::string("run --out made ") + arguments;
    // So wide that no long time folds a line.
    const Outcome outcome = vycam(run, "COLUMNS=300 ");
    double total = 0, filters = 0, other = 0, clock = 0, library = 0, share = 0;
    const char* const times = outcome.out.c_str() + std::min(outcome.out.find("  time per frame"), outcome.out.size());
    const char* const form =
        "  time per frame %lf ms: filters %lf, other host calls %lf, clock about %lf, the library's own part about %lf "
        "ms (%lf";
    ASSERT_EQ(sscanf(times, form, &total, &filters, &other, &clock, &library, &share), 6);
    EXPECT_NEAR(filters + other + clock + library, total, 0.003) << "each is rounded";
    EXPECT_NEAR(share * total, 100 * library, 0.2 * total + 0.2);
    double ofEach = 0;
    const std::regex line("\n    [A-Z][^\n]* ([0-9.]+) ms");
    for (std::sregex_iterator at(outcome.out.begin(), outcome.out.end(), line), end; at != end; ++at) {
      ofEach += std::stod((*at)[1]);
    }
    EXPECT_NEAR(ofEach, filters, 0.005);
    if (run.find("scene") == std::string::npos) {
      EXPECT_LT(library, filters) << "the camera's time is not the library's";
    }
    double median = 0, most = 0, largest = 0;
    const size_t spread = std::min(outcome.out.rfind("median "), outcome.out.size());
    const int found =
        sscanf(&outcome.out[spread], "median %lf ms, 95 %% within %lf ms, largest %lf", &median, &most, &largest);
    EXPECT_TRUE((found == 3 || run.find("--frames 1") != run.npos) && median <= most && most <= largest) << outcome.out;

    const auto begin = std::chrono::steady_clock::now();
    const nlohmann::json result = nlohmann::json::parse(vycam(run + " --json").out), &time = result["times"];
    const double whole = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    double ofLinks = 0;
    for (const nlohmann::json& link : result["chain"])
      ofLinks += link["mean_s"].is_null() ? 0 : link["mean_s"].get<double>();
    const auto of = [&](const char* name) { return time[name].get<double>(); };
    EXPECT_NEAR(of("filters_s"), ofLinks, 1e-6);
    EXPECT_NEAR(of("filters_s") + of("other_host_calls_s") + of("clock_s") + of("library_s"), of("mean_s"), 1e-6);
    EXPECT_TRUE(of("median_s") <= of("p95_s") && of("p95_s") <= of("largest_s") && of("largest_s") < whole) << time;
    EXPECT_LT(of("first_s"), whole);
  }
}

TEST_F(RunTest, FramesThatAreKeptShareTheirScales) {
  const std::pair<const char*, std::vector<const char*>> cases[] = {
      {"Corvid --sensor depth", {"raw.png", "output.png", "truth.png", "error.png"}},
      {"Corvid --sensor depth --set DisparityTransform#255=0", {"raw.png", "output.png", "truth.png"}},
      {"Vashti --sensor depth", {"raw.png", "output.png", "truth.png", "error.png"}},
      {"Halden --sensor ir", {"raw.png", "output.png"}},
  };
  for (const auto& [arguments, names] : cases) {
    const std::string run = std::string("run --size 64x48 --frames 4 --keep all --out made --camera ") + arguments;
    ASSERT_EQ(vycam(run).exitCode, 0);
    for (const std::string name : names) {
      const StoredPng first = png("made/frames/00000-" + name), last = png("made/frames/00003-" + name);
      ASSERT_EQ(first.height, last.height);
      size_t different = 0;
      for (size_t y = 48; y < first.height; ++y) {
        for (size_t x = 0; x < first.width; ++x) different += first.colour(x, y) != last.colour(x, y) ? 1 : 0;
      }
      EXPECT_EQ(different, 0U) << arguments << ": " << name;
    }
    std::filesystem::remove_all(folder_ / "made");
  }
}

TEST_F(RunTest, EveryFrameIsKeptAndComesBack) {
  const std::string pellan = "run --camera Pellan --sensor depth ";
  const Outcome outcome = vycam(pellan + "--frames 3 --keep all --ply --raw --depth scene.png --out made");
  ASSERT_EQ(outcome.exitCode, 0) << outcome.err;
  std::set<std::string> expected = {"made", "made/frames", "made/raw", "made/raw/frames.json", "scene.png"};
  for (const char* name : {"raw.png", "output.png", "truth.png", "error.png", "output16.png", "cloud.ply"}) {
    expected.insert(std::string("made/") + name);
    for (const char* frame : {"00000-", "00001-", "00002-"})
      expected.insert(std::string("made/frames/") + frame + name);
    EXPECT_EQ(contentsOf(path("made/" + std::string(name))),
              contentsOf(path("made/frames/00002-" + std::string(name))));
  }
  for (const char* name : {"00000.raw", "00001.raw", "00002.raw"}) expected.insert(std::string("made/raw/") + name);
  EXPECT_EQ(files(), expected);

  // The points are the pixels that are not 0, in the colours of the picture.
  const nlohmann::json lens = nlohmann::json::parse(contentsOf(path("made/raw/frames.json")));
  EXPECT_EQ(vycam(pellan + "--frames 1 --ply --depth scene.png --d2c left=8 --out aligned").err, "");
  for (const std::string folder : {"made/", "aligned/"}) {
    const size_t shift = folder == "made/" ? 0 : 8, width = 24 + shift;
    const StoredPng picture = png(folder + "output.png");
    const Numbers depths = numbers(folder + "output16.png");
    const std::string cloud = contentsOf(path(folder + "cloud.ply"));
    const char* point = cloud.data() + cloud.find("end_header\n") + strlen("end_header\n");
    const float cx = lens["cx"].get<float>() + static_cast<float>(shift), cy = lens["cy"].get<float>();
    for (size_t i = 0; i < depths.size(); ++i) {
      if (depths[i] == 0) continue;
      const size_t x = i % width, y = i / width;
      float place[3];
      memcpy(place, point, sizeof place);
      EXPECT_EQ(place[2], depths[i]);
      EXPECT_NEAR(place[0] * lens["fx"].get<float>(), (static_cast<float>(x) - cx) * place[2], 0.1) << folder << i;
      EXPECT_NEAR(place[1] * lens["fy"].get<float>(), (static_cast<float>(y) - cy) * place[2], 0.1) << folder << i;
      const unsigned colour = picture.colour((picture.width - width) / 2 + x, y);
      for (const unsigned bits : {16U, 8U, 0U})
        EXPECT_EQ(static_cast<uint8_t>(point[14 - bits / 8]), colour >> bits & 255) << folder << i;
      point += 15;
    }
    EXPECT_EQ(point, cloud.data() + cloud.size());
  }

  const struct {
    const char* arguments;
    const char* same;  // the frame that the last one is
    bool hasTruth;
  } cases[] = {
      {"--replay made/raw", "00002", false},  // nobody knows what the frames show
      {"--replay made/raw --frames 2 --depth scene.png", "00001", true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    EXPECT_EQ(vycam(pellan + c.arguments + " --keep all --out again").err, "");
    for (const char* name : {"raw.png", "output16.png", "truth.png"}) {
      const std::string kept = contentsOf(path("made/frames/" + std::string(c.same) + "-" + name));
      EXPECT_EQ(contentsOf(path("again/" + std::string(name))), name[0] != 't' || c.hasTruth ? kept : "") << name;
    }
    std::filesystem::remove_all(folder_ / "again");
  }
  EXPECT_EQ(vycam("run --camera Halden --sensor depth --size 64x48 --frames 2 --raw --out room").err, "");
  EXPECT_EQ(vycam("run --camera Halden --sensor depth --replay room/raw --out again").err, "");
  EXPECT_EQ(contentsOf(path("again/error.png")), contentsOf(path("room/error.png"))) << "the room is known";
}

}  // namespace
