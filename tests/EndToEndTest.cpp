// Frames of every camera family go through the library; the depth that comes out must be that of the scene.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>

#include "support/Scenario.h"

namespace {

const char* const kFamilies[] = {"Talon",  "Mirel",  "Pellan", "Corvid",        "Halden",
                                 "Ostrel", "Vashti", "Sorrel", "SpecialOpenNI", "NormalOpenNI"};

/// How well the depth of a frame agrees with the scene.
struct Judgement {
  std::size_t pixels = 0, inScene = 0, inBoth = 0, wrong = 0;  ///< wrong: farther off than the camera measures
  std::string firstWrong;

  /// Depth must agree with the scene at every pixel that has any in both, and at least this share of the scene's pixels
  /// must have some. The scene must be worth the comparison.
  bool isScene(double leastShare) const {
    return wrong == 0 && inScene > pixels / 2 &&
           static_cast<double>(inBoth) >= leastShare * static_cast<double>(inScene);
  }
};

std::vector<std::uint16_t> pixelsOf(const Frame& frame) {
  std::vector<std::uint16_t> pixels(call(vysim_frame_get_size, frame.get()) / 2);
  std::memcpy(pixels.data(), call(vysim_frame_get_data, frame.get()), pixels.size() * 2);
  return pixels;
}

class EndToEndTest : public HostTest, public testing::WithParamInterface<const char*> {
 protected:
  EndToEndTest() {
    setAllDeviceLists();
    open(sweepStep() > 1);  // a slow tool, or an emulator
  }

  void open(bool isSmall) {
    vysim_camera_options options = {};
    options.clean = true;
    if (isSmall) {
      options.width = 320;
      options.height = 200;
    }
    context_.reset();
    camera_.reset(call(vysim_open_camera, GetParam(), &options));
    context_.reset(call(vy_create_frame_processor_context, call(vysim_camera_get_device, camera_.get())));
  }

  Frame nextFrame(int sensor) {
    return Frame(call(vysim_camera_next_frame, camera_.get(), static_cast<VYSensorType>(sensor)));
  }

  Judgement judge(const Frame& output) const {
    const std::vector<std::uint16_t> depth = pixelsOf(output);
    std::vector<std::uint16_t> truth(depth.size());
    call(vysim_camera_get_truth, camera_.get(), output.get(), truth.data());
    std::map<std::uint16_t, double> tolerances;  // by depth
    Judgement judgement;
    judgement.pixels = depth.size();
    for (std::size_t i = 0; i < depth.size(); ++i) {
      if (truth[i] == 0) continue;
      ++judgement.inScene;
      if (depth[i] == 0) continue;
      ++judgement.inBoth;
      auto tolerance = tolerances.find(truth[i]);
      if (tolerance == tolerances.end()) tolerance = tolerances.emplace(truth[i], toleranceOf(truth[i])).first;
      if (std::abs(depth[i] - truth[i]) <= tolerance->second) continue;
      if (judgement.wrong++ > 2) continue;
      judgement.firstWrong += "pixel " + std::to_string(i) + ": " + std::to_string(depth[i]) + " instead of " +
                              std::to_string(truth[i]) + "\n";
    }
    return judgement;
  }

  double toleranceOf(std::uint16_t depth) const { return call(vysim_camera_get_depth_tolerance, camera_.get(), depth); }

  void expectScene(const Frame& output, double leastShare) {
    ASSERT_NE(output, nullptr);
    ASSERT_EQ(call(vy_frame_get_format, output.get()), VY_FORMAT_Y16);
    ASSERT_EQ(call(vy_video_frame_get_pixel_type, output.get()), VY_PIXEL_DEPTH);
    const Judgement judgement = judge(output);
    EXPECT_TRUE(judgement.isScene(leastShare))
        << judgement.wrong << " wrong of " << judgement.inBoth << ", " << judgement.inScene << " in the scene\n"
        << judgement.firstWrong;
  }

