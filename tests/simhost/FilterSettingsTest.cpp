// What each setting of the host's filters does to pixels, and which values it takes.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <sstream>

#include "pixel/Packing.h"
#include "simhost/SimulatedHost.h"
#include "support/SchemaText.h"

namespace {

class FilterSettings : public SimulatedHost {};

constexpr auto kInt = VY_FILTER_CONFIG_VALUE_TYPE_INT;
constexpr auto kFloat = VY_FILTER_CONFIG_VALUE_TYPE_FLOAT;
constexpr auto kBoolean = VY_FILTER_CONFIG_VALUE_TYPE_BOOLEAN;

struct Item {
  const char* name;
  VYFilterConfigValueType type;
  double min, max, step, def;
  double leastOfCommand;  ///< smallest value that a command takes, together with the other arguments
};

struct Schema {
  const char* filter;
  std::vector<const char*> arguments;  ///< go together with the limits of each item
  std::vector<Item> items;
};

const std::vector<Schema>& schemas() {
  static const std::vector<Schema> all = {
      {"FrameUnpacker", {}, {}},
      {"TalonFrameUnpacker", {}, {}},
      {"TiberonDecompress", {}, {}},
      {"CorvidPixelOffsetFix", {}, {}},
      {"HardwareD2DCorrectionFilter", {}, {}},
      {"FrameMirror", {}, {}},
      {"FrameFlip", {}, {}},
      {"FrameRotate", {"90"}, {{"Angle", kInt, 0, 270, 90, 0, 0}}},
      {"NoiseRemovalFilter",
       {"9", "9", "9", "9"},
       {{"MaxSpeckleSize", kInt, 0, 10000, 1, 200, 0},
        {"MaxDifference", kInt, 0, 65535, 1, 256, 0},
        {"ReferenceWidth", kInt, 1, 16384, 1, 1280, 1},
        {"ReferenceHeight", kInt, 1, 16384, 1, 800, 1}}},
      {"DisparityTransform",
       {"1", "1", "65535", "0"},
       {{"DepthUnit", kFloat, 0.1, 10, 0.1, 1, 0.1},
        {"MinDisparity", kInt, 1, 65535, 1, 1, 1},
        {"MaxDepth", kInt, 1, 65535, 1, 10000, 1},
        {"MinDepth", kInt, 0, 65535, 1, 0, 0}}},
      {"DepthResize",
       {"9", "9", "1", "0", "0", "0", "0"},
       {{"OutputWidth", kInt, 0, 16384, 1, 0, 1},
        {"OutputHeight", kInt, 0, 16384, 1, 0, 1},
        {"Scale", kFloat, 0, 64, 0.001, 1, 0.001},
        {"BorderLeft", kInt, -32768, 32767, 1, 0, -32768},
        {"BorderRight", kInt, -32768, 32767, 1, 0, -32768},
        {"BorderTop", kInt, -32768, 32767, 1, 0, -32768},
        {"BorderBottom", kInt, -32768, 32767, 1, 0, -32768}}},
      {"OpenNIDisparityTransform",
       {"1", "1", "65535", "0", "0", "0", "0", "0", "0", "0"},
       {{"DepthUnit", kFloat, 0.1, 10, 0.1, 1, 0.1},
        {"MinDisparity", kInt, 1, 65535, 1, 1, 1},
        {"MaxDepth", kInt, 1, 65535, 1, 10000, 1},
        {"MinDepth", kInt, 0, 65535, 1, 0, 0},
        {"SubPixelBits", kInt, 0, 8, 1, 0, 0},
        {"Baseline", kFloat, 0, 1000, 0.01, 0, 0},
        {"FocalLength", kFloat, 0, 10000, 0.01, 0, 0},
        {"DisparityOffset", kInt, -4096, 4096, 1, 0, -4096},
        {"HoleValue", kInt, 0, 65535, 1, 0, 0},
        {"KeepFar", kBoolean, 0, 1, 1, 0, 0}}},
  };
  return all;
}

std::string textOf(double value) {
  std::string text(32, '\0');
  text.resize(static_cast<size_t>(std::snprintf(text.data(), text.size(), "%.10g", value)));
  return text;
}

TEST_F(FilterSettings, AreOfferedInTheSchema) {
  const char* const typeNames[] = {"integer", "float", "boolean"};
  for (const Schema& schema : schemas()) {
    const Filter filter = makeFilter(schema.filter);
    const SchemaList list(call(vy_filter_get_config_schema_list, filter.get()));
    ASSERT_EQ(call(vy_filter_config_schema_list_get_count, list.get()), schema.items.size()) << schema.filter;
    std::string text;
    for (uint32_t i = 0; i < schema.items.size(); ++i) {
      const Item& item = schema.items[i];
      const VYFilterConfigSchemaItem shown = call(vy_filter_config_schema_list_get_item, list.get(), i);
      EXPECT_STREQ(shown.name, item.name);
      const double numbers[] = {shown.min, shown.max, shown.step, shown.def};
      const double expected[] = {item.min, item.max, item.step, item.def};
      EXPECT_TRUE(shown.type == item.type && std::equal(numbers, numbers + 4, expected)) << item.name;
      EXPECT_TRUE(std::islower(shown.desc[0])) << shown.desc;
      text += std::string(item.name) + "," + typeNames[item.type];
      for (const double number : expected) text += "," + textOf(number);
      text += std::string(",") + shown.desc + "\n";
    }
    EXPECT_EQ(call(vy_filter_get_config_schema, filter.get()), text);
    EXPECT_STREQ(call(vy_filter_get_name, filter.get()), schema.filter);
    ErrorSlot slot;
    vy_filter_config_schema_list_get_item(list.get(), static_cast<uint32_t>(schema.items.size()), slot);
    EXPECT_EQ(slot.take().exceptionType, kNotFound) << schema.filter;
  }
}

TEST_F(FilterSettings, TakeWhatTheSchemaSaysAndNoMore) {
  for (const Schema& schema : schemas()) {
    for (size_t i = 0; i < schema.items.size(); ++i) {
      const Item& item = schema.items[i];
      const bool isStepped = item.type != kFloat;
      const Filter filter = makeFilter(schema.filter);
      const auto set = [&](double value) {
        ErrorSlot slot;
        vy_filter_set_config_value(filter.get(), item.name, value, slot);
        EXPECT_TRUE(!slot.isSet() || slot.take().exceptionType == kInvalidValue);
        return call(vy_filter_get_config_value, filter.get(), item.name);
      };
      const auto send = [&](double value) {
        const std::string text = textOf(value);
        std::vector<const char*> arguments = schema.arguments;
        arguments[i] = text.c_str();
        ErrorSlot slot;
        vy_filter_update_config(filter.get(), static_cast<uint8_t>(arguments.size()), arguments.data(), slot);
        return call(vy_filter_get_config_value, filter.get(), item.name);
      };
      for (const double value : {item.min, item.max, item.min + item.step}) EXPECT_EQ(set(value), value) << item.name;
      for (const double value : {item.leastOfCommand, item.max, item.min + item.step}) {
        EXPECT_NEAR(send(value), value, 1e-9) << item.name;
      }
      call(vy_filter_reset, filter.get());
      EXPECT_EQ(call(vy_filter_get_config_value, filter.get(), item.name), item.def);
      for (const double value : {item.min - item.step, item.max + item.step, std::nan(""), HUGE_VAL, -HUGE_VAL}) {
        EXPECT_EQ(set(value), item.def) << schema.filter << " " << item.name << ": " << value;
        EXPECT_EQ(send(value), item.def) << schema.filter << " " << item.name << ": " << value;
      }
      const double leastSent = item.leastOfCommand > item.min ? item.def : item.min;
      EXPECT_EQ(send(item.min), leastSent) << item.name;
      call(vy_filter_reset, filter.get());
      const double between = item.min + 1.5 * item.step;
      EXPECT_EQ(set(between), isStepped ? item.def : between) << item.name;
    }
  }
}

/// A frame of "1 2 3 / 4 5 6". With four columns, its profile makes 14560 mm of one step of disparity.
Frame disparityFrame(const std::string& text) {
  Image pixels;
  for (const std::string& word : wordsOf(text)) {
    if (word != "/") pixels.push_back(static_cast<uint16_t>(std::stoul(word)));
  }
  const auto height = static_cast<uint32_t>(std::count(text.begin(), text.end(), '/') + 1);
  Frame frame = nextFrame(openCamera("Corvid", static_cast<uint32_t>(pixels.size()) / height, height, {1000}, 1));
  setPixels(frame, pixels);
  return frame;
}

std::string textOf(const Frame& frame) {
  const uint32_t width = call(vy_video_frame_get_width, frame.get());
  std::string text;
  size_t done = 0;
  for (const uint16_t pixel : pixelsOf(frame)) {
    text += (done == 0 ? "" : done % width == 0 ? " / " : " ") + std::to_string(pixel);
    ++done;
  }
  return text;
}

TEST_F(FilterSettings, ShowInThePixels) {
  constexpr char kDisparity[] = "DisparityTransform", kOpenNi[] = "OpenNIDisparityTransform",
                 kNoise[] = "NoiseRemovalFilter", kResize[] = "DepthResize";
  const std::string image = "1 2 3 / 4 5 6";
  const std::string islands = "9 9 0 5 / 0 0 5 5";  // of two pixels and of three
  const struct {
    const char* filter;
    const char* settings;
    std::string input, expected;
  } cases[] = {
      // 14560 / 2 = 7280, / 4 = 3640, / 13 = 1120.
      {kDisparity, "", "1 2 4 13", "0 7280 3640 1120"},
      {kDisparity, "", "0 65535 29120 29121", "0 0 1 0"},
      {kDisparity, "DepthUnit=10", "0 2 4 13", "0 728 364 112"},
      {kDisparity, "DepthUnit=0.1", "0 2 4 13", "0 0 36400 11200"},
      {kDisparity, "MinDisparity=4", "0 2 4 13", "0 0 3640 1120"},
      {kDisparity, "MinDisparity=5", "0 2 4 13", "0 0 0 1120"},
      {kDisparity, "MaxDepth=3640", "0 2 4 13", "0 0 3640 1120"},
      {kDisparity, "MaxDepth=3639", "0 2 4 13", "0 0 0 1120"},
      {kDisparity, "MaxDepth=14560", "1 2 4 13", "14560 7280 3640 1120"},
      {kDisparity, "MinDepth=3640", "0 2 4 13", "0 7280 3640 0"},
      {kDisparity, "MinDepth=3641", "0 2 4 13", "0 7280 0 0"},
      {kOpenNi, "", "1 2 4 13", "0 7280 3640 1120"},
      {kOpenNi, "DepthUnit=10", "0 2 4 13", "0 728 364 112"},
      {kOpenNi, "MinDisparity=4", "0 2 4 13", "0 0 3640 1120"},
      {kOpenNi, "MaxDepth=3639", "0 2 4 13", "0 0 0 1120"},
      {kOpenNi, "MinDepth=3641", "0 2 4 13", "0 7280 0 0"},
      {kOpenNi, "SubPixelBits=8", "0 3 4 13", "0 9707 7280 2240"},
      {kOpenNi, "SubPixelBits=1", "1 2 4 13", "228 114 57 18"},
      {kOpenNi, "Baseline=20", "1 2 4 13", "7280 3640 1820 560"},
      {kOpenNi, "FocalLength=5.6875", "0 3 4 13", "0 9707 7280 2240"},
      {kOpenNi, "DisparityOffset=2", "0 2 6 24", "0 3640 1820 560"},
      {kOpenNi, "DisparityOffset=-2", "1 2 4 15", "0 0 7280 1120"},
      {kOpenNi, "HoleValue=7", "0 1 4 13", "7 7 3640 1120"},
      {kOpenNi, "KeepFar=1", "0 1 4 13", "0 10000 3640 1120"},
      {kOpenNi, "KeepFar=1 MaxDepth=5000 DepthUnit=10 MinDisparity=2", "1 2 3 13", "0 500 485 112"},
      // The limit of an island's size is for the reference size, and scaled by area from there.
      {kNoise, "", islands, islands},
      {kNoise, "ReferenceWidth=4 ReferenceHeight=2 MaxSpeckleSize=1", islands, islands},
      {kNoise, "ReferenceWidth=4 ReferenceHeight=2 MaxSpeckleSize=2", islands, "0 0 0 5 / 0 0 5 5"},
      {kNoise, "ReferenceWidth=4 ReferenceHeight=2 MaxSpeckleSize=3", islands, "0 0 0 0 / 0 0 0 0"},
      {kNoise, "ReferenceWidth=8 ReferenceHeight=2 MaxSpeckleSize=3", islands, "0 0 0 5 / 0 0 5 5"},
      {kNoise, "ReferenceWidth=8 ReferenceHeight=2 MaxSpeckleSize=2", islands, islands},
      {kNoise, "ReferenceWidth=4 ReferenceHeight=1 MaxSpeckleSize=1", islands, "0 0 0 5 / 0 0 5 5"},
      {kNoise, "ReferenceWidth=1 ReferenceHeight=1 MaxSpeckleSize=10000", "9 9 / 9 9", "0 0 / 0 0"},
      {kNoise, "ReferenceWidth=4 ReferenceHeight=1 MaxSpeckleSize=1", "300 556 0 300", "300 556 0 0"},
      {kNoise, "ReferenceWidth=4 ReferenceHeight=1 MaxSpeckleSize=1 MaxDifference=255", "300 556 0 300", "0 0 0 0"},
      {"FrameRotate", "Angle=90", image, "4 1 / 5 2 / 6 3"},
      {"FrameRotate", "Angle=180", image, "6 5 4 / 3 2 1"},
      {"FrameRotate", "Angle=270", image, "3 6 / 2 5 / 1 4"},
      {"FrameMirror", "", image, "3 2 1 / 6 5 4"},
      {"FrameFlip", "", image, "4 5 6 / 1 2 3"},
      {"CorvidPixelOffsetFix", "", "1 2 3 4 5 / 6 7 8 9 10", "9 10 0 0 0 / 0 0 0 0 0"},
      {kResize, "", image, image},
      {kResize, "OutputWidth=4 OutputHeight=2", image, "1 2 3 0 / 4 5 6 0"},
      {kResize, "OutputWidth=2 OutputHeight=1", image, "1 2"},
      {kResize, "OutputWidth=6 OutputHeight=2 Scale=2 BorderBottom=-2", image, "1 1 2 2 3 3 / 1 1 2 2 3 3"},
      {kResize, "OutputWidth=4 OutputHeight=3 Scale=1.5", image, "1 2 2 3 / 4 5 5 6 / 4 5 5 6"},
      {kResize, "OutputWidth=2 OutputHeight=1 Scale=0.5", image, "5 0"},
      {kResize, "OutputWidth=2 OutputHeight=2 BorderLeft=5 BorderRight=-6", image, "0 0 / 0 0"},
      {kResize, "OutputWidth=3 OutputHeight=2 BorderLeft=-1 BorderRight=1 BorderTop=1 BorderBottom=-1", image,
       "0 0 0 / 2 3 0"},
      {kResize, "OutputWidth=5 OutputHeight=2 BorderLeft=2", image, "0 0 1 2 3 / 0 0 4 5 6"},
      {kResize, "OutputWidth=5 OutputHeight=2 BorderRight=2", image, "1 2 3 0 0 / 4 5 6 0 0"},
      {kResize, "OutputWidth=3 OutputHeight=4 BorderTop=2", image, "0 0 0 / 0 0 0 / 1 2 3 / 4 5 6"},
      {kResize, "OutputWidth=3 OutputHeight=4 BorderBottom=2", image, "1 2 3 / 4 5 6 / 0 0 0 / 0 0 0"},
      {kResize, "OutputWidth=1 OutputHeight=1 BorderLeft=-2 BorderTop=-1", image, "6"},
      {kResize, "OutputWidth=1 OutputHeight=1 BorderRight=-2 BorderBottom=-1", image, "1"},
  };
  for (const auto& each : cases) {
    SCOPED_TRACE(std::string(each.filter) + " " + each.settings);
    const Filter filter = configured(each.filter, each.settings);
    const Frame input = disparityFrame(each.input);
    const Frame output = process(filter, input);
    EXPECT_EQ(textOf(output), each.expected);
    EXPECT_EQ(textOf(input), each.input) << "the input has changed";
    const bool isDepth = each.filter == kDisparity || each.filter == kOpenNi;
    EXPECT_EQ(call(vy_video_frame_get_pixel_type, output.get()), isDepth ? VY_PIXEL_DEPTH : VY_PIXEL_DISPARITY);
    call(vy_filter_reset, filter.get());  // what was set does not stick
    EXPECT_EQ(textOf(process(filter, input)), textOf(process(makeFilter(each.filter), input)));
  }
}

TEST_F(FilterSettings, AreRefusedInSenselessCombinations) {
  constexpr char kSmall[] = "DepthResize: the output must be at least 1 x 1 but is ";
  const auto unfit = [](const std::string& output, const std::string& input, const std::string& with) {
    return "DepthResize is configured for an output " + output + ", but a frame " + input + ", scaled by " + with;
  };
  const struct {
    const char* filter;
    const char* arguments;
    std::string refusal, frameRefusal;  ///< of the command, and of a frame of 3 x 2 pixels; empty = accepted
  } cases[] = {
      {"DisparityTransform", "1 1 500 500", "", ""},
      {"DisparityTransform", "1 1 500 501", "DisparityTransform: MinDepth (501) must not be above MaxDepth (500)", ""},
      {"OpenNIDisparityTransform", "1 1 500 501 0 0 0 0 0 0",
       "OpenNIDisparityTransform: MinDepth (501) must not be above MaxDepth (500)", ""},
      {"DepthResize", "0 0 1 0 0 0 0", kSmall + std::string("0 x 0"), ""},
      {"DepthResize", "3 0 1 0 0 0 0", kSmall + std::string("3 x 0"), ""},
      {"DepthResize", "0 2 1 0 0 0 0", kSmall + std::string("0 x 2"), ""},
      {"DepthResize", "3 2 0 0 0 0 0", "DepthResize: Scale must be above 0 but is 0", ""},
      // Scaled frame and borders make up the output, but for one pixel of rounding.
      {"DepthResize", "4 3 1 0 0 0 0", "", ""},
      {"DepthResize", "2 1 1 0 0 0 0", "", ""},
      {"DepthResize", "5 2 1 0 0 0 0", "",
       unfit("5 pixels wide", "3 pixels wide", "1, with borders of 0 and 0 gives 3")},
      {"DepthResize", "1 2 1 0 0 0 0", "",
       unfit("1 pixels wide", "3 pixels wide", "1, with borders of 0 and 0 gives 3")},
      {"DepthResize", "3 4 1 0 0 0 0", "",
       unfit("4 pixels high", "2 pixels high", "1, with borders of 0 and 0 gives 2")},
      {"DepthResize", "5 4 1 1 1 1 1", "", ""},
      {"DepthResize", "9 4 1 5 -1 1 1", "",
       unfit("9 pixels wide", "3 pixels wide", "1, with borders of 5 and -1 gives 7")},
      {"DepthResize", "5 9 1 1 1 -1 5", "",
       unfit("9 pixels high", "2 pixels high", "1, with borders of -1 and 5 gives 6")},
      {"DepthResize", "5 2 1.5 0 0 0 0", "", ""},  // 4 wide, as 4.5 is rounded down
      {"DepthResize", "6 3 1.5 0 0 0 0", "",
       unfit("6 pixels wide", "3 pixels wide", "1.5, with borders of 0 and 0 gives 4")},
  };
  const Frame frame = disparityFrame("1 2 3 / 4 5 6");
  for (const auto& each : cases) {
    const Filter filter = makeFilter(each.filter);
    const std::vector<std::string> texts = wordsOf(each.arguments);
    std::vector<const char*> arguments = pointersTo(texts);
    ErrorSlot slot;
    vy_filter_update_config(filter.get(), static_cast<uint8_t>(arguments.size()), arguments.data(), slot);
    const Error refusal = slot.take();
    EXPECT_EQ(refusal.message, each.refusal);
    EXPECT_EQ(refusal.exceptionType, each.refusal.empty() ? 0 : kInvalidValue);
    const Frame output(vy_filter_process(filter.get(), frame.get(), slot));
    const Error frameRefusal = slot.take();
    EXPECT_EQ(frameRefusal.message, each.frameRefusal);
    EXPECT_EQ(frameRefusal.exceptionType, each.frameRefusal.empty() ? 0 : kUnsuitableFrame);
  }
  for (const char* half : {"OutputWidth=3", "OutputHeight=2"}) {
    ErrorSlot slot;
    EXPECT_EQ(vy_filter_process(configured("DepthResize", half).get(), frame.get(), slot), nullptr);
    EXPECT_EQ(slot.take().exceptionType, kInvalidValue);
  }
}

TEST_F(FilterSettings, UnpackersReadEveryFormatInTheirOrder) {
  using namespace tavrix::pixel;
  const struct {
    VYFormat format;
    int bits;
    bool hasOrder;
  } cases[] = {{VY_FORMAT_Y10, 10, true},
               {VY_FORMAT_Y11, 11, true},
               {VY_FORMAT_Y12, 12, true},
               {VY_FORMAT_Y14, 14, true},
               {VY_FORMAT_Y10_MIPI, 10, false}};
  const Image pixels = {1, 2, 300, 1023, 511, 0, 77, 1000, 513, 8};
  for (const auto& each : cases) {
    for (const bool isTalon : {false, true}) {
      const BitOrder order = !each.hasOrder ? BitOrder::mipi : isTalon ? BitOrder::lsbFirst : BitOrder::msbFirst;
      const Frame packed = makeFrame(each.format, VY_PIXEL_INTENSITY, 5, 2);
      packRows({each.bits, order}, pixels.data(), call(vysim_frame_get_data, packed.get()), 5, 2);
      const Frame words = process(makeFilter(isTalon ? "TalonFrameUnpacker" : "FrameUnpacker"), packed);
      EXPECT_EQ(pixelsOf(words), pixels) << each.format;
      EXPECT_EQ(call(vy_video_frame_get_pixel_type, words.get()), VY_PIXEL_INTENSITY);
    }
  }
  const Frame damaged = makeFrame(VY_FORMAT_RLE, VY_PIXEL_DISPARITY, 5, 2);
  call(vysim_frame_get_data, damaged.get())[0] = 9;
  ErrorSlot slot;
  EXPECT_EQ(vy_filter_process(makeFilter("TiberonDecompress").get(), damaged.get(), slot), nullptr);
  EXPECT_EQ(slot.take().message, "TiberonDecompress: the frame is damaged: it ends after 9 of 10 pixels (byte 4)");
}

// A filter that has nothing to do hands on its input.
TEST_F(FilterSettings, LeaveFramesAloneThatNeedNothing) {
  const Frame disparity = makeFrame();
  const Frame depth = makeFrame(VY_FORMAT_Y16, VY_PIXEL_DEPTH);
  EXPECT_EQ(process(makeFilter("FrameRotate"), depth).get(), depth.get());
  EXPECT_EQ(process(makeFilter("CorvidPixelOffsetFix"), disparity).get(), disparity.get());
  EXPECT_EQ(process(makeFilter("HardwareD2DCorrectionFilter"), depth).get(), depth.get());
  call(vy_filter_update_config, makeFilter("FrameMirror").get(), uint8_t{0}, static_cast<const char**>(nullptr));
  EXPECT_NE(process(makeFilter("DepthResize"), depth).get(), depth.get());  // clients change its output
}

TEST_F(FilterSettings, DisparityNeedsFocalLengthAndBaseline) {
  const Frame frame = makeFrame();  // its profile has neither
  const std::pair<const char*, bool> cases[] = {{"", false},
                                                {"Baseline=50", false},
                                                {"FocalLength=500", false},
                                                {"FocalLength=500 Baseline=50", true},
                                                {"FocalLength=0.5 Baseline=0.5", true}};
  for (const auto& [settings, isEnough] : cases) {
    ErrorSlot slot;
    const Frame output(vy_filter_process(configured("OpenNIDisparityTransform", settings).get(), frame.get(), slot));
    EXPECT_EQ(slot.take().exceptionType, isEnough ? 0 : kUnsuitableFrame) << settings;
  }
}

TEST_F(FilterSettings, CorrectionTakesScaleAndOffsetFromTheCamera) {
  Frame raw = nextFrame(openCamera("Talon", 4, 1, {1000}, 1));
  const Frame words = process(makeFilter("TalonFrameUnpacker"), raw);
  const Frame depth = process(makeFilter("DisparityTransform"), words);
  setPixels(depth, {0, 1, 1000, 65535});
  EXPECT_EQ(pixelsOf(process(makeFilter("HardwareD2DCorrectionFilter"), depth)), (Image{0, 13, 997, 64564}));
}

}  // namespace
