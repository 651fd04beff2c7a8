// Hardware D2C parameters for frames of any size: the texts that "DepthResize" is configured with, and the intrinsics
// stamped on the frames, must be those of the model.
#include <cstring>

#include "Support.h"

namespace {

/// The size that the host claims for every frame.
std::uint32_t claimedWidth = 0;
std::uint32_t claimedHeight = 0;

/// A processor with nothing but the hardware D2C filter switched on, around a resizer that takes any configuration.
const Processor& processor() {
  static const auto& only = *[] {
    const auto resize = [](void* /*user*/, const vy_frame_t* /*input*/, vy_error** error) {
      return vysim_create_frame(4, 2, VY_FORMAT_Y16, VY_PIXEL_DEPTH, error);
    };
    defineFilter({"DepthResize", nullptr, true, nullptr, 0, resize, nullptr});
    constexpr int kOstrel = 0x4181;
    static const auto& device = *new OpenDevice(openDevice(kOstrel));
    auto* const made = new Processor(makeProcessor(device.context, kDepth));
    std::vector<const char*> values;
    for (const Setting& setting : settingsOf(schemaOf(*made))) {
      values.push_back(setting.key == "HardwareD2CProcessor#255" ? "1" : "0");
    }
    EXPECT_EQ(updateConfig(*made, values), kNoError);
    return made;
  }();
  return only;
}

/// The texts of a recorded configuration: "640 400 1.000000000 0 0 0 0 ".
std::string argumentsOf(const std::string& record) {
  std::string texts;
  for (std::size_t begin = record.find('"'); begin != std::string::npos;) {
    const std::size_t end = record.find('"', begin + 1);
    texts += record.substr(begin + 1, end - begin - 1) + " ";
    begin = record.find('"', end + 1);
  }
  return texts;
}

float pickFloat(FuzzedDataProvider& input, float ordinary) {
  if (!input.ConsumeBool()) return ordinary;
  const auto bits = input.ConsumeIntegral<std::uint32_t>();
  float any = 0;
  std::memcpy(&any, &bits, sizeof any);
  return any;
}

std::int16_t pickShort(FuzzedDataProvider& input) {
  const bool isSmall = input.ConsumeBool();
  return isSmall ? input.ConsumeIntegralInRange<std::int16_t>(-24, 24) : input.ConsumeIntegral<std::int16_t>();
}

std::uint32_t pickExtent(FuzzedDataProvider& input) {
  return input.ConsumeBool() ? input.ConsumeIntegral<std::uint16_t>() : input.ConsumeIntegral<std::uint32_t>();
}

}  // namespace

// The library calls these in place of the host's (--wrap of the linker).
extern "C" {
std::uint32_t __wrap_vy_video_frame_get_width(const vy_frame_t* /*frame*/, vy_error** /*error*/) {
  return claimedWidth;
}
std::uint32_t __wrap_vy_video_frame_get_height(const vy_frame_t* /*frame*/, vy_error** /*error*/) {
  return claimedHeight;
}
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  processor();
  FuzzedDataProvider input(data, size);
  const Balance balance;
  for (int set = 0; set < 3 && (set == 0 || input.remaining_bytes() > 0); ++set) {
    constexpr float kScales[] = {2, 1.5F, 0.5F, 1, 3, 0.75F, 1.0F / 3, 2.25F, 0, -1};
    D2CParameters p = {};
    p.scale = pickFloat(input, input.PickValueInArray(kScales));
    p.applyScale = input.ConsumeBool();
    for (std::int16_t* const border : {&p.left, &p.top, &p.right, &p.bottom}) *border = pickShort(input);
    p.intrinsic = {pickFloat(input, 500), pickFloat(input, 501), pickFloat(input, 320),
                   pickFloat(input, 200), pickShort(input),      pickShort(input)};
    setHardwareD2C(processor(), p);
    claimedWidth = pickExtent(input);
    claimedHeight = pickExtent(input);
    const std::string expected = modelOfD2C(p, claimedWidth, claimedHeight);
    const Frame frame = makeFrame(VY_FORMAT_Y16, VY_PIXEL_DEPTH);
    std::string arguments;
    for (const bool isFirst : {true, false}) {
      Frame output;
      const std::string calls = recordCalls([&] { output = process(processor(), frame).frame; });
      const std::vector<std::string> told = callsOf("vy_filter_update_config", calls);
      EXPECT_EQ(told.size(), isFirst ? 1U : 0U) << calls;
      if (isFirst) arguments = argumentsOf(told[0]);
      const StreamProfile profile(call(vy_frame_get_stream_profile, output.get()));
      EXPECT_EQ(arguments + "| " + textOf(call(vy_video_stream_profile_get_intrinsic, profile.get())), expected);
      ++claimedWidth;  // without new parameters a frame of another size changes nothing
    }
  }
  balance.expectLevel();
  expectNothingRefused();
  return 0;
}
