// `vycam run` from outside: what a small scene becomes, in numbers, pictures and words.
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

/// The text without what differs from run to run.
std::string withoutTimes(std::string text) {
  text =
      std::regex_replace(text, std::regex("\n(    [A-Z][^\n]*)[ 0-9]{2}[0-9]\\.[0-9]{3} ms(?=\n)"), "\n$1###.### ms");
  text = std::regex_replace(text, std::regex("[0-9]+\\.[0-9]{3}|[0-9]+(?= ns per)"), "#");
  return std::regex_replace(text, std::regex("ms \\([0-9.]+ %\\)"), "ms (# %)");
}

const char* const kTimes =
    "  time per frame # ms: filters #, other host calls #,\n"
    "                 clock about #,\n"
    "                 the library's own part about # ms (# %)\n"
    "                 (clock: about # ns per host call, measured now and taken off)\n";
const char* const kSpread =
    "                 median # ms, 95 % within # ms, largest # ms\n"
    "                 all without the first frame, which took # ms\n";
const char* const kWritten = "  written to made: raw.png, output.png";

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

TEST_F(RunTest, SummariesTellWhatTheRunWas) {
  const struct {
    const char* arguments;
    std::vector<std::string> said;
  } cases[] = {
      {"--camera Corvid --sensor depth --set DisparityTransform#255=0 --d2c scale=2 --set HardwareD2CProcessor#255=0",
       {R"(>Corvid depth, 30 frames
  in             24x16, 16-bit words, disparity
  out            24x16, 16-bit words, disparity
  chain          (time in each filter per frame)
    CorvidPixelOffsetFix                      ###.### ms
    FrameUnpacker                             skipped: not for this raw format
    NoiseRemovalFilter(200, 256, 1280, 800)   ###.### ms
    DisparityTransform                        off
    HardwareD2CProcessor (wraps DepthResize)  off
    FrameMirror                               off
    FrameFlip                                 off
    FrameRotate                               ###.### ms
  valid          93.8 % of the output's pixels, 97.8 % of the scene in range
  median error   none: the output is not in millimetres
)" + std::string(kTimes) +
        kSpread + kWritten + ", truth.png, output16.png\n"}},
      {"--camera vashti --sensor 3 --frames 1 --set FrameMirror#255=1 --set FrameFlip#255=0",
       {">Vashti depth, 1 frame\n",
        "    FrameMirror                           ###.### ms\n    FrameFlip                             off\n",
        "  valid          95.8 % of the output's pixels, 100.0 % of the scene in range\n"
        "  median error   0 mm against the scene; 95 % are within 0 mm\n" +
            std::string(kTimes) + kWritten + ", truth.png, error.png, output16.png\n"}},
      {"--camera Vashti --sensor depth --frames 2 --depth black.png",
       {">Vashti depth, 2 frames\n", "  valid          0.0 % ",
        "  median error   none: no pixel has both a measured and a true depth\n"}},
      {"--camera Talon --sensor colour",
       {">Talon color, 30 frames\n", "    FrameFlip    off\n    FrameRotate  ###.### ms\n  time ",
        "raw.png, output.png\n"}},
  };
  writePng(path("black.png"), storedPng({32, 16, Numbers(512)}));
  for (const auto& c : cases) {
    SCOPED_TRACE(c.arguments);
    const std::string scene = strstr(c.arguments, "--depth") == nullptr ? "--depth scene.png " : "";
    // So wide that no long time folds a line.
    const Outcome outcome = vycam("run --clean --out made " + scene + c.arguments, "COLUMNS=300 ");
    EXPECT_EQ(outcome.exitCode, 0) << outcome.err;
    expectParts(">" + withoutTimes(outcome.out), c.said);

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
  }
}

TEST_F(RunTest, FramesThatAreKeptShareTheirScales) {
  ASSERT_EQ(vycam("run --camera Corvid --sensor depth --size 64x48 --frames 4 --keep all --out made").exitCode, 0);
  for (const std::string name : {"raw.png", "output.png", "truth.png", "error.png"}) {
    const StoredPng first = png("made/frames/00000-" + name), last = png("made/frames/00003-" + name);
    ASSERT_EQ(first.height, last.height);
    size_t different = 0;
    for (size_t y = 48; y < first.height; ++y) {
      for (size_t x = 0; x < first.width; ++x) different += first.colour(x, y) != last.colour(x, y) ? 1 : 0;
    }
    EXPECT_EQ(different, 0U) << name;
  }
}

