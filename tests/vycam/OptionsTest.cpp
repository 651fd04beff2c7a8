// What can be typed: forms that are refused and what is said, forms that are accepted and what they do. WordsTest.cpp
// has what is said to the letter.
#include "HardwareD2C.h"
#include "Schema.h"
#include "Selection.h"
#include "vycam/VycamTest.h"

namespace {

using OptionsTest = VycamTest;

TEST_F(OptionsTest, BadInputIsToldInOneLineAndLeavesNothingBehind) {
  write("no-library", "");
  const std::string run = "run --camera Corvid --sensor depth --frames 1 --out made/deeper ";
  const struct {
    std::string arguments;
    std::vector<std::string> said;  // what was wrong, what would be right
  } cases[] = {
      {"families ''", {"FAMILY", "is empty"}},
      {"run --camera Corvid --sensor depth", {"--out", "required"}},
      {"run --camera Corvid --out made", {"--sensor", "required"}},
      {"run --sensor depth --out made", {"--camera", "required"}},
      {"gallery", {"--out", "required"}},
      {"schema --camera Corvid", {"--sensor", "required"}},
      {run + "--set", {"--set", "FILTER#ITEM=VALUE"}},
      {run + "--d2c ''", {"--d2c", "is empty"}},
      {run + "--size ''", {"--size", "is empty"}},
      {run + "--depth ''", {"--depth", "is empty"}},
      {run + "--replay ''", {"--replay", "is empty"}},
      {"view --depth ''", {"--depth", "is empty"}},
      {"view --size ''", {"--size", "is empty"}},
      {"gallery --out made --depth ''", {"--depth", "is empty"}},
      {run + "--frames 1", {"--frames", "At Most 1"}},
      {run + "--keep some", {"--keep", "{all,last}"}},
      {"run --camera Corvid --sensor depth --frames 0 --out made", {"--frames", "100000"}},
      {"run --camera Corvid --sensor depth --frames 100001 --out made", {"--frames", "100000"}},
      {"run --camera Corvid --sensor depth --frames 1x --out made", {"--frames", "100000"}},
      {"view --port 65536", {"--port", "65535"}},
      {"view --port -1", {"--port"}},
      {"families --library absent.so",
       {"vycam: cannot load the library: absent.so: ", "(--library PATH names another"}},
      {"--library no-library families", {"cannot load the library: ", "no-library", "--library PATH"}},
      {"--library '' families", {"--library", "is empty"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE("vycam " + c.arguments);
    const Outcome outcome = vycam(c.arguments);
    EXPECT_EQ(outcome.exitCode, 2);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err.rfind("vycam: ", 0), 0U) << outcome.err;
    EXPECT_EQ(outcome.err.find('\n'), outcome.err.size() - 1) << outcome.err;
    expectParts(outcome.err, c.said);
    EXPECT_EQ(files(), std::set<std::string>{"no-library"});
  }
}

TEST_F(OptionsTest, SensorsHaveNamesAndNumbers) {
  const struct {
    VYSensorType sensor;
    std::vector<std::string> texts;  // the first is its name
  } cases[] = {
      {VY_SENSOR_DEPTH, {"depth", "3", "Depth"}}, {VY_SENSOR_COLOR, {"color", "2", "colour", "COLOUR"}},
      {VY_SENSOR_IR, {"ir", "1", "IR"}},          {VY_SENSOR_IR_LEFT, {"ir-left", "6", "IR-Left"}},
      {VY_SENSOR_IR_RIGHT, {"ir-right", "7"}},    {VY_SENSOR_9, {"9"}},
  };
  EXPECT_EQ(vycam::allSensors().size(), 6U);
  for (const auto& c : cases) {
    for (const std::string& text : c.texts) EXPECT_EQ(vycam::parseSensor(text), c.sensor) << text;
    EXPECT_EQ(vycam::sensorName(c.sensor), c.texts[0]);
  }
  EXPECT_EQ(vycam::sensorName(static_cast<VYSensorType>(5)), "5");
  for (const char* text : {"", "left", "0", "03", "ir left", "depth "}) {
    EXPECT_EQ(refusal([&] { vycam::parseSensor(text); }),
              std::string("unknown sensor \"") + text +
                  "\"; known are depth (3), color (2), ir (1), ir-left (6), ir-right (7), 9 (9)");
  }
}

TEST_F(OptionsTest, FamiliesAreKnownByName) {
  for (const char* name : {"Corvid", "corvid", "NORMALOPENNI"}) {
    EXPECT_STRCASEEQ(vycam::parseFamily(name).name, name);
  }
  EXPECT_EQ(vycam::allFamilies().size(), 10U);
  EXPECT_EQ(vycam::findStream(vycam::parseFamily("Halden"), VY_SENSOR_IR)->sensor, VY_SENSOR_IR);
  EXPECT_EQ(vycam::findStream(vycam::parseFamily("Halden"), VY_SENSOR_9), nullptr);
}

TEST_F(OptionsTest, SizesAreBounded) {
  for (const auto& [text, width, height] :
       {std::tuple("640x480", 640U, 480U), {"16x4096", 16U, 4096U}, {"4096x16", 4096U, 16U}}) {
    const vycam::FrameSize size = vycam::parseFrameSize(text);
    EXPECT_EQ(size.width, width) << text;
    EXPECT_EQ(size.height, height) << text;
  }
  for (const char* text : {"", "640", "640x", "x480", "640X480", "640 x480", "640x480 ", "640x480x2", "-640x480",
                           "15x480", "480x15", "4097x480", "480x4097", "99999999999x480", "480x99999999999"}) {
    EXPECT_EQ(refusal([&] { vycam::parseFrameSize(text); }),
              std::string("\"") + text +
                  "\" is not a frame size; give WIDTHxHEIGHT in pixels, each 16 to 4096, as in 640x480");
  }
}

TEST_F(OptionsTest, DepthToColourParameters) {
  const auto text = [](const vycam::HardwareD2C& p) {
    std::ostringstream out;
    out << p.scale << ' ' << p.left << ' ' << p.top << ' ' << p.right << ' ' << p.bottom << ' ' << p.apply;
    return out.str();
  };
  for (const auto& [given, meant] : {std::pair("scale=1.5,left=8,top=-2,right=7,bottom=-4,apply=0", "1.5 8 -2 7 -4 0"),
                                     {"bottom=4096,scale=16", "16 0 0 0 4096 1"},
                                     {"left=-4096,apply=1", "1 -4096 0 0 0 1"},
                                     {"scale=0.001", "0.001 0 0 0 0 1"}}) {
    EXPECT_EQ(text(vycam::parseHardwareD2C(given)), meant);
  }
  for (const std::string item : {"scale", "scale=", "=2", "scale=0", "scale=-1", "scale=16.1", "scale=1e-50",
                                 "scale=nan", "scale=inf", "scale=2x", "left=0.5", "left=4097", "top=-4097",
                                 "right=1e9", "apply=2", "apply=0.5", "depth=1", "Scale=1", ""}) {
    for (const std::string& whole : {item, item + ",top=1", "top=1," + item + ",left=1", "top=1," + item}) {
      expectParts(refusal([&] { vycam::parseHardwareD2C(whole); }),
                  {"\"" + item + "\" is not a depth-to-colour parameter; give scale (above 0, up to 16), left, top"});
    }
  }
  EXPECT_EQ(refusal([&] { vycam::parseHardwareD2C("top=1,left=2,top=3"); }),
            "--d2c has top twice, the second time as top=3; give it once");
}

TEST_F(OptionsTest, IntrinsicsFollowScaleAndBorders) {
  VYCameraIntrinsic depth{};
  depth.fx = 100, depth.fy = 110, depth.cx = 30, depth.cy = 20, depth.width = 64, depth.height = 48;
  const vycam::HardwareD2C wide{1.5F, 8, -2, 3, 7, true};
  const VYCameraIntrinsic scaled = vycam::scaledIntrinsic(depth, 65, 47, wide);
  EXPECT_EQ(std::vector<float>({scaled.fx, scaled.fy, scaled.cx, scaled.cy}), std::vector<float>({150, 165, 53, 28}));
  EXPECT_EQ(scaled.width, 97 + 11) << "the scaled size is cut to whole pixels";
  EXPECT_EQ(scaled.height, 70 + 5);
  const struct {
    vycam::HardwareD2C parameters;
    const char* said;
  } cases[] = {
      {{1, -64, 0, 0, 0}, "out of 64x48; each side has to be 1 to 32767 pixels"},
      {{1, 0, -40, 0, -8}, "--d2c makes an image of 64x0"},
      {{1, -63, -47, 0, 0}, "accepted"},
      {{16, 4096, 0, 4096, 0}, "accepted"},
  };
  for (const auto& c : cases) {
    expectParts(refusal([&] { vycam::scaledIntrinsic(depth, 64, 48, c.parameters); }), {c.said});
  }
  for (const auto& size : {std::pair(32767U, 1U), {1U, 32767U}, {32768U, 1U}, {1U, 32768U}}) {
    expectParts(refusal([&] { vycam::scaledIntrinsic(depth, size.first, size.second, {}); }),
                {std::max(size.first, size.second) == 32767 ? "accepted" : "1 to 32767"});
  }
}

TEST_F(OptionsTest, SettingsReplaceValuesOfTheSchema) {
  const char* const text =
      "Gain#0, integer, 0, 9, 1, 5, a number, with a comma\n"
      "Gain#1, boolean, 0, 0, 0, 0, a switch of its own\n"
      "Gain#255, boolean, 0, 1, 1, 1, on\n";
  const vycam::Schema schema = vycam::parseSchema(text);
  ASSERT_EQ(schema.size(), 3U);
  const vycam::SchemaRow& row = schema[0];
  EXPECT_EQ(row.key + row.type + row.min + row.max + row.step + row.value + row.description,
            "Gain#0integer0915a number, with a comma");
  EXPECT_EQ(row.filter(), "Gain");
  EXPECT_TRUE(!schema[0].isSwitch() && !schema[1].isSwitch() && schema[2].isSwitch());
  EXPECT_EQ(vycam::findRow(schema, "Gain#255"), &schema[2]);
  EXPECT_EQ(vycam::findRow(schema, "Gain"), nullptr);
  EXPECT_EQ(vycam::parseSchema("a#0, b, c, d, e, f, g").size(), 1U) << "without a line end";
  EXPECT_TRUE(vycam::parseSchema("").empty());
  EXPECT_EQ(refusal([] { vycam::parseSchema("a#0, b, c, d, e, f\n"); }),
            "the library's schema has a line with fewer than seven columns: a#0, b, c, d, e, f");

  using Texts = std::vector<std::string>;
  const std::pair<Texts, Texts> accepted[] = {
      {{}, {"5", "0", "1"}},
      {{"Gain#0=7"}, {"7", "0", "1"}},
      {{"Gain#255=0", "Gain#1=1", "Gain#0=-2.5e1"}, {"-2.5e1", "1", "0"}},
  };
  for (const auto& [settings, values] : accepted) EXPECT_EQ(vycam::valuesFor(schema, settings), values);
  const std::pair<const char*, const char*> refused[] = {
      {"Gain#0", "\"Gain#0\" is not a setting; give FILTER#ITEM=VALUE, as in Gain#0=5"},
      {"Gain", "\"Gain\" is not a setting; give FILTER#ITEM=VALUE, as in Gain#255=1"},
      {"Volume=1", "unknown setting \"Volume\"; this chain has Gain#0, Gain#1, Gain#255"},
      {"Gain#2=1", "unknown setting \"Gain#2\" (did you mean Gain#0?); this chain has Gain#0, Gain#1, Gain#255"},
      {"Gain#0=", "\"\" is no value for Gain#0: give a number from 0 to 9, as in Gain#0=5"},
      {"Gain#0=seven", "\"seven\" is no value for Gain#0: give a number from 0 to 9, as in Gain#0=5"},
      {"Gain#0=7x", "\"7x\" is no value for Gain#0: give a number from 0 to 9, as in Gain#0=5"},
      {"Gain#0=inf", "\"inf\" is no value for Gain#0: give a number from 0 to 9, as in Gain#0=5"},
      {"Gain#1=2", "\"2\" is no value for Gain#1: give 0 (off) or 1 (on)"},
      {"Gain#255=on", "\"on\" is no value for Gain#255: give 0 (off) or 1 (on)"},
  };
  for (const auto& each : refused) {
    EXPECT_EQ(refusal([&] { vycam::valuesFor(schema, {each.first}); }), each.second);
  }
  EXPECT_EQ(refusal([] { vycam::valuesFor({}, {"x"}); }), "unknown setting \"x\"; this chain has none");
}

}  // namespace