  Camera camera_;
  Context context_;
};

TEST_P(EndToEndTest, DepthIsThatOfTheScene) {
  const Processor processor = makeProcessor(context_, kDepth);
  for (int round = 0; round < 3; ++round) {
    const Frame input = nextFrame(kDepth);
    const Outcome outcome = process(processor, input);
    EXPECT_EQ(outcome.error, kNoError);
    expectScene(outcome.frame, 0.98);
  }
}

// What the tests above and below stand on: the judgement says no to a picture that is off by ever so little.
TEST_P(EndToEndTest, JudgementRefusesWhatIsNotTheScene) {
  constexpr double kShare = 0.98;
  open(true);
  const Processor processor = makeProcessor(context_, kDepth);
  const Frame output = process(processor, nextFrame(kDepth)).frame;
  const std::vector<std::uint16_t> good = pixelsOf(output);
  const std::size_t width = call(vy_video_frame_get_width, output.get());
  const auto judgeChanged = [&](const std::function<std::uint16_t(std::size_t)>& pixel) {
    const Frame copy(call(vy_create_frame_from_other_frame, output.get(), false));
    std::vector<std::uint16_t> pixels(good.size());
    for (std::size_t i = 0; i < pixels.size(); ++i) pixels[i] = pixel(i);
    std::memcpy(call(vysim_frame_get_data, copy.get()), pixels.data(), pixels.size() * 2);
    return judge(copy);
  };
  const auto shifted = [&](std::size_t by) {  // modulo the number of pixels, so that a large shift goes back
    return judgeChanged([&good, by](std::size_t i) { return good[(i + by) % good.size()]; });
  };
  EXPECT_TRUE(shifted(0).isScene(kShare));
  for (const std::size_t shift : {std::size_t{1}, width, good.size() - 1, good.size() - width}) {
    EXPECT_GT(shifted(shift).wrong, good.size() / 1000) << "shifted by " << shift;
  }

  std::vector<std::uint16_t> truth(good.size());
  call(vysim_camera_get_truth, camera_.get(), output.get(), truth.data());
  const auto off = [&](std::size_t i, int millimetres) {
    return truth[i] == 0 ? std::uint16_t{0} : static_cast<std::uint16_t>(truth[i] + millimetres);
  };
  const auto step = [&](std::size_t i) { return static_cast<int>(toleranceOf(truth[i])); };
  const auto far = static_cast<std::size_t>(std::max_element(truth.begin(), truth.end()) - truth.begin());
  for (const int sign : {-1, 1}) {
    const auto lastGood = [&](std::size_t i) { return i == far ? off(i, sign * step(i)) : off(i, 0); };
    const auto firstBad = [&](std::size_t i) { return i == far ? off(i, sign * (step(i) + 1)) : off(i, 0); };
    EXPECT_TRUE(judgeChanged(lastGood).isScene(1));
    EXPECT_EQ(judgeChanged(firstBad).wrong, 1U);
    EXPECT_FALSE(judgeChanged(firstBad).isScene(kShare));
  }
  const auto holesAbove = [&](std::size_t share) {
    return judgeChanged([&truth, share](std::size_t i) { return i % 100 < share ? std::uint16_t{0} : truth[i]; });
  };
  EXPECT_FALSE(holesAbove(4).isScene(kShare));
  EXPECT_TRUE(holesAbove(1).isScene(0.97));
  EXPECT_FALSE(judgeChanged([](std::size_t) { return std::uint16_t{0}; }).isScene(0.01));
  EXPECT_FALSE((Judgement{100, 50, 50, 0, ""}).isScene(1)) << "a scene of holes";

  const Frame later = process(processor, nextFrame(kDepth)).frame;
  const std::vector<std::uint16_t> moved = pixelsOf(later);
  EXPECT_FALSE(judgeChanged([&moved](std::size_t i) { return moved[i]; }).isScene(kShare)) << "a moment later";
}

/// A command that leaves every setting as the schema shows it, except for some.
Error changeSettings(const Processor& processor, const std::map<std::string, const char*>& changes) {
  std::vector<std::string> values;
  for (const Setting& setting : settingsOf(schemaOf(processor))) {
    const auto change = changes.find(setting.key);
    values.push_back(change != changes.end() ? change->second : setting.value);
  }
  return updateConfig(processor, pointersTo(values));
}

/// The pixels of a colour or infrared frame, each as one number made of its bytes.
std::vector<std::uint32_t> texelsOf(const Frame& frame) {
  std::vector<std::uint32_t> texels(std::size_t{call(vy_video_frame_get_width, frame.get())} *
                                    call(vy_video_frame_get_height, frame.get()));
  const std::size_t size = call(vysim_frame_get_size, frame.get()) / texels.size();
  const std::uint8_t* byte = call(vysim_frame_get_data, frame.get());
  for (std::uint32_t& texel : texels) {
    for (std::size_t i = 0; i < size; ++i) texel = (texel << 8U) | *byte++;
  }
  return texels;
}

TEST_P(EndToEndTest, ColourAndInfraredAreTheRawPictureTurned) {
  const vysim_family* const family = vysim_find_family(GetParam());
  ASSERT_NE(family, nullptr);
  for (std::size_t i = 0; i < family->stream_count; ++i) {
    const int sensor = family->streams[i].sensor;
    if (sensor == kDepth) continue;
    const Processor processor = makeProcessor(context_, sensor);
    const std::string schema = schemaOf(processor);
    for (const bool isTurned : {false, true}) {
      SCOPED_TRACE("sensor " + std::to_string(sensor) +
                   (isTurned ? ", mirrored, flipped and turned" : " as it starts"));
      const bool isMirrored = isTurned || schema.find("FrameMirror#255, boolean, 0, 1, 1, 1,") != std::string::npos;
      if (isTurned) {
        EXPECT_EQ(updateConfig(processor, {"1", "1", "90"}), kNoError);
      }
      Frame raw = nextFrame(sensor);
      const Outcome outcome = process(processor, raw);
      EXPECT_EQ(outcome.error, kNoError);
      ASSERT_NE(outcome.frame, nullptr);
      if (std::string(family->streams[i].packing).find("10-bit") == 0) {
        const vysim::Filter unpacker(call(vy_create_filter, "FrameUnpacker"));
        raw.reset(call(vy_filter_process, unpacker.get(), raw.get()));
      }
      const std::size_t width = call(vy_video_frame_get_width, raw.get());
      const std::size_t height = call(vy_video_frame_get_height, raw.get());
      ASSERT_EQ(call(vy_video_frame_get_width, outcome.frame.get()), isTurned ? height : width);
      const std::vector<std::uint32_t> input = texelsOf(raw), output = texelsOf(outcome.frame);
      ASSERT_EQ(output.size(), input.size());
      std::size_t wrong = 0;
      for (std::size_t y = 0; y < height; ++y) {
        for (std::size_t x = 0; x < width; ++x) {
          // Flipped and turned clockwise by a quarter, each row becomes a column, from left to right.
          const std::uint32_t out = output[isTurned ? x * height + y : y * width + x];
          if (input[y * width + (isMirrored ? width - 1 - x : x)] != out) ++wrong;
        }
      }
      EXPECT_EQ(wrong, 0U);
      const auto [darkest, brightest] = std::minmax_element(input.begin(), input.end());
      EXPECT_GT(*brightest - *darkest, 30U) << "worth the comparison";
    }
  }
}

/// An odd denominator: each output pixel has one nearest input pixel, and never two.
constexpr float kScale = 4.0F / 3;

std::uint32_t scaled(std::int16_t size) {
  return static_cast<std::uint32_t>(static_cast<float>(size) * kScale);
}

// Each case moves pixels. The host knows where the scene should end up, and the picture must show it there.
TEST_P(EndToEndTest, DepthFollowsEveryCommand) {
  const std::map<std::string, const char*> cases[] = {
      {{"FrameMirror#255", "1"}},
      {{"FrameFlip#255", "1"}},
      {{"FrameRotate#0", "90"}},
      {{"HardwareD2CProcessor#255", "1"}},
      {{"FrameMirror#255", "1"}, {"FrameFlip#255", "1"}, {"FrameRotate#0", "270"}, {"HardwareD2CProcessor#255", "1"}},
  };
  for (const auto& changes : cases) {
    SCOPED_TRACE(changes.begin()->first);
    const Processor processor = makeProcessor(context_, kDepth);
    const Frame input = nextFrame(kDepth);
    const auto width = static_cast<std::int16_t>(call(vy_video_frame_get_width, input.get()));
    const auto height = static_cast<std::int16_t>(call(vy_video_frame_get_height, input.get()));
    setHardwareD2C(processor, {{600, 600, 320, 240, width, height}, kScale, 16, -20, -32, 8, true});
    EXPECT_EQ(changeSettings(processor, changes), kNoError);
    const Outcome outcome = process(processor, input);
    EXPECT_EQ(outcome.error, kNoError);
    expectScene(outcome.frame, 0.97);

    const bool isResized = changes.count("HardwareD2CProcessor#255") != 0 &&
                           schemaOf(processor).find("HardwareD2CProcessor") != std::string::npos;
    const bool isTurned = changes.count("FrameRotate#0") != 0;
    const auto expectedWidth = isResized ? scaled(width) - 16 : static_cast<std::uint32_t>(width);
    const auto expectedHeight = isResized ? scaled(height) - 12 : static_cast<std::uint32_t>(height);
    EXPECT_EQ(call(vy_video_frame_get_width, outcome.frame.get()), isTurned ? expectedHeight : expectedWidth);
    EXPECT_EQ(call(vy_video_frame_get_height, outcome.frame.get()), isTurned ? expectedWidth : expectedHeight);
  }
}

INSTANTIATE_TEST_SUITE_P(Families, EndToEndTest, testing::ValuesIn(kFamilies),
                         [](const auto& each) { return each.param; });

TEST(EndToEndListTest, EveryFamilyOfTheHostIsTested) {
  EXPECT_EQ(vysim_family_count(), std::size(kFamilies));
}

}  // namespace
