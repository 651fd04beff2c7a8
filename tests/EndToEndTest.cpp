// Frames of every camera family go through the library; the depth that comes out must be that of the scene.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <map>

#include "support/Scenario.h"

namespace {

const char* const kFamilies[] = {"Talon",  "Mirel",  "Pellan", "Corvid",        "Halden",
                                 "Ostrel", "Vashti", "Sorrel", "SpecialOpenNI", "NormalOpenNI"};

std::vector<std::uint16_t> pixelsOf(const Frame& frame) {
  std::vector<std::uint16_t> pixels(call(vysim_frame_get_size, frame.get()) / 2);
  std::memcpy(pixels.data(), call(vysim_frame_get_data, frame.get()), pixels.size() * 2);
  return pixels;
}

class EndToEndTest : public HostTest, public testing::WithParamInterface<const char*> {
 protected:
  EndToEndTest() {
    setAllDeviceLists();
    vysim_camera_options options = {};
    options.clean = true;
    if (sweepStep() > 1) {  // a slow tool, or an emulator
      options.width = 320;
      options.height = 200;
    }
    camera_.reset(call(vysim_open_camera, GetParam(), &options));
    context_.reset(call(vy_create_frame_processor_context, call(vysim_camera_get_device, camera_.get())));
  }

  Frame nextFrame(int sensor) {
    return Frame(call(vysim_camera_next_frame, camera_.get(), static_cast<VYSensorType>(sensor)));
  }

  /// Depth must agree with the scene, as well as the camera measures, at every pixel that has any in both, and at least
  /// this share of the scene's pixels must have some. The scene must be worth the comparison.
  void expectScene(const Frame& output, double leastShare) const {
    ASSERT_NE(output, nullptr);
    ASSERT_EQ(call(vy_frame_get_format, output.get()), VY_FORMAT_Y16);
    ASSERT_EQ(call(vy_video_frame_get_pixel_type, output.get()), VY_PIXEL_DEPTH);
    const std::vector<std::uint16_t> depth = pixelsOf(output);
    std::vector<std::uint16_t> truth(depth.size());
    call(vysim_camera_get_truth, camera_.get(), output.get(), truth.data());
    std::map<std::uint16_t, double> tolerances;  // by depth
    std::size_t inScene = 0, inBoth = 0, wrong = 0;
    for (std::size_t i = 0; i < depth.size(); ++i) {
      if (truth[i] == 0) continue;
      ++inScene;
      if (depth[i] == 0) continue;
      ++inBoth;
      const auto [tolerance, isNew] = tolerances.emplace(truth[i], 0);
      if (isNew) tolerance->second = call(vysim_camera_get_depth_tolerance, camera_.get(), truth[i]);
      if (std::abs(depth[i] - truth[i]) <= tolerance->second) continue;
      EXPECT_GT(++wrong, 3U) << "pixel " << i << ": " << depth[i] << " instead of " << truth[i];
    }
    EXPECT_EQ(wrong, 0U) << "of " << inBoth;
    EXPECT_GT(inScene, depth.size() / 2);
    EXPECT_GE(static_cast<double>(inBoth), leastShare * static_cast<double>(inScene));
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
