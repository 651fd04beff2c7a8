// Frames as a camera sent them, in a folder: one file each, and frames.json, which tells what is in them.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "Host.h"
#include "Selection.h"

namespace vycam {

struct RawFrame {
  std::string file;
  uint32_t number = 0;
  uint64_t microseconds = 0;
  size_t bytes = 0;
};

/// What a folder has. `scene` is kRoom where the truth can be had again.
struct RawFrames {
  const vysim_family* family = nullptr;
  VYSensorType sensor = VY_SENSOR_UNKNOWN;
  FrameSize size;
  std::string scene;
  std::filesystem::path folder;
  std::vector<RawFrame> frames;
};

constexpr const char* kRoom = "the embedded room";

/// The text of frames.json. `frame` is one of the frames.
std::string describeRawFrames(const RawFrames& frames, const vy_frame_t* frame);

/// Reads frames.json of a folder. One that does not tell what is needed is a Failure that says what is missing.
RawFrames readRawFrames(const std::string& folder);

/// A frame of the folder, as if `camera` had sent it.
Frame loadRawFrame(const RawFrames& frames, size_t index, vysim_camera* camera);

}  // namespace vycam
