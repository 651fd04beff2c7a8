#include "RawFrames.h"

#include <fmt/format.h>

#include <cerrno>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <system_error>

#include "Failure.h"
#include "FrameView.h"

namespace vycam {
namespace {

using Json = nlohmann::ordered_json;

std::string contentsOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << file.rdbuf();
  if (!file) {
    throw Failure(fmt::format("cannot read {}: {}", path.string(), std::generic_category().message(errno)));
  }
  return bytes.str();
}

RawFrames framesFrom(const Json& json) {
  RawFrames frames;
  frames.family = &parseFamily(json.at("camera").get<std::string>());
  frames.sensor = parseSensor(json.at("sensor").get<std::string>());
  frames.size =
      parseFrameSize(fmt::format("{}x{}", json.at("width").get<uint32_t>(), json.at("height").get<uint32_t>()));
  frames.scene = json.value("scene", "");
  for (const Json& frame : json.at("frames")) {
    frames.frames.push_back({frame.at("file").get<std::string>(), frame.value("number", uint32_t{0}), 0, 0});
  }
  return frames;
}

}  // namespace

std::string describeRawFrames(const RawFrames& frames, const vy_frame_t* frame) {
  const VYCameraIntrinsic lens = intrinsicOf(frame);
  const FrameFacts facts = factsOf(frame);
  const vysim_stream* const stream = findStream(*frames.family, frames.sensor);
  Json json = {
      {"camera", frames.family->name},
      {"sensor", sensorName(frames.sensor)},
      {"width", facts.width},
      {"height", facts.height},
      {"format", static_cast<int>(facts.format)},
      {"packing", stream->packing},
      {"pixels", facts.meaning()},
      {"fx", lens.fx},
      {"fy", lens.fy},
      {"cx", lens.cx},
      {"cy", lens.cy},
      {"scene", frames.scene},
  };
  if (facts.pixelType == VY_PIXEL_DISPARITY) {
    json["baseline_mm"] = frames.family->baseline_mm;
    json["sub_pixel_bits"] = frames.family->sub_pixel_bits;
  }
  for (const RawFrame& each : frames.frames) {
    json["frames"].push_back(
        {{"file", each.file}, {"number", each.number}, {"time_us", each.microseconds}, {"bytes", each.bytes}});
  }
  return json.dump(1, ' ') + "\n";
}

RawFrames readRawFrames(const std::string& folder) {
  const std::filesystem::path path = std::filesystem::path(folder) / "frames.json";
  const std::string text = contentsOf(path);
  try {
    RawFrames frames = framesFrom(Json::parse(text));
    frames.folder = folder;
    if (frames.frames.empty()) {
      throw Failure("it names no frame");
    }
    return frames;
  } catch (const std::exception& error) {  // of the JSON library, or a Failure
    throw Failure(
        fmt::format("{} does not describe frames that `vycam run --raw` wrote: {}", path.string(), error.what()));
  }
}

Frame loadRawFrame(const RawFrames& frames, size_t index, vysim_camera* camera) {
  const RawFrame& frame = frames.frames[index];
  const std::filesystem::path path = frames.folder / frame.file;
  const std::string bytes = contentsOf(path);
  return Frame(call(fmt::format("take {} for a frame", path.string()), vysim_camera_make_frame, camera, frames.sensor,
                    frame.number, reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()));
}

}  // namespace vycam
