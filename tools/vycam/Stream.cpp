#include "Stream.h"

#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "Failure.h"
#include "Signals.h"
#include "VirtualCamera.h"

namespace vycam {
namespace {

std::vector<std::string> settingsOf(const StreamOptions& options, const Schema& schema) {
  std::vector<std::string> settings = options.settings;
  if (options.hardwareD2C) {
    if (options.sensor != VY_SENSOR_DEPTH || findRow(schema, kAlignmentSwitch) == nullptr) {
      throw Failure(fmt::format("--d2c is for depth chains with a HardwareD2CProcessor; that of {} {} has none",
                                options.family->name, sensorName(options.sensor)));
    }
    const std::string key = fmt::format("{}=", kAlignmentSwitch);
    const bool isGiven = std::any_of(settings.begin(), settings.end(),
                                     [&](const std::string& setting) { return setting.rfind(key, 0) == 0; });
    if (!isGiven) {
      settings.push_back(key + "1");
    }
  }
  return settings;
}

void alignToColour(Processor& processor, const vy_frame_t* raw, const HardwareD2C& parameters) {
  const FrameFacts facts = factsOf(raw);
  processor.setHardwareD2C(scaledIntrinsic(intrinsicOf(raw), facts.width, facts.height, parameters), parameters);
}

/// The frame of that index: the camera's next one, or one that was kept.
Frame takeFrame(const StreamOptions& options, vysim_camera* camera, unsigned index) {
  return options.replay ? loadRawFrame(*options.replay, index, camera) : nextFrame(camera, options.sensor);
}

bool hasTruth(const StreamOptions& options) {
  const bool isKnown = !options.replay || options.depth || options.replay->scene == kRoom;
  return options.sensor == VY_SENSOR_DEPTH && isKnown;
}

GreyImage truthAt(vysim_camera* camera, const vy_frame_t* frame) {
  const FrameFacts facts = factsOf(frame);
  GreyImage truth{facts.width, facts.height, std::vector<uint16_t>(size_t{facts.width} * facts.height)};
  call("ask the camera for the true depth", vysim_camera_get_truth, camera, frame, truth.pixels.data());
  return truth;
}

}  // namespace

StreamResult runStream(const Library& library, const StreamOptions& options, Progress& progress,
                       const std::function<void(const StreamResult&)>& onFrame) {
  const Camera camera = openCamera(*options.family, options.size, options.clean, options.depth);
  const Context context(library, call("get the camera's device", vysim_camera_get_device, camera.get()));
  Processor processor = context.makeProcessor(options.family->name, options.sensor);
  processor.apply(settingsOf(options, processor.schema()));

  StreamResult result;
  result.chain = processor.chain();
  result.schema = processor.schema();
  if (hasTruth(options)) {
    result.accuracy.emplace();
  }
  result.sent = takeFrame(options, camera.get(), 0);
  if (options.hardwareD2C) {
    alignToColour(processor, result.sent.get(), *options.hardwareD2C);
  }
  const auto describeFrame = [&] {
    result.rawFacts = factsOf(result.sent.get());
    result.outputFacts = factsOf(result.output.get());
    result.raw = decodeForView(result.sent.get(), result.chain);
  };
  Timing timing;
  while (result.frames < options.frames && takenSignal() == 0) {
    if (result.frames > 0) {
      result.sent = takeFrame(options, camera.get(), result.frames);
    }
    timing.beginFrame();
    result.output = processor.process(result.sent.get());
    timing.endFrame();
    ++result.frames;
    if (result.accuracy) {
      result.truth = truthAt(camera.get(), result.output.get());
      result.accuracy->add(greyPixels(result.output.get()).pixels, result.truth->pixels);
    }
    if (onFrame) {
      describeFrame();
      onFrame(result);
    }
    progress.step("frames/s");
  }
  if (result.frames == 0) {
    throw Failure("ended by a signal; nothing was written");
  }
  result.time = timing.report();
  describeFrame();
  return result;
}

namespace {

Picture paintColour(const vy_frame_t* frame) {
  const FrameFacts facts = factsOf(frame);
  return Picture::ofColours(facts.width, facts.height, colourPixels(frame));
}

Scale disparityScale(const GreyImage& image, const std::string& title) {
  Scale scale = scaleFor({&image}, title);
  scale.isReciprocal = true;
  return scale;
}

Scale keep(std::optional<Scale>& kept, Scale fitted) {
  if (!kept) {
    kept = std::move(fitted);
  }
  return *kept;
}

Picture paintRaw(const StreamResult& result, const vysim_family& family, StreamScales& scales) {
  const GreyImage numbers = greyPixels(result.raw.get());
  if (result.rawFacts.pixelType == VY_PIXEL_DEPTH) {
    return Picture::ofNumbers(numbers, keep(scales.raw, scaleFor({&numbers}, "as sent: depth in mm")));
  }
  const std::string unit = fmt::format("as sent: disparity, 1/{} px", 1 << family.sub_pixel_bits);
  return Picture::ofNumbers(numbers, keep(scales.raw, disparityScale(numbers, unit)));
}

/// The difference of output and truth where both have a depth.
Picture paintError(const StreamResult& result, const GreyImage& output, StreamScales& scales) {
  constexpr uint16_t kNone = 0xFFFF;
  GreyImage error = output;
  for (size_t i = 0; i < error.pixels.size(); ++i) {
    const int truth = result.truth->pixels[i];
    const bool isKnown = output.pixels[i] != 0 && truth != 0;
    error.pixels[i] = isKnown ? static_cast<uint16_t>(std::abs(output.pixels[i] - truth)) : kNone;
  }
  Scale scale;
  scale.low = 0;
  scale.high = std::max(1, result.accuracy->percentileError(99).value_or(0));
  scale.palette = Palette::CoolToWarm;
  scale.missing = kNone;
  scale.title = "error in mm";
  return Picture::ofNumbers(error, keep(scales.error, scale));
}

StreamPictures paintDepth(const StreamResult& result, const vysim_family& family, StreamScales& scales) {
  StreamPictures pictures;
  const GreyImage output = greyPixels(result.output.get());
  pictures.raw = paintRaw(result, family, scales);
  if (result.outputFacts.pixelType != VY_PIXEL_DEPTH) {
    // The conversion to depth is switched off, so output and truth have no common scale.
    pictures.output = Picture::ofNumbers(output, keep(scales.output, disparityScale(output, "output: disparity")));
    if (result.truth) {
      const Scale fitted = scaleFor({&*result.truth}, "truth: depth in mm");
      pictures.truth = Picture::ofNumbers(*result.truth, keep(scales.truth, fitted));
    }
    return pictures;
  }
  const GreyImage& truth = result.truth ? *result.truth : output;
  Scale scale = keep(scales.output, scaleFor({&output, &truth}, "output: depth in mm"));
  pictures.output = Picture::ofNumbers(output, scale);
  if (result.truth) {
    scale.title = "truth: depth in mm";
    pictures.truth = Picture::ofNumbers(truth, scale);
  }
  if (result.accuracy) {
    pictures.error = paintError(result, output, scales);
  }
  return pictures;
}

StreamPictures paintInfrared(const StreamResult& result, StreamScales& scales) {
  StreamPictures pictures;
  const GreyImage raw = greyPixels(result.raw.get());
  const GreyImage output = greyPixels(result.output.get());
  Scale scale = keep(scales.raw, scaleFor({&raw, &output}, "as sent: infrared brightness"));
  scale.palette = Palette::Grey;
  scale.low = 0;
  scale.missing = -1;
  pictures.raw = Picture::ofNumbers(raw, scale);
  scale.title = "output: infrared brightness";
  pictures.output = Picture::ofNumbers(output, scale);
  return pictures;
}

}  // namespace

StreamPictures paint(const StreamResult& result, const vysim_family& family, StreamScales& scales) {
  if (result.outputFacts.pixelType == VY_PIXEL_COLOR) {
    StreamPictures pictures;
    pictures.raw = paintColour(result.raw.get());
    pictures.output = paintColour(result.output.get());
    return pictures;
  }
  return result.outputFacts.pixelType == VY_PIXEL_INTENSITY ? paintInfrared(result, scales)
                                                            : paintDepth(result, family, scales);
}

}  // namespace vycam
