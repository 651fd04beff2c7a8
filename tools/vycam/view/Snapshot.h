// A file made of the newest frame of a live stream.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Host.h"
#include "Image.h"
#include "view/StreamState.h"

namespace vycam {

struct Snapshot {
  std::string bytes;
  std::optional<std::string> failure;  ///< why there is none
};

/// The bytes of "picture.png", "numbers.png" or "cloud.ply". `truth` is that of a depth stream, at the output's pixels.
/// A cloud of what is no depth in millimetres is a Failure.
std::string makeSnapshot(const std::string& name, const StreamFacts& facts, const std::shared_ptr<vy_frame_t>& raw,
                         const std::shared_ptr<vy_frame_t>& output, GreyImage truth);

}  // namespace vycam
