// Hardware D2C parameters for frames of any size: the texts that "DepthResize"
// is configured with, and the intrinsics stamped on the frames, against a
// second computation in wide numbers.
#include <cmath>
#include <cstring>
#include <sstream>

#include "Support.h"

namespace {

/// The size that the host claims for every frame.
std::uint32_t claimedWidth = 0;
std::uint32_t claimedHeight = 0;

struct Parameters {
  VYCameraIntrinsic intrinsic;
  float scale;
  std::int16_t left, top, right, bottom;
  bool applyScale;
};

// ---- The second computation
// ----------------------------------------------------------------------

std::int64_t saturated(float value, std::int64_t lowest, std::int64_t highest) {
  if (std::isnan(value)) return 0;
  const long double whole = std::trunc(static_cast<long double>(value));
  if (whole <= static_cast<long double>(lowest)) return lowest;
  return whole >= static_cast<long double>(highest) ? highest : static_cast<std::int64_t>(whole);
}

std::uint32_t toUnsigned(float value) {
  return static_cast<std::uint32_t>(saturated(value, 0, UINT32_MAX));
}

std::int16_t toLow16(float value) {
  const std::int64_t low = saturated(value, INT32_MIN, INT32_MAX) & 0xFFFF;
  return static_cast<std::int16_t>(low > INT16_MAX ? low - 0x10000 : low);
}

/// A long double has digits enough for a second rounding to change nothing.
float quotient(float value, float divisor) {
  return static_cast<float>(static_cast<long double>(value) / divisor);
}

/// One direction of the image.
struct Axis {
  std::uint32_t output;
  std::int16_t first, second;

  Axis(std::uint32_t extent, float scale, std::int16_t before, std::int16_t after) : first(before), second(after) {
    const auto scaled = static_cast<float>(static_cast<long double>(static_cast<float>(extent)) * scale);
    output = static_cast<std::uint32_t>(std::int64_t{first} + second + toUnsigned(scaled));
  }
  void unscale(float scale) {
    output = toUnsigned(quotient(static_cast<float>(output), scale));
    first = toLow16(quotient(first, scale));
    second = toLow16(quotient(second, scale));
  }
  bool gives(std::uint32_t extent) const {
    const auto inner = static_cast<std::uint32_t>(std::int64_t{output} - first - second);
    return toUnsigned(static_cast<float>(extent)) == extent && static_cast<float>(extent) == static_cast<float>(inner);
  }
};

/// The recorded arguments of the configuration. Folds the scale into the
/// intrinsics where it is folded.
std::string configure(std::uint32_t width, std::uint32_t height, Parameters& p) {
  Axis x(width, p.scale, p.left, p.right);
  Axis y(height, p.scale, p.top, p.bottom);
  Axis unscaledX = x;
  Axis unscaledY = y;
  unscaledX.unscale(p.scale);
  unscaledY.unscale(p.scale);
  if (!p.applyScale && p.scale != 1 && unscaledX.gives(width) && unscaledY.gives(height)) {
    x = unscaledX;
    y = unscaledY;
    VYCameraIntrinsic& i = p.intrinsic;
    i = {quotient(i.fx, p.scale),
         quotient(i.fy, p.scale),
         quotient(i.cx, p.scale),
         quotient(i.cy, p.scale),
         toLow16(quotient(i.width, p.scale)),
         toLow16(quotient(i.height, p.scale))};
    p.scale = 1;
  }
  std::ostringstream text;
  text.precision(9);
  text << std::fixed << "argc: 7, argv: [\"" << x.output << "\", \"" << y.output << "\", \"" << p.scale << '"';
  for (const int border : {x.first, x.second, y.first, y.second}) text << ", \"" << border << '"';
  return text.str() + "])";
}

std::string textOf(const VYCameraIntrinsic& intrinsic) {
  std::ostringstream text;
  text << std::hexfloat;
  for (const float number : {intrinsic.fx, intrinsic.fy, intrinsic.cx, intrinsic.cy}) {
    text << (std::isnan(number) ? NAN : number) << ' ';
  }
  for (const int number : {intrinsic.width, intrinsic.height}) text << number << ' ';
  return text.str();
}

// ---- The library
// ----------------------------------------------------------------------------------

/// A processor with nothing but the hardware D2C filter switched on, around a
/// resizer that takes any configuration.
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
    for (const std::string& line : splitLines(schemaOf(*made))) {
      values.push_back(line.find("HardwareD2CProcessor#255") == 0 ? "1" : "0");
    }
    EXPECT_EQ(updateConfig(*made, values), kNoError);
    return made;
  }();
  return only;
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

// The linker leads the library's calls here (--wrap).
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
    Parameters p = {};
    p.scale = pickFloat(input, input.PickValueInArray(kScales));
    p.applyScale = input.ConsumeBool();
    for (std::int16_t* const border : {&p.left, &p.top, &p.right, &p.bottom}) *border = pickShort(input);
    p.intrinsic = {pickFloat(input, 500), pickFloat(input, 501), pickFloat(input, 320),
                   pickFloat(input, 200), pickShort(input),      pickShort(input)};
    vy_frame_processor_set_hardware_d2c_params(processor().get(), p.intrinsic, 0, p.scale, p.left, p.top, p.right,
                                               p.bottom, p.applyScale, false, NoFailure());
    claimedWidth = pickExtent(input);
    claimedHeight = pickExtent(input);
    const std::string expected = configure(claimedWidth, claimedHeight, p);
    const Frame frame = makeFrame(VY_FORMAT_Y16, VY_PIXEL_DEPTH);
    for (const bool isFirst : {true, false}) {
      Frame output;
      const std::string calls = recordCalls([&] { output = process(processor(), frame).frame; });
      const std::vector<std::string> told = callsOf("vy_filter_update_config", calls);
      EXPECT_EQ(told.size(), isFirst ? 1U : 0U) << calls;
      if (isFirst) EXPECT_EQ(told[0].substr(told[0].find("argc")), expected);
      vy_stream_profile_t* const profile = vy_frame_get_stream_profile(output.get(), NoFailure());
      EXPECT_EQ(textOf(vy_video_stream_profile_get_intrinsic(profile, NoFailure())), textOf(p.intrinsic));
      vy_delete_stream_profile(profile, NoFailure());
      ++claimedWidth;  // a frame of another size, without new parameters,
                       // changes nothing
    }
  }
  balance.expectLevel();
  return 0;
}
