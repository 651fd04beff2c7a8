#include <fmt/format.h>

#include <algorithm>

#include "Commands.h"
#include "Failure.h"
#include "OutputFolder.h"
#include "PointCloud.h"
#include "RunSummary.h"
#include "Signals.h"
#include "Stream.h"

namespace vycam {
namespace {

constexpr unsigned kUsualFrames = 30;

/// Lets frames that were kept take the camera's place.
void replay(const std::string& folder, StreamOptions& options) {
  options.replay = readRawFrames(folder);
  const RawFrames& frames = *options.replay;
  if (frames.family != options.family || frames.sensor != options.sensor) {
    throw Failure(fmt::format("the frames in {} are of {} {}; give --camera {} --sensor {}", folder,
                              frames.family->name, sensorName(frames.sensor), frames.family->name,
                              sensorName(frames.sensor)));
  }
  options.size = frames.size;
  const auto kept = static_cast<unsigned>(frames.frames.size());
  options.frames = options.frames == 0 ? kept : std::min(options.frames, kept);
}

StreamOptions optionsFrom(const RunArguments& arguments) {
  StreamOptions options;
  options.family = &parseFamily(arguments.camera);
  options.sensor = parseSensor(arguments.sensor);
  options.frames = arguments.frames;
  options.clean = arguments.clean;
  options.settings = arguments.settings;
  if (!arguments.depthFile.empty()) {
    options.depth = readGreyPng(arguments.depthFile);
    options.size = {options.depth->width, options.depth->height};
  }
  if (!arguments.size.empty()) {
    options.size = parseFrameSize(arguments.size);
  }
  if (!arguments.hardwareD2C.empty()) {
    options.hardwareD2C = parseHardwareD2C(arguments.hardwareD2C);
  }
  if (!arguments.replayFolder.empty()) {
    if (options.clean || !arguments.size.empty()) {
      throw Failure("--replay takes the frames as they are; leave out --clean and --size");
    }
    replay(arguments.replayFolder, options);
  }
  if (options.frames == 0) {
    options.frames = kUsualFrames;
  }
  if (arguments.writesCloud && options.sensor != VY_SENSOR_DEPTH) {
    throw Failure("--ply is for depth: only that sensor sees points in space");
  }
  return options;
}

/// The points of the output in the colours of its picture.
std::string cloudOf(const StreamResult& result, const Picture& output) {
  if (result.outputFacts.pixelType != VY_PIXEL_DEPTH) {
    throw Failure("--ply needs an output in millimetres, but this one is " + result.outputFacts.describe());
  }
  return plyOf(pointsOf(greyPixels(result.output.get()), intrinsicOf(result.output.get()), output.rgb()));
}

/// Writes what there is of a frame; `start` begins the names.
void writeFrame(const StreamResult& result, const RunArguments& arguments, const vysim_family& family,
                const std::string& start, StreamScales& scales, OutputFolder& folder) {
  const StreamPictures pictures = paint(result, family, scales);
  folder.write(start + "raw.png", pictures.raw->png());
  folder.write(start + "output.png", pictures.output->png());
  if (pictures.truth) {
    folder.write(start + "truth.png", pictures.truth->png());
  }
  if (pictures.error) {
    folder.write(start + "error.png", pictures.error->png());
  }
  if (result.outputFacts.pixelType == VY_PIXEL_DEPTH || result.outputFacts.pixelType == VY_PIXEL_DISPARITY) {
    folder.write(start + "output16.png", greyPng(greyPixels(result.output.get())));
  }
  if (arguments.writesCloud) {
    folder.write(start + "cloud.ply", cloudOf(result, *pictures.output));
  }
}

/// Writes the frame as the camera sent it and notes it in `frames`.
void writeRawFrame(const vy_frame_t* sent, RawFrames& frames, OutputFolder& folder) {
  RawFrame frame;
  frame.number = call("read a frame", vysim_frame_get_number, sent);
  frame.microseconds = call("read a frame", vysim_frame_get_time, sent);
  frame.bytes = call("read a frame", vysim_frame_get_size, sent);
  frame.file = fmt::format("{:05}.raw", frames.frames.size());
  const uint8_t* const data = call("read a frame", vysim_frame_get_data, sent);
  folder.write("raw/" + frame.file, std::string(reinterpret_cast<const char*>(data), frame.bytes));
  frames.frames.push_back(frame);
}

/// Runs the stream and writes its files.
StreamResult runAndWrite(const Library& library, const RunArguments& arguments, const StreamOptions& options,
                         OutputFolder& folder) {
  RawFrames raw;
  raw.family = options.family;
  raw.sensor = options.sensor;
  raw.scene = options.depth ? "a depth image" : options.replay ? options.replay->scene : kRoom;
  StreamScales scales;
  const auto onFrame = [&](const StreamResult& result) {
    if (arguments.keepsAll) {
      const std::string start = fmt::format("frames/{:05}-", result.frames - 1);
      writeFrame(result, arguments, *options.family, start, scales, folder);
    }
    if (arguments.writesRaw) {
      writeRawFrame(result.sent.get(), raw, folder);
    }
  };
  Progress progress(fmt::format("{} {}", options.family->name, sensorName(options.sensor)), options.frames);
  StreamResult result = runStream(library, options, progress, onFrame);
  writeFrame(result, arguments, *options.family, "", scales, folder);
  if (arguments.writesRaw) {
    folder.write("raw/frames.json", describeRawFrames(raw, result.sent.get()));
  }
  return result;
}

}  // namespace

void run(const Library& library, const RunArguments& arguments) {
  const StreamOptions options = optionsFrom(arguments);
  OutputFolder folder(arguments.outputFolder);
  const StreamResult result = runAndWrite(library, arguments, options, folder);
  folder.prepare();
  // Without an output, the run has failed and leaves nothing. But if a signal has ended it, there may be nobody to
  // read, and the pictures are worth more than the summary.
  const bool isEnded = takenSignal() != 0;
  if (isEnded) {
    folder.commit();
  }
  (arguments.asJson ? printJsonSummary : printSummary)(result, options, folder);
  if (!isEnded) {
    folder.commit();
  }
}

}  // namespace vycam
