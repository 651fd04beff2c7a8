// `vycam run` from outside: what a small scene becomes, in numbers, pictures and words.
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
  text = std::regex_replace(text, std::regex("[ 0-9]{2}[0-9]\\.[0-9]{3} ms\n"), "###.### ms\n");
  text = std::regex_replace(text, std::regex("[0-9]+\\.[0-9]{3}|[0-9]+(?= ns per)"), "#");
  return std::regex_replace(text, std::regex("ms \\([0-9.]+ %\\)"), "ms (# %)");
}

const char* const kTimes =
    "  time per frame # ms: filters #, other host calls #, clock about #,\n"
    "                 the library's own part about # ms (# %)\n"
    "                 (clock: about # ns per host call, measured in this run and taken off)\n"
    "  written to made: raw.png, output.png";

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
output16 400x30 grey 16 9f6d5caa4a53305f)"},
      {"--camera Pellan --sensor depth --d2c scale=1.5,left=8,bottom=-4", R"(
raw 340x74 RGB 8 6b83697d9355c59f
output 340x78 RGB 8 50b83536c3a0d1a0
truth 340x78 RGB 8 2e702d947467039b
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
    for (const char* name : {"raw", "output", "truth", "output16"}) {
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
  const char* const kPictures = ", truth.png, output16.png\n";
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
  valid          93.8 % of the output's pixels
  median error   none: the output is not in millimetres
)" + std::string(kTimes) +
        kPictures}},
      {"--camera vashti --sensor 3 --frames 1 --set FrameMirror#255=1 --set FrameFlip#255=0",
       {">Vashti depth, 1 frame\n",
        "    FrameMirror                           ###.### ms\n    FrameFlip                             off\n",
        "  valid          95.8 % of the output's pixels\n  median error   0 mm against the scene\n  time", kPictures}},
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
    const Outcome outcome = vycam("run --clean --out made " + scene + c.arguments);
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
    const std::regex line("    [^\n]* ([0-9.]+) ms\n");
    for (std::sregex_iterator at(outcome.out.begin(), outcome.out.end(), line), end; at != end; ++at) {
      ofEach += std::stod((*at)[1]);
    }
    EXPECT_NEAR(ofEach, filters, 0.005);
  }
}

}  // namespace