TEST_F(RunTest, EveryFrameIsKeptAndComesBack) {
  const std::string pellan = "run --camera Pellan --sensor depth ";
  const Outcome outcome = vycam(pellan + "--frames 3 --keep all --ply --raw --depth scene.png --json --out made");
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
  const StoredPng picture = png("made/output.png");
  const Numbers depths = numbers("made/output16.png");
  const std::string cloud = contentsOf(path("made/cloud.ply"));
  const char* point = cloud.data() + cloud.find("end_header\n") + strlen("end_header\n");
  for (size_t i = 0; i < depths.size(); ++i) {
    if (depths[i] == 0) continue;
    float place[3];
    memcpy(place, point, sizeof place);
    EXPECT_EQ(place[2], depths[i]);
    const size_t left = (picture.width - 24) / 2;
    const unsigned colour = picture.colour(left + i % 24, i / 24);
    for (const unsigned shift : {16U, 8U, 0U})
      EXPECT_EQ(static_cast<uint8_t>(point[14 - shift / 8]), colour >> shift & 255) << i;
    point += 15;
  }
  EXPECT_EQ(point, cloud.data() + cloud.size());

  const nlohmann::json told = nlohmann::json::parse(outcome.out);
  const nlohmann::json frame = {
      {"width", 24}, {"height", 16}, {"format", 8}, {"format_name", "16-bit words"}, {"pixels", "depth in mm"}};
  EXPECT_EQ(told["out"], frame);
  EXPECT_EQ(told["in"]["format"], 25);
  EXPECT_EQ(told["frames"], 3);
  EXPECT_EQ(told["chain"].size(), 7U);
  EXPECT_EQ(told["chain"][1]["arguments"], (std::vector<std::string>{"40", "512", "1280", "800"}));
  EXPECT_TRUE(told["chain"][0]["mean_s"].is_number() && told["chain"][3]["mean_s"].is_null());
  EXPECT_EQ(told["chain"][3]["host_filter"], "DepthResize");
  EXPECT_TRUE(told["accuracy"]["median_mm"].is_number() && told["accuracy"]["p95_mm"].is_number());
  EXPECT_GT(told["accuracy"]["valid_of_scene"], told["accuracy"]["valid"]);
  EXPECT_LE(told["times"]["median_s"], told["times"]["largest_s"]);
  EXPECT_EQ(told["files"].size(), 28U);

  const nlohmann::json raw = nlohmann::json::parse(contentsOf(path("made/raw/frames.json")));
  EXPECT_EQ(raw["packing"], "16-bit, run-length compressed");
  EXPECT_NEAR(raw["fx"], 910 * 24.0 / 1280, 1e-3);
  EXPECT_EQ(raw["sub_pixel_bits"], 5);
  EXPECT_EQ(raw["frames"][2]["time_us"], 66666);
  EXPECT_EQ(raw["frames"][2]["bytes"], contentsOf(path("made/raw/00002.raw")).size());

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

  const std::string json = contentsOf(path("room/raw/frames.json"));
  const auto refused = [&](const std::string& from, const std::string& to) {
    std::string changed = json;
    write("room/raw/frames.json", changed.replace(changed.find(from), from.size(), to));
    return vycam("run --camera Halden --sensor depth --replay room/raw --out new").err;
  };
  const std::string about = "vycam: room/raw/frames.json does not describe frames that `vycam run --raw` wrote: ";
  expectParts(refused("\"sensor\"", "\"senses\""), {about, "sensor"});
  expectParts(refused("{", "["), {about, "parse error"});
  expectParts(refused("\"width\": 64", "\"width\": 6"), {about, "\"6x48\" is not a frame size"});
  expectParts(refused("Halden", "Corvid"),
              {"the frames in room/raw are of Corvid depth; give --camera Corvid --sensor"});
  expectParts(
      refused("\"width\": 64", "\"width\": 32"),
      {"cannot take room/raw/00000.raw for a frame: a frame of sensor 3 has 2112 bytes here, but 4224 are given"});
  expectParts(refused("00000.raw", "0.raw"), {"cannot read room/raw/0.raw: No such file or directory"});
}

}  // namespace
