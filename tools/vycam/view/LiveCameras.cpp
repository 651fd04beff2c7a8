#include "view/LiveCameras.h"

#include <fmt/format.h>

#include <algorithm>
#include <sstream>
#include <utility>

#include "Failure.h"
#include "FrameView.h"
#include "Selection.h"
#include "VirtualCamera.h"

namespace vycam {
namespace {

/// Adds what a first frame of the stream tells.
void addFrameFacts(vysim_camera* camera, bool hasColour, StreamFacts& facts) {
  const Frame frame = nextFrame(camera, facts.stream.sensor);
  const FrameFacts size = factsOf(frame.get());
  facts.stream.width = size.width;
  facts.stream.height = size.height;
  facts.intrinsic = intrinsicOf(frame.get());
  if (hasColour) {
    const StreamProfile profile(call("read a frame's profile", vy_frame_get_stream_profile, frame.get()));
    facts.toColour =
        call("read where the colour camera is", vysim_profile_get_extrinsic, profile.get(), VY_STREAM_COLOR);
  }
}

}  // namespace

CameraChoice parseCameraChoice(const std::string& text) {
  const size_t colon = text.find(':');
  CameraChoice choice{&parseFamily(text.substr(0, colon)), {}};
  if (colon == std::string::npos) {
    choice.sensors = {VY_SENSOR_DEPTH, VY_SENSOR_COLOR};
    return choice;
  }
  std::istringstream names(text.substr(colon + 1));
  std::string name;
  while (std::getline(names, name, ',')) {
    const VYSensorType sensor = parseSensor(name);
    if (std::find(choice.sensors.begin(), choice.sensors.end(), sensor) != choice.sensors.end()) {
      throw Failure(fmt::format("\"{}\" names the sensor {} twice", text, sensorName(sensor)));
    }
    choice.sensors.push_back(sensor);
  }
  if (choice.sensors.empty()) {
    throw Failure(fmt::format("\"{}\" names no sensor behind the colon; give FAMILY or FAMILY:SENSOR,...", text));
  }
  return choice;
}

LiveCameras::LiveCameras(const Library& library, const LiveOptions& options) {
  for (const CameraChoice& choice : options.cameras) {
    addCamera(library, choice, options);
  }
}

std::string LiveCameras::nameFor(const vysim_family& family) const {
  const auto same = std::count_if(cameras_.begin(), cameras_.end(), [&](const LiveCamera& camera) {
    return camera.facts.name.compare(0, std::string_view(family.name).size(), family.name) == 0;
  });
  return same == 0 ? family.name : fmt::format("{} {}", family.name, same + 1);
}

void LiveCameras::addCamera(const Library& library, const CameraChoice& choice, const LiveOptions& options) {
  const auto camera = static_cast<unsigned>(cameras_.size());
  Camera opened = openCamera(*choice.family, options.size, options.isClean, options.depth, options.rate);
  vysim_camera* const handle = opened.get();
  Context made(library, call("get the camera's device", vysim_camera_get_device, handle));
  cameras_.push_back({{nameFor(*choice.family), options.rate, false}, std::move(opened), std::move(made)});
  const Context& context = cameras_.back().context;
  const auto first = static_cast<unsigned>(streams_.size());
  const auto colour = std::find(choice.sensors.begin(), choice.sensors.end(), VY_SENSOR_COLOR);
  const bool hasColour = colour != choice.sensors.end();
  for (const VYSensorType sensor : choice.sensors) {
    StreamFacts facts;
    facts.id = static_cast<unsigned>(streams_.size());
    facts.camera = camera;
    facts.family = choice.family;
    const vysim_stream* const stream = findStream(*choice.family, sensor);
    Processor processor = context.makeProcessor(choice.family->name, sensor);
    if (stream == nullptr) {
      throw Failure(fmt::format("{} cameras have no sensor {}", choice.family->name, sensorName(sensor)));
    }
    facts.stream = *stream;
    facts.chain = processor.chain();
    facts.schema = processor.schema();
    facts.canAlign = sensor == VY_SENSOR_DEPTH && findRow(facts.schema, kAlignmentSwitch) != nullptr;
    addFrameFacts(handle, hasColour, facts);
    if (hasColour && sensor != VY_SENSOR_COLOR) {
      facts.colourStream = first + static_cast<unsigned>(colour - choice.sensors.begin());
    }
    streams_.push_back(std::make_unique<LiveStream>(std::move(facts), handle, std::move(processor)));
  }
}

std::string LiveCameras::hello() const {
  std::vector<CameraFacts> cameras;
  for (const LiveCamera& camera : cameras_) {
    cameras.push_back(camera.facts);
  }
  std::vector<StreamFacts> facts;
  std::vector<StreamState> states;
  for (const auto& stream : streams_) {
    facts.push_back(stream->facts());
    states.push_back(stream->state());
  }
  return helloText(cameras, facts, states);
}

void LiveCameras::pause(unsigned camera, bool isPaused) {
  cameras_[camera].facts.isPaused = isPaused;
  call("pause the camera", vysim_camera_pause, cameras_[camera].handle.get(), isPaused);
  for (const auto& stream : streams_) {
    if (stream->facts().camera == camera) {
      stream->pause(isPaused);
    }
  }
}

void LiveCameras::step(unsigned camera) {
  for (const auto& stream : streams_) {
    if (stream->facts().camera == camera) {
      stream->step();
    }
  }
}

}  // namespace vycam
